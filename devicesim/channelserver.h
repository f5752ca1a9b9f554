#pragma once

#include <QHash>
#include <QHostAddress>
#include <QObject>
#include <QTcpServer>

class Journal;
class QTcpSocket;

// One listening port of the simulated device. Subclasses read what their peers send;
// this base accepts, forgets closed peers, journals both, and lets a test refuse or drop
// connections.
class ChannelServer : public QObject
{
    Q_OBJECT

public:
    ChannelServer(const QString &channel, const QHostAddress &address, quint16 port, Journal *journal,
                  QObject *parent = nullptr);

    QString channel() const { return name; }
    quint16 port() const { return listenPort; }
    // Starts listening; false (and journaled) when the port cannot be had.
    bool listen();
    // Stops listening, so new connections are refused; open ones stay.
    void refuse();
    bool isListening() const { return server.isListening(); }
    // Closes every open connection from the device's side.
    void closeConnections();
    int connectionCount() const { return peers.size(); }
    // The newest open connection, or null.
    QTcpSocket *latestPeer() const;

protected:
    virtual void peerConnected(QTcpSocket *) {}
    virtual void peerData(QTcpSocket *peer) = 0;
    virtual void peerGone(QTcpSocket *) {}
    // Peer number as journaled.
    int peerId(QTcpSocket *peer) const { return peers.value(peer, -1); }
    void journal(QJsonObject fields);

private:
    void accept();

    QString name;
    QHostAddress address;
    quint16 listenPort;
    Journal *journalSink;
    QTcpServer server;
    QHash<QTcpSocket *, int> peers;
    int nextPeer = 1;
};
