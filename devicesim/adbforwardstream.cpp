#include "adbforwardstream.h"

#include "adbconnection.h"
#include "adbserver.h"

#include <QJsonObject>

AdbForwardStream::AdbForwardStream(AdbConnection *connection, quint32 localId, quint32 remoteId, quint16 port)
    : AdbStream(connection, localId, remoteId)
    , port(port)
{
}

void AdbForwardStream::start()
{
    connect(&socket, &QTcpSocket::connected, this, [this] {
        opened = true;
        accept();
        readSocket();
    });
    connect(&socket, &QTcpSocket::readyRead, this, &AdbForwardStream::readSocket);
    connect(&socket, &QTcpSocket::bytesWritten, this, [this] {
        if (ackOwed && socket.bytesToWrite() < WriteBacklog) {
            ackOwed = false;
            acknowledge();
        }
    });
    connect(&socket, &QTcpSocket::disconnected, this, [this] {
        peerEnded = true;
        readSocket();
    });
    connect(&socket, &QAbstractSocket::errorOccurred, this, [this] {
        if (!opened) {
            // Journaled, not logged: a host may retry a closed port without end.
            owner()->server()->record({{QStringLiteral("event"), QStringLiteral("forward-refused")},
                                       {QStringLiteral("port"), port},
                                       {QStringLiteral("error"), socket.errorString()}});
            refuse();
        }
    });
    socket.connectToHost(owner()->server()->hostAddress(), port);
}

bool AdbForwardStream::received(const QByteArray &data)
{
    socket.write(data);
    if (socket.bytesToWrite() < WriteBacklog)
        return true;
    ackOwed = true;
    return false;
}

void AdbForwardStream::closedByHost()
{
    socket.disconnect(this);
    socket.disconnectFromHost();
}

void AdbForwardStream::drained()
{
    readSocket();
}

void AdbForwardStream::readSocket()
{
    if (!opened || !isIdle())
        return;
    if (socket.bytesAvailable() > 0)
        send(socket.read(owner()->maxPayload()));
    else if (peerEnded)
        finish();
}
