#include "adbstream.h"

#include "adbconnection.h"
#include "adbpacket.h"

AdbStream::AdbStream(AdbConnection *connection, quint32 localId, quint32 remoteId)
    : QObject(connection)
    , connection(connection)
    , local(localId)
    , remote(remoteId)
{
}

void AdbStream::accept()
{
    connection->sendPacket(AdbPacket::Okay, local, remote);
}

void AdbStream::refuse()
{
    connection->sendPacket(AdbPacket::Close, 0, remote);
    connection->dropStream(local);
}

void AdbStream::send(const QByteArray &bytes)
{
    pending += bytes;
    pump();
}

void AdbStream::acknowledge()
{
    connection->sendPacket(AdbPacket::Okay, local, remote);
}

void AdbStream::finish()
{
    finishing = true;
    pump();
}

void AdbStream::writeAcknowledged()
{
    awaitingAck = false;
    pump();
    if (isIdle() && !finishing)
        drained();
}

void AdbStream::pump()
{
    if (awaitingAck)
        return;
    if (!pending.isEmpty()) {
        const int size = qMin(pending.size(), static_cast<int>(connection->maxPayload()));
        connection->sendPacket(AdbPacket::Write, local, remote, pending.left(size));
        pending.remove(0, size);
        awaitingAck = true;
        return;
    }
    if (finishing) {
        connection->sendPacket(AdbPacket::Close, local, remote);
        connection->dropStream(local);
    }
}
