#include "sensormanager.h"

#include <QDebug>
#include <QTimer>
#include <QtEndian>

#include <cstring>

SensorManager::SensorManager(const QString &address, QObject *parent)
    : QObject(parent)
    , address(address)
{
    connect(&socket, &QTcpSocket::connected, this, &SensorManager::connected);
    connect(&socket, &QAbstractSocket::errorOccurred, this,
            &SensorManager::error);
    // Nothing is expected from the device here, so nothing it sends may pile up.
    socket.setReadBufferSize(4096);
    connect(&socket, &QIODevice::readyRead, this, &SensorManager::discardIncoming);
    connectToMachine();
}

QByteArray SensorManager::accelerometerRecord(double x, double y, double z)
{
    QByteArray record(RecordSize, '\0');
    qToLittleEndian<qint64>(1, record.data());
    const double values[3] = {x, y, z};
    for (int i = 0; i < 3; ++i) {
        quint64 bits = 0;
        std::memcpy(&bits, &values[i], sizeof bits);
        qToLittleEndian<quint64>(bits, record.data() + 8 + 8 * i);
    }
    return record;
}

void SensorManager::connectToMachine()
{
    if (socket.state() != QAbstractSocket::ConnectedState)
        socket.connectToHost(address, SensorPort, QIODevice::ReadWrite);
}

void SensorManager::sendAccelerometerValues(double x, double y, double z)
{
    if (!socket.isWritable() || socket.state() != QAbstractSocket::ConnectedState)
        return;
    socket.write(accelerometerRecord(x, y, z));
    socket.flush();
}

void SensorManager::connected()
{
    qDebug() << "[SensorManager] Connected";
    incomingReported = false;
}

void SensorManager::discardIncoming()
{
    const qint64 dropped = socket.skip(socket.bytesAvailable());
    if (dropped > 0 && !incomingReported) {
        incomingReported = true;
        qWarning() << "[SensorManager] The device sends on the sensor channel; its bytes are discarded";
    }
}

void SensorManager::error(QAbstractSocket::SocketError)
{
    QTimer::singleShot(reconnectDelay, this, &SensorManager::connectToMachine);
}
