#pragma once

#include "requests.pb.h"

#include <QByteArray>
#include <QHostAddress>
#include <QObject>
#include <QString>
#include <QVariant>

#include <memory>

class QTcpSocket;

// Result of every device request. 6 is not used.
enum class ReplyCode : int {
    Ok = 1,
    GenericError = 2,
    NetworkError = 3,
    SerializationError = 4,
    InvalidRequest = 5,
    OkWithInformation = 7,
    NotImplemented = 8,
};

// The player's side of the device request channel: bare protobuf Requests out, Replies
// back, and Requests that the device sends on its own. Every exchange is synchronous for
// its caller but spins a local event loop, so other slots run re-entrantly meanwhile.
// Main thread only.
class CalderwickClient : public QObject
{
    Q_OBJECT

public:
    // The default wait of every higher operation, in ms.
    static constexpr int RequestTimeout = 5000;
    // Bytes kept while waiting for a message to complete; past this the buffer is dropped.
    static constexpr int MaxPendingBytes = 1 << 20;

    explicit CalderwickClient(QObject *parent = nullptr);
    ~CalderwickClient() override;

    void setAddress(const QHostAddress &address, quint16 port);
    QHostAddress address() const { return deviceAddress; }
    quint16 port() const { return devicePort; }
    // Keep one connection for every exchange instead of a fresh one each time.
    void setPersistent(bool persistent) { persistentConnection = persistent; }
    bool isPersistent() const { return persistentConnection; }

    // True when a usable socket is there; otherwise errorText gets the socket's words.
    bool initConnection(QString &errorText);
    Calderwick::Request buildRequest(Calderwick::Request::Type type, Calderwick::Parameter::Type parameter,
                                     const QVariant &value = QVariant());
    // Writes the request and waits up to timeoutMs (<= 0: without limit) for a reply,
    // whose bytes land in reply. Ok or NetworkError.
    ReplyCode sendRequest(const Calderwick::Request &request, QByteArray &reply, int timeoutMs);
    // Reads a Reply; value gets its value, description or "PONG".
    static ReplyCode parseReply(const QByteArray &bytes, QVariant &value);
    // The last request the device sent, or null when it does not parse.
    std::unique_ptr<Calderwick::Request> takeRequest() const;
    // A socket to the device is there and connected.
    bool isConnected() const;
    // Bytes received that are not yet part of a parsed message.
    int pendingBytes() const { return receiveBuffer.size(); }

    // What the front of the bytes from a device holds.
    enum class MessageKind { Incomplete, Reply, Request };
    // Takes the first whole Reply (tried first) or Request off the front of buffer; message
    // gets the buffer as it stood. Incomplete leaves both alone. Pure, for any bytes.
    static MessageKind takeMessage(QByteArray &buffer, QByteArray &message);

    static QString errorText(ReplyCode code);
    static bool isSuccess(ReplyCode code) { return code == ReplyCode::Ok || code == ReplyCode::OkWithInformation; }

    // One request each, waiting RequestTimeout. Out values are written only on success.
    ReplyCode ping(QString &answer);
    ReplyCode getParam(Calderwick::Parameter::Type parameter, QVariant &value);
    // value gets the reply's description or value.
    ReplyCode setParam(Calderwick::Parameter::Type parameter, const QVariant &value, QVariant *replyValue = nullptr);
    ReplyCode getCapabilities(QString &capabilities);
    ReplyCode getAndroidVersion(QString &version);
    ReplyCode getSystemVersion(QString &version);

    ReplyCode getBatteryMode(bool &manual);
    ReplyCode setBatteryMode(bool manual, QString *description = nullptr);
    ReplyCode getBatteryLevel(int &level);
    ReplyCode setBatteryLevel(int level, QString *description = nullptr);
    ReplyCode getBatteryStatus(QString &status);
    ReplyCode setBatteryStatus(const QString &status, QString *description = nullptr);

    ReplyCode getGpsStatus(bool &enabled);
    ReplyCode setGpsStatus(bool enabled, QString *description = nullptr);
    // parameter is one of GpsLatitude, GpsLongitude, GpsAltitude, GpsAccuracy, GpsBearing.
    ReplyCode getGpsValue(Calderwick::Parameter::Type parameter, double &value);
    ReplyCode setGpsValue(Calderwick::Parameter::Type parameter, double value, QString *description = nullptr);

    ReplyCode getDeviceId(QString &id);
    ReplyCode setDeviceId(const QString &id);
    ReplyCode getAndroidId(QString &id);
    ReplyCode setAndroidId(const QString &id);

    // parameter is one of the Network... types.
    ReplyCode getNetworkValue(Calderwick::Parameter::Type parameter, QVariant &value);
    ReplyCode setNetworkValue(Calderwick::Parameter::Type parameter, const QVariant &value);

    ReplyCode setClipboard(const QString &text);
    ReplyCode setAccelerometer(double x, double y, double z);

    ReplyCode basebandCall(const QString &number, QVariant *replyValue = nullptr);
    ReplyCode basebandSendSms(const QString &number, const QString &text, QVariant *replyValue = nullptr);
    ReplyCode basebandCommand(const QString &line, QVariant *replyValue = nullptr);

signals:
    void requestFromDevice();
    void replyFromDevice();

private slots:
    void messageFromDevice();

private:
    // buildRequest, sendRequest and, on success, parseReply.
    ReplyCode exchange(Calderwick::Request::Type type, Calderwick::Parameter::Type parameter,
                       const QVariant &sent, QVariant &received);
    ReplyCode getString(Calderwick::Parameter::Type parameter, QString &text);
    ReplyCode setWithDescription(Calderwick::Parameter::Type parameter, const QVariant &value, QString *description);

    QHostAddress deviceAddress;
    quint16 devicePort = 0;
    std::unique_ptr<QTcpSocket> socket;
    QByteArray lastRequest;
    QByteArray lastReply;
    QByteArray receiveBuffer;
    bool persistentConnection = false;
    // Bytes that form no message are told once per connection, not at every read.
    bool garbageReported = false;
};
