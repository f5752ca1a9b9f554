#pragma once

#include "adbstream.h"

#include <QTcpSocket>

// The "tcp:PORT" service behind "adb forward": a connection to PORT on the device's own
// address, bytes pumped both ways. The host gets its OKAY only once the socket has taken
// what it sent, and the socket is read only when the last chunk was acknowledged.
class AdbForwardStream : public AdbStream
{
    Q_OBJECT

public:
    AdbForwardStream(AdbConnection *connection, quint32 localId, quint32 remoteId, quint16 port);

    void start() override;
    bool received(const QByteArray &data) override;
    void closedByHost() override;

protected:
    void drained() override;

private:
    void readSocket();

    static constexpr qint64 WriteBacklog = 1024 * 1024;

    quint16 port;
    QTcpSocket socket;
    bool opened = false;
    bool ackOwed = false;
    bool peerEnded = false;
};
