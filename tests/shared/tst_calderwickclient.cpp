#include "calderwickclient.h"
#include "logreader.h"
#include "testenvironment.h"

#include <QPoint>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <functional>

using Calderwick::Parameter;
using Calderwick::Request;

namespace {

QByteArray hex(const char *text)
{
    return QByteArray::fromHex(QByteArray(text).replace(' ', ""));
}

// A device stand-in on an OS-chosen port: each chunk it reads goes to the handler.
class FakeDevice : public QObject
{
public:
    using Handler = std::function<void(QTcpSocket *, const QByteArray &)>;

    explicit FakeDevice(Handler handler = {})
        : onData(std::move(handler))
    {
        server.listen(QHostAddress(TestEnvironment::loopback(1)));
        connect(&server, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket *peer = server.nextPendingConnection()) {
                ++connections;
                connect(peer, &QTcpSocket::readyRead, this, [this, peer] {
                    const QByteArray data = peer->readAll();
                    received += data;
                    if (onData)
                        onData(peer, data);
                });
            }
        });
    }

    quint16 port() const { return server.serverPort(); }

    QTcpServer server;
    Handler onData;
    QByteArray received;
    int connections = 0;
};

const QByteArray PongReply = hex("08 02 12 02 10 00");

} // namespace

class TestCalderwickClient : public QObject
{
    Q_OBJECT

private:
    // Made in initTestCase, after QtTest has put its own message handler in place.
    std::unique_ptr<LogReader> logReader;

    void aimAt(CalderwickClient &client, const FakeDevice &device)
    {
        client.setAddress(QHostAddress(TestEnvironment::loopback(1)), device.port());
    }

private slots:
    void initTestCase() { logReader = std::make_unique<LogReader>(); }
    void init() { logReader->clear(); }

    void buildRequest()
    {
        // Golden bytes, so that a bug shared with the simulator's generated code still shows.
        const struct { Request::Type type; Parameter::Type parameter; QVariant value; const char *bytes; } rows[] = {
            {Request::Ping, Parameter::None, QVariant(), "08 01"},
            {Request::GetParam, Parameter::Capabilities, QVariant(), "08 02 12 02 08 0e"},
            {Request::SetParam, Parameter::BatteryMode, true, "08 03 12 08 08 03 12 04 08 01 10 01"},
            {Request::SetParam, Parameter::BatteryLevel, 55, "08 03 12 08 08 04 12 04 08 02 18 37"},
            {Request::SetParam, Parameter::BatteryLevel, -1, "08 03 12 11 08 04 12 0d 08 02 18 ff ff ff ff ff ff ff ff ff 01"},
            {Request::SetParam, Parameter::NetworkMode, 3u, "08 03 12 08 08 15 12 04 08 02 18 03"},
            // Float type word, yet both the narrowed float and the double travel.
            {Request::SetParam, Parameter::GpsLatitude, 48.5, "08 03 12 14 08 07 12 10 08 03 25 00 00 42 42 39 00 00 00 00 00 40 48 40"},
            {Request::SetParam, Parameter::Clipboard, QStringLiteral("h\u00e9"), "08 03 12 0b 08 10 12 07 08 04 2a 03 68 c3 a9"},
            {Request::SetParam, Parameter::FileName, QByteArray("ab\0cd", 5), "08 03 12 0a 08 0f 12 06 08 05 32 02 61 62"},
            {Request::PushData, Parameter::Clipboard, QStringLiteral("hi"), "08 06 12 0a 08 10 12 06 08 04 2a 02 68 69"},
            {Request::SendCommand, Parameter::CaldBasebandCmd, QStringLiteral("gsm call 555\n"),
             "08 07 12 15 08 1d 12 11 08 04 2a 0d 67 73 6d 20 63 61 6c 6c 20 35 35 35 0a"},
            {Request::CheckArchive, Parameter::FileName, QStringLiteral("a"), "08 04 12 09 08 0f 12 05 08 04 2a 01 61"}};
        CalderwickClient client;
        for (const auto &row : rows) {
            const Request request = client.buildRequest(row.type, row.parameter, row.value);
            QCOMPARE(QByteArray::fromStdString(request.SerializeAsString()).toHex(' '), hex(row.bytes).toHex(' '));
        }
        QVERIFY(!logReader->contains(QStringLiteral("Invalid request type")));
        // A value of no wire form leaves the parameter bare, and says so.
        const Request request = client.buildRequest(Request::SetParam, Parameter::BatteryLevel, QVariant(QPoint(1, 2)));
        QCOMPARE(QByteArray::fromStdString(request.SerializeAsString()), hex("08 03 12 02 08 04"));
        QVERIFY(logReader->contains(QStringLiteral("[Error] Invalid request type in buildRequest. Sending dummy empty request")));
    }

