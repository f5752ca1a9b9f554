#pragma once

#include "adbpacket.h"

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QPointer>

class AdbServer;
class AdbStream;
class QTcpSocket;

// One host on the adb port: reads packets, answers CNXN, opens services and routes each
// stream's WRTE, OKAY and CLSE. Anything malformed closes this connection with one log line.
class AdbConnection : public QObject
{
    Q_OBJECT

public:
    static constexpr quint32 Version = AdbPacket::VersionSkipChecksum;
    static constexpr quint32 MaxPayload = 256 * 1024;

    AdbConnection(AdbServer *server, QTcpSocket *socket, int peer);

    void readAvailable();
    void sendPacket(quint32 command, quint32 arg0, quint32 arg1, const QByteArray &data = QByteArray());
    // Forgets a stream (deleted later); a late packet for it is ignored.
    void dropStream(quint32 localId);
    quint32 maxPayload() const { return payloadLimit; }
    AdbServer *server() const { return daemon; }
    int peer() const { return peerNumber; }

private:
    void handle(const AdbPacket &packet);
    void openService(quint32 remoteId, QByteArray service);
    AdbStream *createStream(const QByteArray &service, quint32 localId, quint32 remoteId);
    void abort(const QString &reason);

    AdbServer *daemon;
    QPointer<QTcpSocket> socket;
    int peerNumber;
    QByteArray buffer;
    QHash<quint32, AdbStream *> streams;
    quint32 nextLocalId = 1;
    quint32 version = 0; // 0 until the host's CNXN
    quint32 payloadLimit = MaxPayload;
    bool aborted = false;
};
