#pragma once

#include "channelserver.h"
#include "requests.pb.h"

#include <QByteArray>
#include <QHash>
#include <QJsonObject>
#include <QList>

class DeviceState;

// The device's request port (22666): bare protobuf Requests in, one Reply out for each.
// It serves every parameter from DeviceState and can send PushData Requests of its own on
// the newest connection. Test knobs change how (or whether) it answers.
class RequestServer : public ChannelServer
{
    Q_OBJECT

public:
    static constexpr quint16 Port = 22666;
    // Bytes held for one unfinished request; past this they are dropped.
    static constexpr int MaxPendingBytes = 64 * 1024;

    RequestServer(const QHostAddress &address, DeviceState *state, Journal *journal, QObject *parent = nullptr);

    // The reply the device gives to a request (before any test knob applies).
    Calderwick::Reply answer(const Calderwick::Request &request);

    // Test knobs.
    void setReplyDelay(int ms) { replyDelay = ms; }
    // Sends each reply as its first bytes, then the rest 50 ms later; 0 sends it whole.
    // A cut that leaves a whole message in front (as after the status of a Value reply)
    // shows how bare framing can mislead a reader.
    void setReplySplit(int firstBytes) { splitAt = qMax(0, firstBytes); }
    void setSilent(bool on) { silent = on; }
    // The next request, whatever it is, gets this status instead of its own reply.
    void queueReplyStatus(Calderwick::Status::Code code, const QString &description);
    // The next count capability requests are answered with GenericError.
    void failCapabilities(int count) { capabilityFailures = count; }

    // Sends on the newest connection; false when there is none.
    bool pushClipboard(const QString &text);
    bool pushApiStatistics(int calls);
    bool sendGarbage(int bytes);

    // How a buffer of bare messages divides. Fields of one message come in rising order, so
    // a field number that does not rise starts the next message.
    struct Split
    {
        QList<int> ends;           // where each message that another one follows ends
        bool tailComplete = false; // the bytes after the last end hold only whole fields
        bool invalid = false;      // the bytes can never be a message
    };
    static Split splitMessages(const QByteArray &buffer);
    static QJsonObject describe(const Calderwick::Request &request);
    static QJsonObject describe(const Calderwick::Reply &reply);

protected:
    void peerData(QTcpSocket *peer) override;
    void peerGone(QTcpSocket *peer) override;

private:
    void handle(QTcpSocket *peer, const QByteArray &bytes);
    void send(QTcpSocket *peer, const QByteArray &bytes);
    bool push(Calderwick::Parameter::Type parameter, const Calderwick::Value &value);

    DeviceState *state;
    QHash<QTcpSocket *, QByteArray> buffers;
    int replyDelay = 0;
    int splitAt = 0;
    bool silent = false;
    QList<Calderwick::Status> queuedStatuses;
    int capabilityFailures = 0;
};