    void parseReply()
    {
        const QVariant unknown = QStringLiteral("unknown");
        const struct { const char *bytes; ReplyCode code; QVariant value; } rows[] = {
            {"08 02 12 02 10 00", ReplyCode::Ok, QStringLiteral("PONG")},
            {"08 03 12 02 10 00 1a 04 08 02 18 2a", ReplyCode::Ok, 42},
            {"08 03 12 02 10 00 1a 04 08 01 10 01", ReplyCode::Ok, true},
            {"08 03 12 02 10 00 1a 06 08 04 2a 02 7b 7d", ReplyCode::Ok, QStringLiteral("{}")},
            {"08 03 12 02 10 00 1a 07 08 03 25 00 00 c0 3f", ReplyCode::Ok, 1.5},
            {"08 03 12 02 10 00 1a 02 08 03", ReplyCode::SerializationError, QVariant()}, // Float without its float
            {"08 03 12 02 10 00 1a 0b 08 06 39 00 00 00 00 00 40 48 40", ReplyCode::Ok, 48.5},
            {"08 03 12 02 10 00 1a 05 08 05 32 01 00", ReplyCode::Ok, QByteArray(1, '\0')},
            {"08 03 12 02 10 00", ReplyCode::SerializationError, QVariant()}, // Value without a value
            {"08 00 12 02 10 00", ReplyCode::Ok, QString()},
            {"08 00 12 07 10 03 1a 03 6c 6f 77", ReplyCode::OkWithInformation, QStringLiteral("low")},
            {"08 00", ReplyCode::SerializationError, QVariant()},
            {"08 01 12 08 10 00 1a 04 66 69 6e 65", ReplyCode::Ok, QStringLiteral("fine")},
            {"08 01 12 02 10 01", ReplyCode::GenericError, unknown},
            {"08 01 12 02 10 02", ReplyCode::InvalidRequest, unknown},
            {"08 01 12 02 10 03", ReplyCode::SerializationError, unknown}, // Error with OkWithInformation
            {"08 01 12 02 10 04", ReplyCode::NotImplemented, unknown},
            {"08 09 12 02 10 00", ReplyCode::SerializationError, QVariant()},
            {"", ReplyCode::SerializationError, QVariant()}};
        for (const auto &row : rows) {
            QVariant parsed;
            QVERIFY2(CalderwickClient::parseReply(hex(row.bytes), parsed) == row.code && parsed == row.value, row.bytes);
        }
        QVERIFY(logReader->contains(QStringLiteral("[Error] [CalderwickClient] [parseReply] Can't unserialize reply")));
        QVERIFY(logReader->contains(QStringLiteral("[Warning] Not implemented in your current Calderwick system.")));
    }

    void errorText()
    {
        QCOMPARE(CalderwickClient::errorText(ReplyCode::GenericError), QStringLiteral("Generic error: see logs from Android system."));
        QCOMPARE(CalderwickClient::errorText(ReplyCode::NetworkError), QStringLiteral("Network error: device unreachable."));
        QCOMPARE(CalderwickClient::errorText(ReplyCode::SerializationError), QStringLiteral("Serialization error: failed to serialize request."));
        QCOMPARE(CalderwickClient::errorText(ReplyCode::InvalidRequest), QStringLiteral("Invalid request: bad argument or bad format"));
        QCOMPARE(CalderwickClient::errorText(ReplyCode::NotImplemented), QStringLiteral("Unknown error. Result code: 8"));
    }

