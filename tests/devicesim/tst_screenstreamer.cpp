// The simulator's screen stream: a viewer gets the phone screen as the render library's
// stream on port 25000, and the rotate button's gravity vectors, sent through the player's
// SensorManager, turn the device; each new orientation comes with the picture drawn for it.

#include "devicesimulator.h"
#include "devicestate.h"
#include "framedecoder.h"
#include "journal.h"
#include "phonescreen.h"
#include "screenstreamer.h"
#include "sensormanager.h"
#include "testenvironment.h"

#include <QTcpSocket>

#include <cstring>

using namespace ScreenStream;

namespace {

const QHostAddress Address(TestEnvironment::loopback(30));
const double Gravity = 9.776218750101208;
const double Tilt = 0.8134168366646887;

// A viewer that decodes every frame into its picture and acknowledges it, as the render
// library does.
class Viewer
{
public:
    bool connect()
    {
        socket.connectToHost(Address, ScreenStreamer::Port);
        return socket.waitForConnected(3000) && send(kClientHello, 2);
    }

    // The next whole frame; false after the time-out or on a malformed one.
    bool next(int timeout = 3000)
    {
        std::string error;
        return QTest::qWaitFor([&] { return (buffer += socket.readAll()).size() >= int(kHeaderSize); }, timeout)
               && parseHeader(reinterpret_cast<const uint8_t *>(buffer.constData()), header, error)
               && QTest::qWaitFor([&] { return (buffer += socket.readAll()).size() >= int(kHeaderSize + header.payloadLength); }, timeout)
               && decoder.apply(header, reinterpret_cast<const uint8_t *>(buffer.constData()) + kHeaderSize,
                                header.payloadLength, picture, info, error)
               && (buffer.remove(0, int(kHeaderSize + header.payloadLength)), send(kClientAck, header.sequence));
    }

    // Reads frames until one carries the orientation; false if none does in time.
    bool waitForOrientation(int orientation)
    {
        QDeadlineTimer deadline(5000);
        while (next(int(qMax<qint64>(1, deadline.remainingTime()))))
            if (info.orientation == orientation)
                return true;
        return false;
    }

    bool shows(const QImage &image) const
    {
        const QImage framebuffer = image.convertToFormat(QImage::Format_RGB32);
        if (framebuffer.width() != picture.width || framebuffer.height() != picture.height)
            return false;
        for (int y = 0; y < picture.height; ++y)
            if (std::memcmp(framebuffer.constScanLine(y), picture.row(y), size_t(picture.width) * 4) != 0)
                return false;
        return true;
    }

    QTcpSocket socket;
    QByteArray buffer;
    Header header;
    FrameDecoder decoder;
    FrameDecoder::FrameInfo info;
    Picture picture;

private:
    bool send(uint32_t kind, uint32_t value)
    {
        uint8_t message[kClientMessageSize];
        writeControlMessage(message, ControlMessage{kind, value});
        socket.write(reinterpret_cast<const char *>(message), sizeof message);
        return socket.waitForBytesWritten(3000);
    }
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
        QVERIFY(viewer.next());
        QVERIFY(viewer.header.flags & kFlagKeyFrame);
        QCOMPARE(viewer.header.sequence, 1u);
        QCOMPARE(viewer.info.orientation, 0);
        QVERIFY(viewer.shows(simulator->screen()->image()));
        QTRY_COMPARE(simulator->screenStream()->clientCount(), 1);

        // A change on the device is a redraw, and the redraw goes out as what changed.
        simulator->state()->pressPrimary(QPoint(100, 100));
        QVERIFY(viewer.next());
        QVERIFY(!(viewer.header.flags & kFlagKeyFrame) && !viewer.info.changed.isEmpty());
        QDeadlineTimer deadline(3000);
        while (!viewer.shows(simulator->screen()->image()) && !deadline.hasExpired())
            viewer.next(100);
        QVERIFY(viewer.shows(simulator->screen()->image()));
    }

    void rotateButtonVectorsTurnTheDevice()
    {
        Viewer viewer;
        QVERIFY(viewer.connect());
        QVERIFY(viewer.next());
        SensorManager sensors(Address.toString());
        QTRY_VERIFY(sensors.isConnected());

        // The rotate button's two vectors: gravity along x turns the device to 90, along y
        // back to 0. The first frame of each new angle already holds the picture drawn for
        // it, in the display's own shape, with the interface turned inside it.
        for (const QPair<double, double> &gravity : {qMakePair(Gravity, 0.0), qMakePair(0.0, Gravity)}) {
            const int orientation = gravity.first > 0 ? 90 : 0;
            sensors.sendAccelerometerValues(gravity.first, gravity.second, Tilt);
            QVERIFY(viewer.waitForOrientation(orientation));
            QCOMPARE(simulator->screen()->orientation(), orientation);
            QCOMPARE(QSize(viewer.picture.width, viewer.picture.height), QSize(360, 640));
            QVERIFY(viewer.shows(simulator->screen()->image()));
            QCOMPARE(simulator->screen()->image().transformed(QTransform().rotate(-orientation)),
                     simulator->screen()->uprightImage());
        }
    }
};

CALDERWICK_TEST_GUI_MAIN(TestScreenStreamer)
#include "tst_screenstreamer.moc"
