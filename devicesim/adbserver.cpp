#include "adbserver.h"

#include "adbconnection.h"
#include "packagemanager.h"

#include <QTcpSocket>

AdbServer::AdbServer(const QHostAddress &address, const QString &storageRoot, DeviceState *state, Journal *journal,
                     QObject *parent)
    : ChannelServer(QStringLiteral("adb"), address, Port, journal, parent)
    , serveAddress(address)
    , deviceState(state)
    , deviceFiles(storageRoot)
    , packageManager(new PackageManager(&deviceFiles, journal, this))
{
}

QByteArray AdbServer::banner() const
{
    // Only what is implemented: no shell_v2 (plain shell streams), no cmd (installs go
    // through a push and "pm install").
    return QByteArrayLiteral("device::ro.product.name=calderwick;ro.product.model=Calderwick;"
                             "ro.product.device=calderwick;features=stat_v2,fixed_push_mkdir");
}

void AdbServer::peerConnected(QTcpSocket *peer)
{
    connections.insert(peer, new AdbConnection(this, peer, peerId(peer)));
}

void AdbServer::peerData(QTcpSocket *peer)
{
    if (AdbConnection *connection = connections.value(peer))
        connection->readAvailable();
    else
        peer->readAll();
}

void AdbServer::peerGone(QTcpSocket *peer)
{
    if (AdbConnection *connection = connections.take(peer))
        connection->deleteLater();
}

bool AdbServer::shouldLogGarbage()
{
    ++garbageConnections;
    if (garbageConnections == 10)
        qWarning().noquote() << "[AdbServer] further bad connections are logged one in a thousand";
    return garbageConnections < 10 || garbageConnections % 1000 == 0;
}