    // What goes on the wire is exactly the request; the reply's value comes back.
    void exchangesWriteExactBytes()
    {
        FakeDevice device([](QTcpSocket *peer, const QByteArray &data) {
            peer->write(data.startsWith(hex("08 02")) ? hex("08 03 12 02 10 00 1a 04 08 02 18 2a") : hex("08 00 12 02 10 00"));
        });
        CalderwickClient client;
        aimAt(client, device);
        int level = 0;
        QCOMPARE(client.getBatteryLevel(level), ReplyCode::Ok);
        QCOMPARE(level, 42);
        QCOMPARE(client.setAccelerometer(9.776218750101208, 0.0, 0.8134168366646887), ReplyCode::Ok);
        QCOMPARE(client.basebandSendSms(QStringLiteral("555"), QStringLiteral("h\u00e9")), ReplyCode::Ok);
        QCOMPARE(client.basebandCommand(QStringLiteral("ab c")), ReplyCode::Ok);
        QCOMPARE(device.received, hex("08 02 12 02 08 04") + hex("08 03 12 1a 08 0c 12 16 08 04 2a 12") + QByteArray("9.77622|0|0.813417")
                                      + hex("08 07 12 1d 08 1d 12 19 08 04 2a 15") + QByteArray("sms sendb64 555 aMOp\n")
                                      + hex("08 07 12 0d 08 1d 12 09 08 04 2a 05") + QByteArray("ab c\n"));
    }

    void replySplitAcrossTwoSegments()
    {
        const QByteArray reply = hex("08 03 12 02 10 00 1a 06 08 04 2a 02 7b 7d");
        FakeDevice device([&reply](QTcpSocket *peer, const QByteArray &) {
            peer->write(reply.left(5));
            peer->flush();
            QTimer::singleShot(100, peer, [peer, &reply] { peer->write(reply.mid(5)); });
        });
        CalderwickClient client;
        aimAt(client, device);
        QString capabilities;
        QCOMPARE(client.getCapabilities(capabilities), ReplyCode::Ok);
        QCOMPARE(capabilities, QStringLiteral("{}"));
        QCOMPARE(logReader->matching(QStringLiteral("Cannot parse message from device")).size(), 1);
        QCOMPARE(client.pendingBytes(), 0);
        QVERIFY(logReader->contains(QStringLiteral("[Debug] Received capabilities: \"{}\"")));
    }

    void twoMessagesInOneRead()
    {
        const QByteArray first = hex("08 03 12 02 10 00 1a 04 08 02 18 2a");
        const QByteArray second = hex("08 03 12 02 10 00 1a 04 08 02 18 07");
        FakeDevice device([&](QTcpSocket *peer, const QByteArray &) { peer->write(first + second); });
        CalderwickClient client;
        aimAt(client, device);
        QByteArray reply;
        QCOMPARE(client.sendRequest(client.buildRequest(Request::Ping, Parameter::None), reply, 2000),
                 ReplyCode::Ok);
        QCOMPARE(reply, first + second);
        // The first message's length is gone; the rest waits for more bytes.
        QCOMPARE(client.pendingBytes(), second.size());
    }

    void garbageNeverParsesAndStaysBounded()
    {
        const int size = CalderwickClient::MaxPendingBytes + 64 * 1024;
        FakeDevice device([size](QTcpSocket *peer, const QByteArray &) { peer->write(QByteArray(size, '\xff')); });
        CalderwickClient client;
        aimAt(client, device);
        QByteArray reply;
        QCOMPARE(client.sendRequest(client.buildRequest(Request::Ping, Parameter::None), reply, 1500),
                 ReplyCode::NetworkError);
        QVERIFY(logReader->contains(QStringLiteral("[Warning] Timeout while waiting for request reply")));
        QVERIFY(logReader->contains(QStringLiteral("bytes from device that form no message")));
        QVERIFY(client.pendingBytes() <= CalderwickClient::MaxPendingBytes);
        // Hundreds of reads of garbage, one warning for the connection.
        QCOMPARE(logReader->matching(QStringLiteral("Cannot parse message from device")).size(), 1);
    }

