#include "audioinput.h"

#include <QDebug>
#include <QTcpSocket>
#include <QtEndian>

#include <cstring>

AudioInput::AudioInput(const QString &deviceAddress, QObject *parent)
    : QObject(parent)
    , socket(new QTcpSocket(this))
    , address(deviceAddress)
{
    // Bounds what the device can make us hold when the encoder falls behind.
    socket->setReadBufferSize(32768);
    std::memset(buffer, 0, sizeof buffer);
}

AudioInput::~AudioInput() = default;

bool AudioInput::open()
{
    if (address.isEmpty())
        return false;
    socket->connectToHost(address, Port, QIODevice::ReadOnly, QAbstractSocket::AnyIPProtocol);
    socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    return socket->waitForConnected(500);
}

int AudioInput::read()
{
    if (socket->state() != QAbstractSocket::ConnectedState) {
        if (!stateReported)
            qDebug() << "Incompatible socket state:" << socket->state();
        stateReported = true;
        return 0;
    }
    stateReported = false;
    const qint64 wanted = qMin<qint64>(socket->bytesAvailable(), BufferBytes) & ~qint64(3);
    if (wanted <= 0)
        return 0;
    const qint64 got = socket->read(reinterpret_cast<char *>(buffer), wanted);
    if (got != wanted)
        return 0;
    const int pairs = int(got / 4);
    for (int i = 0; i < pairs * 2; ++i)
        buffer[i] = qFromLittleEndian(buffer[i]);
    return pairs;
}

int AudioInput::silence(qint64 pairs)
{
    std::memset(buffer, 0, sizeof buffer);
    return int(qBound<qint64>(0, pairs, MaxSilencePairs));
}

void AudioInput::close()
{
    if (socket->state() == QAbstractSocket::ConnectedState) {
        socket->disconnectFromHost();
        if (socket->state() != QAbstractSocket::UnconnectedState)
            socket->waitForDisconnected(500);
    }
}
