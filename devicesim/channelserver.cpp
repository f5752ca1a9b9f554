#include "channelserver.h"

#include "journal.h"

#include <QJsonObject>
#include <QTcpSocket>

ChannelServer::ChannelServer(const QString &channel, const QHostAddress &address, quint16 port,
                             Journal *journal, QObject *parent)
    : QObject(parent)
    , name(channel)
    , address(address)
    , listenPort(port)
    , journalSink(journal)
{
    connect(&server, &QTcpServer::newConnection, this, &ChannelServer::accept);
}

bool ChannelServer::listen()
{
    if (server.isListening())
        return true;
    if (!server.listen(address, listenPort)) {
        journal({{QStringLiteral("event"), QStringLiteral("listen-failed")},
                 {QStringLiteral("error"), server.errorString()}});
        return false;
    }
    journal({{QStringLiteral("event"), QStringLiteral("listening")}, {QStringLiteral("port"), listenPort}});
    return true;
}

void ChannelServer::refuse()
{
    server.close();
    journal({{QStringLiteral("event"), QStringLiteral("refusing")}});
}

void ChannelServer::closeConnections()
{
    const QList<QTcpSocket *> open = peers.keys();
    for (QTcpSocket *peer : open)
        peer->disconnectFromHost();
}

QTcpSocket *ChannelServer::latestPeer() const
{
    QTcpSocket *latest = nullptr;
    int newest = 0;
    for (auto it = peers.cbegin(); it != peers.cend(); ++it) {
        if (it.value() > newest) {
            newest = it.value();
            latest = it.key();
        }
    }
    return latest;
}

void ChannelServer::journal(QJsonObject fields)
{
    journalSink->record(name, std::move(fields));
}

void ChannelServer::accept()
{
    while (QTcpSocket *peer = server.nextPendingConnection()) {
        const int id = nextPeer++;
        peers.insert(peer, id);
        peer->setParent(this);
        journal({{QStringLiteral("event"), QStringLiteral("connected")}, {QStringLiteral("peer"), id}});
        connect(peer, &QTcpSocket::readyRead, this, [this, peer] { peerData(peer); });
        connect(peer, &QTcpSocket::disconnected, this, [this, peer, id] {
            if (!peers.remove(peer))
                return;
            peerGone(peer);
            journal({{QStringLiteral("event"), QStringLiteral("disconnected")}, {QStringLiteral("peer"), id}});
            peer->deleteLater();
        });
        peerConnected(peer);
        // Bytes may have come with the connection itself.
        if (peer->bytesAvailable() > 0)
            peerData(peer);
    }
}