    void refusedConnection()
    {
        quint16 port = 0;
        {
            QTcpServer closed;
            QVERIFY(closed.listen(QHostAddress(TestEnvironment::loopback(1))));
            port = closed.serverPort();
        }
        CalderwickClient client;
        client.setAddress(QHostAddress(TestEnvironment::loopback(1)), port);
        QString answer;
        QCOMPARE(client.ping(answer), ReplyCode::NetworkError);
        QVERIFY(logReader->contains(QStringLiteral("[Error] Unable to connect to %1:%2 \"Connection refused\"")
                                 .arg(TestEnvironment::loopback(1)).arg(port)));
        QVERIFY(logReader->contains(QStringLiteral("[Error] Fail to send Ping to device")));
        QVERIFY(answer.isEmpty());
    }

    void freshConnectionPerExchangeUnlessPersistent_data()
    {
        QTest::addColumn<bool>("persistent");
        QTest::addColumn<int>("connections");
        QTest::newRow("per exchange") << false << 3;
        QTest::newRow("persistent") << true << 1;
    }

    void freshConnectionPerExchangeUnlessPersistent()
    {
        QFETCH(bool, persistent);
        QFETCH(int, connections);
        FakeDevice device([](QTcpSocket *peer, const QByteArray &) { peer->write(PongReply); });
        CalderwickClient client;
        aimAt(client, device);
        client.setPersistent(persistent);
        for (int i = 0; i < 3; ++i) {
            QString answer;
            QCOMPARE(client.ping(answer), ReplyCode::Ok);
            QCOMPARE(answer, QStringLiteral("PONG"));
        }
        QCOMPARE(device.connections, connections);
    }

    void persistentConnectionClosedByDeviceIsReplaced()
    {
        FakeDevice device([](QTcpSocket *peer, const QByteArray &) {
            peer->write(PongReply);
            peer->disconnectFromHost();
        });
        CalderwickClient client;
        aimAt(client, device);
        client.setPersistent(true);
        QString answer;
        QCOMPARE(client.ping(answer), ReplyCode::Ok);
        // Our side must have seen the close, so that the next exchange finds a stale socket.
        QTRY_VERIFY(!client.isConnected());
        QCOMPARE(client.ping(answer), ReplyCode::Ok);
        QVERIFY(logReader->contains(QStringLiteral(
            "[Error] [initConnection] Persistant connection but not connected. Will reconnect to \"")
            + TestEnvironment::loopback(1) + QLatin1Char('"')));
        QCOMPARE(device.connections, 2);
    }

    void requestFromDeviceOnPersistentConnection()
    {
        QTcpSocket *devicePeer = nullptr;
        FakeDevice device([&devicePeer](QTcpSocket *peer, const QByteArray &) {
            devicePeer = peer;
            peer->write(PongReply);
        });
        CalderwickClient client;
        aimAt(client, device);
        client.setPersistent(true);
        QString answer;
        QCOMPARE(client.ping(answer), ReplyCode::Ok);
        QVERIFY(devicePeer);

        QSignalSpy spy(&client, &CalderwickClient::requestFromDevice);
        devicePeer->write(hex("08 06 12 0a 08 10 12 06 08 04 2a 02 68 69"));
        QVERIFY(spy.wait(2000));
        const auto request = client.takeRequest();
        QVERIFY(request);
        QCOMPARE(request->type(), Request::PushData);
        QCOMPARE(request->parameter().type(), Parameter::Clipboard);
        QCOMPARE(request->parameter().value().stringvalue(), std::string("hi"));
        QCOMPARE(client.pendingBytes(), 0);
    }
};

CALDERWICK_TEST_MAIN(TestCalderwickClient)
#include "tst_calderwickclient.moc"
