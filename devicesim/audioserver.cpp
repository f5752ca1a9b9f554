#include "audioserver.h"

#include <QTcpSocket>
#include <QtEndian>

#include <cmath>

namespace {

constexpr int TickMs = 20;
constexpr double Amplitude = 0.5 * 32767;

} // namespace

AudioServer::AudioServer(const QHostAddress &address, Journal *journal, QObject *parent)
    : ChannelServer(QStringLiteral("audio"), address, Port, journal, parent)
{
    ticker.setInterval(TickMs);
    ticker.setTimerType(Qt::PreciseTimer);
    connect(&ticker, &QTimer::timeout, this, &AudioServer::pace);
}

QByteArray AudioServer::tone(qint64 first, int pairs)
{
    QByteArray bytes(pairs * 4, Qt::Uninitialized);
    char *out = bytes.data();
    for (int i = 0; i < pairs; ++i) {
        // Whole periods repeat exactly: the phase is taken from the sample number modulo the rate.
        const double t = double((first + i) % SampleRate) / SampleRate;
        qToLittleEndian<qint16>(qint16(std::lround(Amplitude * std::sin(2 * M_PI * LeftHz * t))), out);
        qToLittleEndian<qint16>(qint16(std::lround(Amplitude * std::sin(2 * M_PI * RightHz * t))), out + 2);
        out += 4;
    }
    return bytes;
}

void AudioServer::peerConnected(QTcpSocket *peer)
{
    // Sound is live: what a slow player has not taken waits here, a fraction of a second,
    // not seconds in the kernel.
    peer->setSocketOption(QAbstractSocket::SendBufferSizeSocketOption, int(MaxBacklogBytes));
    listeners[peer].since.start();
    if (!ticker.isActive())
        ticker.start();
}

void AudioServer::peerData(QTcpSocket *peer)
{
    // The player has nothing to say on this port: whatever comes is read and dropped.
    peer->readAll();
}

void AudioServer::peerGone(QTcpSocket *peer)
{
    listeners.remove(peer);
    if (listeners.isEmpty())
        ticker.stop();
}

void AudioServer::pace()
{
    for (auto it = listeners.begin(); it != listeners.end(); ++it) {
        QTcpSocket *peer = it.key();
        Listener &listener = it.value();
        const qint64 due = listener.since.elapsed() * SampleRate / 1000;
        const int pairs = int(due - listener.sent);
        if (pairs <= 0)
            continue;
        if (peer->bytesToWrite() + pairs * 4 > MaxBacklogBytes)
            dropped += pairs;
        else
            peer->write(tone(listener.sent, pairs));
        listener.sent = due;
    }
}
