#pragma once

#include "channelserver.h"

#include <QElapsedTimer>
#include <QHash>
#include <QTimer>

// The device's sound port (24296), device to player: signed 16-bit little-endian stereo at
// 44100 Hz, paced in real time from each connection on. The device plays a steady tone on
// each channel, so that a recording can be checked for it. A player that does not read
// loses sound instead of making the device hold more than MaxBacklogBytes for it.
class AudioServer : public ChannelServer
{
    Q_OBJECT

public:
    static constexpr quint16 Port = 24296;
    static constexpr int SampleRate = 44100;
    static constexpr int LeftHz = 440;
    static constexpr int RightHz = 1000;
    static constexpr qint64 MaxBacklogBytes = 64 * 1024;

    AudioServer(const QHostAddress &address, Journal *journal, QObject *parent = nullptr);

    // Sample pairs [first, first + pairs) of the tone, as sent on the wire.
    static QByteArray tone(qint64 first, int pairs);
    // Sample pairs a peer skipped because it did not read.
    qint64 droppedPairs() const { return dropped; }

protected:
    void peerConnected(QTcpSocket *peer) override;
    void peerData(QTcpSocket *peer) override;
    void peerGone(QTcpSocket *peer) override;

private:
    struct Listener
    {
        QElapsedTimer since;
        qint64 sent = 0; // sample pairs, sent or skipped
    };

    void pace();

    QHash<QTcpSocket *, Listener> listeners;
    QTimer ticker;
    qint64 dropped = 0;
};
