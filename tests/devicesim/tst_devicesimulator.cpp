// The simulator in the process: its event, request and sensor servers, its control commands
// and its camera client. Its screen stream is proven through the render library against its
// own picture, with the touch marks it draws and after every turn, in tst_playerwindow.
#include "calderwickclient.h"
#include "cameramanager.h"
#include "nocamera.h"
#include "devicecameraservice.h"
#include "controlchannel.h"
#include "audioserver.h"
#include "devicesimulator.h"
#include "devicestate.h"
#include "eventserver.h"
#include "journal.h"
#include "phonescreen.h"
#include "requestserver.h"
#include "sensorserver.h"
#include "testenvironment.h"

#include <QJsonObject>
#include <QTcpSocket>
#include <QtEndian>

#include <cstring>
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>
#include <memory>

using Calderwick::Parameter;
using Calderwick::Request;

namespace {

const QHostAddress Address(TestEnvironment::loopback(1));

// The player's camera side with only its moving placeholder to offer.
class PlaceholderCameras : public CameraManager
{
public:
    using CameraManager::CameraManager;
    QList<AOSPCamera *> listCameras() override { return {noCamera()}; }
};

QByteArray hex(const char *text)
{
    return QByteArray::fromHex(QByteArray(text).replace(' ', ""));
}

QByteArray sensorRecord(qint64 type, double x, double y, double z)
{
    QByteArray record(32, '\0');
    qToLittleEndian<qint64>(type, record.data());
    const double values[3] = {x, y, z};
    for (int i = 0; i < 3; ++i) {
        quint64 bits = 0;
        std::memcpy(&bits, &values[i], 8);
        qToLittleEndian<quint64>(bits, record.data() + 8 + 8 * i);
    }
    return record;
}

} // namespace

class TestDeviceSimulator : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<DeviceSimulator> sim;
    std::unique_ptr<CalderwickClient> client;

    QTcpSocket *connectTo(quint16 port)
    {
        auto *socket = new QTcpSocket(this);
        socket->connectToHost(Address, port);
        if (!socket->waitForConnected(2000))
            return nullptr;
        return socket;
    }

    QList<QJsonObject> lines(const QString &key)
    {
        QList<QJsonObject> result;
        for (const QJsonObject &entry : sim->journal()->entries(QStringLiteral("event"))) {
            if (entry.contains(key))
                result << entry;
        }
        return result;
    }

