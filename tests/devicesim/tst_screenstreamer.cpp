// The simulator's screen stream: a viewer gets the phone screen as the render library's
// stream on port 25000, and the rotate button's gravity vectors, sent through the player's
// SensorManager, turn the device and the orientation the stream carries.

#include "devicesimulator.h"
#include "devicestate.h"
#include "journal.h"
#include "phonescreen.h"
#include "screenstreamer.h"
#include "sensormanager.h"
#include "testenvironment.h"

#include <QTcpSocket>
#include <QtEndian>

namespace {

const QHostAddress Address(TestEnvironment::loopback(30));
const double Gravity = 9.776218750101208;
const double Tilt = 0.8134168366646887;

struct Frame
{
    quint32 sequence = 0;
    bool key = false;
    int width = 0;
    int height = 0;
    int orientation = -1;
    int rectangles = 0;
};

QByteArray clientMessage(quint32 kind, quint32 value)
{
    QByteArray message("CWSC");
    char word[4];
    qToLittleEndian<quint32>(kind, word);
    message.append(word, 4);
    qToLittleEndian<quint32>(value, word);
    message.append(word, 4);
    return message;
}

// A viewer that reads frame headers by hand and acknowledges each frame.
class Viewer
{
public:
    bool connect()
    {
        socket.connectToHost(Address, ScreenStreamer::Port);
        if (!socket.waitForConnected(3000))
            return false;
        socket.write(clientMessage(1, 2));
        return socket.waitForBytesWritten(3000);
    }

    // The next whole frame, or an invalid one (orientation -1) after the time-out.
    Frame next(int timeout = 3000)
    {
        Frame frame;
        QTest::qWaitFor(
            [&] {
                buffer += socket.readAll();
                if (buffer.size() < 16)
                    return false;
                const uchar *header = reinterpret_cast<const uchar *>(buffer.constData());
                const quint32 length = qFromLittleEndian<quint32>(header + 12);
                if (buffer.left(4) != "CWSF" || header[4] != 1 || header[5] != 1 || length > 72u * 1024 * 1024) {
                    qWarning() << "bad frame header" << buffer.left(16).toHex();
                    return true;
                }
                if (quint32(buffer.size()) < 16 + length)
                    return false;
                const uchar *payload = header + 16;
                frame.key = qFromLittleEndian<quint16>(header + 6) & 1;
                frame.sequence = qFromLittleEndian<quint32>(header + 8);
                frame.width = qFromLittleEndian<quint16>(payload);
                frame.height = qFromLittleEndian<quint16>(payload + 2);
                frame.orientation = qFromLittleEndian<quint16>(payload + 4);
                frame.rectangles = qFromLittleEndian<quint16>(payload + 16);
                buffer.remove(0, int(16 + length));
                socket.write(clientMessage(2, frame.sequence));
                return true;
            },
            timeout);
        return frame;
    }

    // Reads frames until one carries the orientation; false if none does in time.
    bool waitForOrientation(int orientation, Frame *found = nullptr)
    {
        QDeadlineTimer deadline(5000);
        while (!deadline.hasExpired()) {
            const Frame frame = next(int(qMax<qint64>(1, deadline.remainingTime())));
            if (frame.orientation == orientation) {
                if (found)
                    *found = frame;
                return true;
            }
        }
        return false;
    }

    QTcpSocket socket;
    QByteArray buffer;
};

} // namespace

class TestScreenStreamer : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<DeviceSimulator> simulator;

private slots:
    void init()
    {
        SimulatorOptions options;
        options.address = Address;
        options.size = QSize(360, 640);
        options.dpi = 160;
        options.screenPort = ScreenStreamer::Port;
        simulator = std::make_unique<DeviceSimulator>(options);
        QString error;
        QVERIFY2(simulator->start(&error), qPrintable(error));
    }

    void cleanup() { simulator.reset(); }

    void streamsTheScreenFromTheStart()
    {
        bool journaled = false;
        for (const QJsonObject &entry : simulator->journal()->entries(QStringLiteral("screen")))
            journaled |= entry.value(QStringLiteral("event")).toString() == QLatin1String("listening")
                         && entry.value(QStringLiteral("port")).toInt() == 25000;
        QVERIFY(journaled);

        Viewer viewer;
        QVERIFY(viewer.connect());
        const Frame first = viewer.next();
        QVERIFY(first.key);
        QCOMPARE(first.sequence, 1u);
        QCOMPARE(first.width, 360);
        QCOMPARE(first.height, 640);
        QCOMPARE(first.orientation, 0);
        QVERIFY(first.rectangles > 0);
        QTRY_COMPARE(simulator->screenStream()->clientCount(), 1);

        // A change on the device is a redraw, and the redraw goes out.
        const int before = simulator->screenStream()->picturesSubmitted();
        simulator->state()->pressPrimary(QPoint(100, 100));
        QTRY_VERIFY(simulator->screenStream()->picturesSubmitted() > before);
        const Frame changed = viewer.next();
        QVERIFY(changed.orientation == 0 && !changed.key);
        QVERIFY(changed.rectangles > 0);
    }

    void rotateButtonVectorsTurnTheDevice()
    {
        Viewer viewer;
        QVERIFY(viewer.connect());
        QCOMPARE(viewer.next().orientation, 0);

        SensorManager sensors(Address.toString());
        QTRY_VERIFY(sensors.isConnected());

        // First click of the rotate button: gravity along x, the device turns to 90.
        sensors.sendAccelerometerValues(Gravity, 0.0, Tilt);
        QTRY_COMPARE(simulator->state()->orientation(), 90);
        Frame turned;
        QVERIFY(viewer.waitForOrientation(90, &turned));
        // The new angle comes with the picture drawn for it, never alone with the old one.
        QVERIFY(turned.rectangles > 0);
        // The framebuffer keeps the display's own shape; the interface inside it is turned.
        QCOMPARE(turned.width, 360);
        QCOMPARE(turned.height, 640);
        QTRY_COMPARE(simulator->screen()->orientation(), 90);
        QCOMPARE(simulator->screen()->image().size(), QSize(360, 640));
        QCOMPARE(simulator->screen()->uprightImage().size(), QSize(640, 360));

        // Second click: gravity along y, upright again.
        sensors.sendAccelerometerValues(0.0, Gravity, Tilt);
        QVERIFY(viewer.waitForOrientation(0, &turned));
        QVERIFY(turned.rectangles > 0);
        QCOMPARE(simulator->screen()->uprightImage().size(), QSize(360, 640));
    }

};

CALDERWICK_TEST_GUI_MAIN(TestScreenStreamer)
#include "tst_screenstreamer.moc"
