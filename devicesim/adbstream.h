#pragma once

#include <QByteArray>
#include <QObject>

class AdbConnection;

// One open service of an adb connection (shell, sync, tcp forward). Output is queued and
// goes out one packet at a time: the next only after the host's OKAY for the last, so a
// stream never holds more than what its producer put in since the last drain.
class AdbStream : public QObject
{
    Q_OBJECT

public:
    AdbStream(AdbConnection *connection, quint32 localId, quint32 remoteId);

    quint32 localId() const { return local; }
    quint32 remoteId() const { return remote; }

    // Called once after the stream is registered; accept() or refuse() answer the OPEN.
    virtual void start() { accept(); }
    // Data of one WRTE. True when it is consumed and the host may send more now; a stream
    // that returns false calls acknowledge() later.
    virtual bool received(const QByteArray &data) = 0;
    // The host closed the stream.
    virtual void closedByHost() {}

    // The host's OKAY for our last WRTE.
    void writeAcknowledged();

protected:
    void accept();
    void refuse();
    void send(const QByteArray &bytes);
    void acknowledge();
    // Closes the stream once everything queued has been acknowledged.
    void finish();
    bool isIdle() const { return !awaitingAck && pending.isEmpty(); }
    int queued() const { return pending.size(); }
    // Everything queued went out and was acknowledged: producers refill here.
    virtual void drained() {}
    AdbConnection *owner() const { return connection; }

private:
    void pump();

    AdbConnection *connection;
    quint32 local;
    quint32 remote;
    QByteArray pending;
    bool awaitingAck = false;
    bool finishing = false;
};