private slots:
    void init()
    {
        SimulatorOptions options;
        options.address = Address;
        options.size = QSize(360, 640);
        options.dpi = 160;
        sim = std::make_unique<DeviceSimulator>(options);
        QString error;
        QVERIFY2(sim->start(&error), qPrintable(error));
        client = std::make_unique<CalderwickClient>();
        client->setAddress(Address, RequestServer::Port);
    }

    void cleanup()
    {
        client.reset();
        sim.reset();
        qDeleteAll(findChildren<QTcpSocket *>());
    }

    void eventLines_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<bool>("accepted");
        // The plain pointer and key lines are what the player sends in tests/device and
        // tst_playerwindow; here the rarer ones and what the device refuses.
        QTest::newRow("multi-touch bad rotation") << QByteArray("MSMTPR:10:20:45:2") << false;
        QTest::newRow("wheel down") << QByteArray("WHEEL:1:2:-1:0") << true;
        QTest::newRow("wheel of two") << QByteArray("WHEEL:1:2:2:0") << false;
        QTest::newRow("key release negative") << QByteArray("KBDRL:-30:0") << false;
        QTest::newRow("multi") << QByteArray("MULTI:1:2:10:20:30:40") << true;
        QTest::newRow("multi short") << QByteArray("MULTI:1:2:10:20") << false;
        QTest::newRow("unknown") << QByteArray("TOUCH:1:2") << false;
        QTest::newRow("carriage return") << QByteArray("MOUSE:1:2\r") << false;
    }

    void eventLines()
    {
        QFETCH(QByteArray, line);
        QFETCH(bool, accepted);
        QTcpSocket *socket = connectTo(EventServer::Port);
        QVERIFY(socket);
        socket->write(line + '\n');
        QTRY_COMPARE(lines(QStringLiteral("line")).size() + lines(QStringLiteral("rejected")).size(), 1);
        QCOMPARE(lines(QStringLiteral("line")).size(), accepted ? 1 : 0);
        if (accepted)
            QCOMPARE(lines(QStringLiteral("line")).first().value(QStringLiteral("line")).toString(),
                     QString::fromLatin1(line));
    }

    void eventLinesAcrossSegmentsAndOverlongLine()
    {
        QTcpSocket *socket = connectTo(EventServer::Port);
        QVERIFY(socket);
        socket->write("KBDPR:4");
        socket->flush();
        QTRY_COMPARE(sim->events()->connectionCount(), 1);
        socket->write("2:0\nKBDPR:30:0\nKBDRL:30:0\nKBDRL:42:0\n");
        QTRY_COMPARE(lines(QStringLiteral("line")).size(), 4);
        QCOMPARE(sim->state()->typedText(), QStringLiteral("A"));

        socket->write(QByteArray(EventServer::MaxLineLength + 10, 'M'));
        QTRY_COMPARE(lines(QStringLiteral("rejected")).size(), 1);
        socket->write("\nMOUSE:1:1\n");
        QTRY_COMPARE(lines(QStringLiteral("line")).size(), 5);
    }

    void parametersRoundTrip_data()
    {
        QTest::addColumn<int>("parameter");
        QTest::addColumn<QVariant>("value");
        // The battery, GPS, device id and network profile go through the player's own
        // operations against this simulator in tests/device.
        QTest::newRow("battery level") << int(Parameter::BatteryLevel) << QVariant(0);
        QTest::newRow("clipboard") << int(Parameter::Clipboard) << QVariant(QStringLiteral("d\u00e9j\u00e0 vu"));
        QTest::newRow("up loss") << int(Parameter::NetworkUpPktLoss) << QVariant(2.5);
    }

    void parametersRoundTrip()
    {
        QFETCH(int, parameter);
        QFETCH(QVariant, value);
        QCOMPARE(client->setParam(Parameter::Type(parameter), value), ReplyCode::Ok);
        QVariant read;
        QCOMPARE(client->getParam(Parameter::Type(parameter), read), ReplyCode::Ok);
        QCOMPARE(read, value);
    }

    void refusedSettings_data()
    {
        QTest::addColumn<int>("parameter");
        QTest::addColumn<QVariant>("value");
        QTest::newRow("level above 100") << int(Parameter::BatteryLevel) << QVariant(101);
        QTest::newRow("text for double") << int(Parameter::GpsLatitude) << QVariant(QStringLiteral("48"));
        QTest::newRow("latitude past the pole") << int(Parameter::GpsLatitude) << QVariant(90.5);
        QTest::newRow("negative bearing") << int(Parameter::GpsBearing) << QVariant(-1.0);
        QTest::newRow("network mode 9") << int(Parameter::NetworkMode) << QVariant(9);
        QTest::newRow("accelerometer text") << int(Parameter::Accelerometer) << QVariant(QStringLiteral("1|2"));
    }

    void refusedSettings()
    {
        QFETCH(int, parameter);
        QFETCH(QVariant, value);
        const QVariant before = sim->state()->value(Parameter::Type(parameter));
        QCOMPARE(client->setParam(Parameter::Type(parameter), value), ReplyCode::InvalidRequest);
        QCOMPARE(sim->state()->value(Parameter::Type(parameter)), before);
    }

    void capabilitiesAndVersions()
    {
        QString text;
        QCOMPARE(client->getCapabilities(text), ReplyCode::Ok);
        QVERIFY(text.contains(QStringLiteral("\"battery\" : \"on\"")));
        ControlChannel control(sim.get());
        QVERIFY(control.execute(QStringLiteral("caps battery off")).startsWith(QStringLiteral("ok")));
        QCOMPARE(client->getCapabilities(text), ReplyCode::Ok);
        QVERIFY(text.contains(QStringLiteral("\"battery\" : \"off\"")));
        QCOMPARE(client->getSystemVersion(text), ReplyCode::Ok);
        QCOMPARE(text, QStringLiteral(CALDERWICK_VERSION));
    }

    void controlShapesReplies()
    {
        ControlChannel control(sim.get());
        QCOMPARE(client->setBatteryLevel(50), ReplyCode::Ok);
        QCOMPARE(control.execute(QStringLiteral("reply-split on")), QStringLiteral("ok"));
        int level = 0;
        QCOMPARE(client->getBatteryLevel(level), ReplyCode::Ok);
        QCOMPARE(level, 50);
        // Cut right after the status, a Value reply reads as whole and without its value.
        QCOMPARE(control.execute(QStringLiteral("reply-split 6")), QStringLiteral("ok"));
        QCOMPARE(client->getBatteryLevel(level), ReplyCode::SerializationError);
        QCOMPARE(control.execute(QStringLiteral("reply-split off")), QStringLiteral("ok"));

        QCOMPARE(control.execute(QStringLiteral("reply-silent on")), QStringLiteral("ok"));
        QByteArray reply;
        QCOMPARE(client->sendRequest(client->buildRequest(Request::Ping, Parameter::None), reply, 200),
                 ReplyCode::NetworkError);
        QVERIFY(control.execute(QStringLiteral("bogus")).startsWith(QStringLiteral("error ")));
    }

    void requestsCutAndConcatenated()
    {
        QTcpSocket *socket = connectTo(RequestServer::Port);
        QVERIFY(socket);
        const QByteArray getLevel = hex("08 02 12 02 08 04");
        const QByteArray ping = hex("08 01");
        socket->write(getLevel.left(3));
        socket->flush();
        QTRY_COMPARE(sim->requests()->connectionCount(), 1);
        socket->write(getLevel.mid(3) + ping + getLevel);
        QTRY_COMPARE(socket->bytesAvailable(), qint64(12 + 6 + 12));
        QCOMPARE(socket->readAll(), hex("08 03 12 02 10 00 1a 04 08 02 18 50") + hex("08 02 12 02 10 00")
                                        + hex("08 03 12 02 10 00 1a 04 08 02 18 50"));
        // The journal holds what came and went, byte for byte.
        QStringList journaled;
        for (const QJsonObject &entry : sim->journal()->entries(QStringLiteral("request")))
            journaled << entry.value(QStringLiteral("bytes")).toString() + entry.value(QStringLiteral("sent")).toString();
        journaled.removeAll(QString());
        QCOMPARE(journaled.mid(0, 2), (QStringList{"08 02 12 02 08 04", "08 03 12 02 10 00 1a 04 08 02 18 50"}));
    }

    void splitMessages_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QList<int>>("ends");
        QTest::addColumn<bool>("tailComplete");
        QTest::addColumn<bool>("invalid");
        // Whole, cut and concatenated requests are proven over a socket in requestsCutAndConcatenated.
        QTest::newRow("group wire type") << hex("0b") << QList<int>() << false << true;
        QTest::newRow("endless varint") << QByteArray(11, '\xff') << QList<int>() << false << true;
        QTest::newRow("huge length") << hex("12 ff ff ff ff 07") << QList<int>() << false << true;
    }

    void splitMessages()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QList<int>, ends);
        QFETCH(bool, tailComplete);
        QFETCH(bool, invalid);
        const RequestServer::Split split = RequestServer::splitMessages(bytes);
        QCOMPARE(split.ends, ends);
        QCOMPARE(split.tailComplete, tailComplete);
        QCOMPARE(split.invalid, invalid);
    }

    // Every listener gets the tones in real time (440 Hz left, 1000 Hz right, counted by
    // their zero crossings); one that never reads only loses sound.
    void soundPacedForEveryListener()
    {
        const int stalled = ::socket(AF_INET, SOCK_STREAM, 0);
        const int small = 2048;
        ::setsockopt(stalled, SOL_SOCKET, SO_RCVBUF, &small, sizeof small);
        sockaddr_in peer{};
        peer.sin_family = AF_INET;
        peer.sin_port = htons(AudioServer::Port);
        peer.sin_addr.s_addr = htonl(QHostAddress(Address).toIPv4Address());
        QCOMPARE(::connect(stalled, reinterpret_cast<sockaddr *>(&peer), sizeof peer), 0);
        QTcpSocket *listeners[] = {connectTo(AudioServer::Port), connectTo(AudioServer::Port)};
        QByteArray heard[2];
        for (int i = 0; i < 2; ++i)
            connect(listeners[i], &QTcpSocket::readyRead, [&heard, &listeners, i] { heard[i] += listeners[i]->readAll(); });
        QElapsedTimer clock;
        clock.start();
        QTRY_VERIFY_WITH_TIMEOUT(sim->audio()->droppedPairs() > 0 && clock.elapsed() > 1500, 20000);
        const double seconds = clock.elapsed() / 1000.0;
        ::close(stalled);
        for (const QByteArray &bytes : heard) {
            const qint64 pairs = bytes.size() / 4;
            QVERIFY2(std::abs(pairs - seconds * AudioServer::SampleRate) < 0.1 * AudioServer::SampleRate,
                     qPrintable(QStringLiteral("%1 pairs in %2 s").arg(pairs).arg(seconds)));
            for (int channel = 0; channel < 2; ++channel) {
                int crossings = 0;
                for (int i = 1; i < AudioServer::SampleRate; ++i) {
                    const auto at = [&](int k) { return qFromLittleEndian<qint16>(bytes.constData() + 4 * k + 2 * channel); };
                    crossings += (at(i - 1) < 0) != (at(i) < 0);
                }
                QVERIFY(std::abs(crossings - 2 * (channel ? AudioServer::RightHz : AudioServer::LeftHz)) <= 2);
            }
        }
    }

    void gravityTurnsThePhone()
    {
        QTcpSocket *socket = connectTo(SensorServer::Port);
        QVERIFY(socket);
        const QByteArray turned = sensorRecord(1, 9.776218750101208, 0.0, 0.8134168366646887);
        socket->write(turned.left(13));
        socket->flush();
        QTRY_COMPARE(sim->sensors()->connectionCount(), 1);
        socket->write(turned.mid(13) + sensorRecord(7, 0, 0, 0));
        QTRY_COMPARE(sim->journal()->entries(QStringLiteral("sensor")).size(), 4);
        QCOMPARE(sim->state()->orientation(), 90);
        QVERIFY(sim->journal()->entries(QStringLiteral("sensor")).last().contains(QStringLiteral("rejected")));
        socket->write(sensorRecord(1, 0.0, -9.8, 0.5));
        QTRY_COMPARE(sim->state()->orientation(), 180);
        // Lying flat keeps the last orientation.
        socket->write(sensorRecord(1, 0.3, 0.2, 9.8));
        QTRY_COMPARE(sim->state()->gravityZ(), 9.8);
        QCOMPARE(sim->state()->orientation(), 180);
    }

    // With the camera application on, each camera a player serves is opened at once, and the
    // phone knows it by the name the player gives.
    void cameraAppOpensEachCamera()
    {
        SimulatorOptions options = sim->options();
        options.cameraApp = true;
        sim.reset();
        sim = std::make_unique<DeviceSimulator>(options);
        QVERIFY(sim->start());
        PlaceholderCameras player(Address.toString());
        for (const QString direction : {"front", "back"}) {
            QTRY_VERIFY(sim->state()->cameraFrameCount(direction) > 0);
            QCOMPARE(sim->state()->cameraFrame(direction).size(), QSize(320, 240));
            QCOMPARE(sim->state()->cameraName(direction), QStringLiteral("widget.webcam.disabled"));
        }
    }

    void cameraFramesReachTheScreen()
    {
        ControlChannel control(sim.get());
        QVERIFY(control.execute(QStringLiteral("camera open front 320x240 YU12")).startsWith("error no player"));
        PlaceholderCameras player(Address.toString());
        QTRY_VERIFY(sim->cameras()->front()->isConnected() && sim->cameras()->back()->isConnected());
        QCOMPARE(control.execute(QStringLiteral("camera open side 320x240 YU12")),
                 QStringLiteral("error camera takes front or back"));

        sim->screen()->render();
        const QImage before = sim->screen()->image();
        QCOMPARE(control.execute(QStringLiteral("camera open front 320x240 YU12 20")), QStringLiteral("ok"));
        QTRY_VERIFY(sim->state()->cameraFrameCount(QStringLiteral("front")) >= 3);
        QCOMPARE(sim->state()->cameraFrame(QStringLiteral("front")).size(), QSize(320, 240));
        QCOMPARE(sim->cameras()->front()->rejectedReplies(), 0);
        QCOMPARE(control.execute(QStringLiteral("camera close front")), QStringLiteral("ok"));
        QTRY_COMPARE(sim->cameras()->front()->pendingCommands(), 0);
        const int frames = sim->state()->cameraFrameCount(QStringLiteral("front"));
        QCOMPARE(control.execute(QStringLiteral("camera frames front")), QStringLiteral("ok %1").arg(frames));
        QCOMPARE(control.execute(QStringLiteral("camera frames back")), QStringLiteral("ok 0"));

        // Every command and its reply is journaled; the card with the frame is on the screen.
        QStringList commands;
        for (const QJsonObject &entry : sim->journal()->entries(QStringLiteral("camera"))) {
            QVERIFY(!entry.contains(QStringLiteral("rejected")));
            if (entry.value(QStringLiteral("camera")).toString() == QLatin1String("front")
                && entry.contains(QStringLiteral("command")))
                commands << entry.value(QStringLiteral("command")).toString().section(QLatin1Char(' '), 0, 0);
        }
        QCOMPARE(commands.mid(0, 4), (QStringList{"connect", "infos", "start", "frame"}));
        QCOMPARE(commands.mid(commands.size() - 2), (QStringList{"stop", "disconnect"}));
        sim->screen()->render();
        const QImage after = sim->screen()->image();
        int differing = 0;
        for (int y = 540; y < 640; ++y)
            for (int x = 0; x < 360; ++x)
                differing += after.pixel(x, y) != before.pixel(x, y);
        QVERIFY2(differing > 2000, qPrintable(QString::number(differing)));
    }
};

CALDERWICK_TEST_GUI_MAIN(TestDeviceSimulator)
#include "tst_devicesimulator.moc"
