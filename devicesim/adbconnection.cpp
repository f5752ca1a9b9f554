#include "adbconnection.h"

#include "adbforwardstream.h"
#include "adbserver.h"
#include "adbshellstream.h"
#include "adbsyncstream.h"

#include <QTcpSocket>

AdbConnection::AdbConnection(AdbServer *server, QTcpSocket *socket, int peer)
    : QObject(server)
    , daemon(server)
    , socket(socket)
    , peerNumber(peer)
{
}

void AdbConnection::readAvailable()
{
    if (aborted || !socket)
        return;
    buffer += socket->readAll();
    while (!aborted) {
        AdbPacket packet;
        QString error;
        const bool verify = version != 0 && version < AdbPacket::VersionSkipChecksum;
        const AdbPacket::Result result = AdbPacket::take(buffer, MaxPayload, verify, packet, error);
        if (result == AdbPacket::Result::NeedMore)
            return;
        if (result == AdbPacket::Result::Invalid) {
            abort(error);
            return;
        }
        handle(packet);
    }
}

void AdbConnection::sendPacket(quint32 command, quint32 arg0, quint32 arg1, const QByteArray &data)
{
    if (!aborted && socket)
        socket->write(AdbPacket::encode(command, arg0, arg1, data));
}

void AdbConnection::dropStream(quint32 localId)
{
    if (AdbStream *stream = streams.take(localId))
        stream->deleteLater();
}

void AdbConnection::handle(const AdbPacket &packet)
{
    if (packet.command == AdbPacket::Connect) {
        // A second CNXN starts the session anew, as after a reconnect: earlier streams end.
        for (AdbStream *stream : qAsConst(streams))
            stream->deleteLater();
        streams.clear();
        version = qMin(packet.arg0, Version);
        payloadLimit = qBound<quint32>(4096, packet.arg1, MaxPayload);
        sendPacket(AdbPacket::Connect, version, MaxPayload, daemon->banner());
        daemon->record({{QStringLiteral("event"), QStringLiteral("host")},
                        {QStringLiteral("peer"), peerNumber},
                        {QStringLiteral("banner"), QString::fromLatin1(packet.data.left(200))}});
        return;
    }
    if (version == 0) {
        abort(QStringLiteral("%1 before CNXN").arg(AdbPacket::commandName(packet.command)));
        return;
    }
    AdbStream *stream = streams.value(packet.arg1);
    switch (packet.command) {
    case AdbPacket::Open:
        openService(packet.arg0, packet.data);
        break;
    case AdbPacket::Write:
        if (stream && stream->remoteId() == packet.arg0) {
            if (stream->received(packet.data))
                sendPacket(AdbPacket::Okay, stream->localId(), stream->remoteId());
        } else {
            sendPacket(AdbPacket::Close, packet.arg1, packet.arg0);
        }
        break;
    case AdbPacket::Okay:
        if (stream && stream->remoteId() == packet.arg0)
            stream->writeAcknowledged();
        break;
    case AdbPacket::Close:
        if (stream && stream->remoteId() == packet.arg0) {
            stream->closedByHost();
            dropStream(packet.arg1);
        }
        break;
    default:
        // AUTH and STLS are never asked for by this daemon.
        abort(QStringLiteral("unexpected %1").arg(AdbPacket::commandName(packet.command)));
    }
}

void AdbConnection::openService(quint32 remoteId, QByteArray service)
{
    if (service.endsWith('\0'))
        service.chop(1);
    const quint32 localId = nextLocalId++;
    AdbStream *stream = createStream(service, localId, remoteId);
    daemon->record({{QStringLiteral("event"), QStringLiteral("open")},
                    {QStringLiteral("peer"), peerNumber},
                    {QStringLiteral("service"), QString::fromUtf8(service.left(300))},
                    {QStringLiteral("accepted"), stream != nullptr}});
    if (!stream) {
        sendPacket(AdbPacket::Close, 0, remoteId);
        return;
    }
    streams.insert(localId, stream);
    stream->start();
}

AdbStream *AdbConnection::createStream(const QByteArray &service, quint32 localId, quint32 remoteId)
{
    if (service.startsWith("shell:") || service.startsWith("exec:"))
        return new AdbShellStream(this, localId, remoteId, service.mid(service.indexOf(':') + 1));
    if (service == "sync:")
        return new AdbSyncStream(this, localId, remoteId);
    if (service.startsWith("tcp:")) {
        bool ok = false;
        const uint port = service.mid(4).toUInt(&ok);
        if (ok && port > 0 && port < 65536)
            return new AdbForwardStream(this, localId, remoteId, static_cast<quint16>(port));
    }
    return nullptr;
}

void AdbConnection::abort(const QString &reason)
{
    if (aborted)
        return;
    aborted = true;
    if (daemon->shouldLogGarbage())
        qWarning().noquote() << "[AdbServer] peer" << peerNumber << "sent a bad packet, closing:" << reason;
    daemon->record({{QStringLiteral("event"), QStringLiteral("garbage")},
                    {QStringLiteral("peer"), peerNumber},
                    {QStringLiteral("reason"), reason}});
    buffer.clear();
    if (socket)
        socket->abort();
}
