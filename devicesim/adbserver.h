#pragma once

#include "channelserver.h"
#include "devicefiles.h"

#include <QHash>
#include <QJsonObject>

class AdbConnection;
class DeviceState;
class PackageManager;

// The device's adb daemon on TCP 5555: the transport that Debian's adb speaks over TCP,
// with the shell, sync and tcp forward services. The device's files live under a root
// folder on the host, its packages in a PackageManager.
class AdbServer : public ChannelServer
{
    Q_OBJECT

public:
    static constexpr quint16 Port = 5555;

    AdbServer(const QHostAddress &address, const QString &storageRoot, DeviceState *state, Journal *journal,
              QObject *parent = nullptr);

    QHostAddress hostAddress() const { return serveAddress; }
    const DeviceFiles *files() const { return &deviceFiles; }
    PackageManager *packages() const { return packageManager; }
    DeviceState *state() const { return deviceState; }
    // A phone answers with a phone's properties, without the device's own.
    void setPhone(bool on) { phone = on; }
    bool isPhone() const { return phone; }
    // The CNXN answer: identity and the features this daemon implements.
    QByteArray banner() const;
    void record(const QJsonObject &fields) { journal(fields); }
    // Whether a connection closed for garbage gets its log line: the first few do, then one
    // in a thousand, so a host that keeps sending garbage cannot flood the log.
    bool shouldLogGarbage();

protected:
    void peerConnected(QTcpSocket *peer) override;
    void peerData(QTcpSocket *peer) override;
    void peerGone(QTcpSocket *peer) override;

private:
    QHostAddress serveAddress;
    DeviceState *deviceState;
    DeviceFiles deviceFiles;
    PackageManager *packageManager;
    QHash<QTcpSocket *, AdbConnection *> connections;
    quint64 garbageConnections = 0;
    bool phone = false;
};
