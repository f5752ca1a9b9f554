// The camera channel end to end: the simulated device's camera service against CameraManager
// over loopback, one address of the test's own network per case because the ports are fixed.

#include "cameramanager.h"
#include "devicecameraservice.h"
#include "nocamera.h"
#include "testenvironment.h"

#include <QElapsedTimer>
#include <QTcpServer>
#include <QtTest>

namespace {

// The manager with only its placeholder to offer.
class PlaceholderManager : public CameraManager
{
public:
    using CameraManager::CameraManager;
    QList<AOSPCamera *> listCameras() override { return {noCamera()}; }
    QTcpSocket &front() { return m_frontSocket; }
};

QByteArray reply(const char *header, const QByteArray &body)
{
    return QByteArray(header) + body;
}

const QByteArray Ok("ok", 3);
const QByteArray Ko("ko", 3);

} // namespace

class TestCameraManager : public QObject
{
    Q_OBJECT

private:
    // Waits for the reply to the last queued command on port and returns it.
    static QByteArray nextReply(CameraServicePort *port)
    {
        QSignalSpy replies(port, &CameraServicePort::replyReceived);
        QSignalSpy rejected(port, &CameraServicePort::replyRejected);
        if (!replies.wait(3000) || !rejected.isEmpty())
            return QByteArray("(none)");
        return replies.last().at(1).toByteArray();
    }

private slots:
    void everyCommand()
    {
        DeviceCameraService device;
        QVERIFY(device.listen(QHostAddress(TestEnvironment::loopback(11))));
        PlaceholderManager manager(TestEnvironment::loopback(11));
        CameraServicePort *front = device.front();
        CameraServicePort *back = device.back();
        QTRY_VERIFY(front->isConnected() && back->isConnected());

        front->sendConnect();
        QCOMPARE(nextReply(front), reply("00000003", Ok));
        front->sendInfos();
        QCOMPARE(nextReply(front),
                 reply("0000006c", QByteArray("ok: name=widget.webcam.disabled channel=0 pix=825382478 dir=front "
                                              "framedims=640x480,352x288,320x240,176x144",
                                              108)));
        back->sendInfos();
        QVERIFY(nextReply(back).contains(" dir=back "));

        // The placeholder at its default 640 x 480: a wrong video size is refused.
        QTest::ignoreMessage(QtCriticalMsg, "[CAMERA] Video size 460800 differs with parameter: 1");
        front->sendCommand("frame video=1", Ko);
        QCOMPARE(nextReply(front), reply("00000003", Ko));

        front->sendStart(320, 240, 842093913);
        QCOMPARE(nextReply(front), reply("00000003", Ok));
        QCOMPARE(manager.frontCamera()->width(), 320u);
        QCOMPARE(manager.frontCamera()->captureMode(), 1u);

        front->sendFrame(false, false);
        QCOMPARE(nextReply(front), reply("00000002", "ok"));
        front->sendFrame(true, false);
        // No picture given: the video is black, that is zero bytes.
        QCOMPARE(nextReply(front), reply("0001c203", "ok:" + QByteArray(115200, '\0')));
        front->sendFrame(true, true, 1.0f, 1.0f, 1.0f, 1.0f);
        const QByteArray both = nextReply(front);
        QCOMPARE(both.left(11), QByteArray("00067203ok:"));
        QCOMPARE(both.size(), 8 + 3 + 115200 + 307200);

        front->sendCommand("hello", Ko);
        QCOMPARE(nextReply(front), reply("00000003", Ko));
        front->sendStop();
        QCOMPARE(nextReply(front), reply("00000003", Ok));
        QCOMPARE(manager.frontCamera()->captureMode(), 0u);
        front->sendDisconnect();
        QCOMPARE(nextReply(front), reply("00000003", Ok));

        // An empty command is answered "ko".
        front->sendRaw(QByteArray("\0", 1), Ko);
        QCOMPARE(nextReply(front), reply("00000003", Ko));
        // Two commands in one read: only the first is answered.
        front->sendRaw(QByteArray("connect\0stop\0", 13), Ok);
        QCOMPARE(nextReply(front), reply("00000003", Ok));
        // Without NUL the end of the read ends the command; blanks around it are trimmed.
        front->sendRaw(QByteArray("  infos  "), QByteArray());
        QVERIFY(nextReply(front).startsWith("0000006cok: name="));
        QCOMPARE(front->rejectedReplies(), 0);
        QCOMPARE(front->pendingCommands(), 0);
    }

    void deviceThatNeverReadsHoldsNoBacklog()
    {
        QTcpServer device;
        QVERIFY(device.listen(QHostAddress(TestEnvironment::loopback(16)), CameraManager::FrontPort));
        PlaceholderManager manager(TestEnvironment::loopback(16));
        QVERIFY(device.waitForNewConnection(3000));
        QTcpSocket *socket = device.nextPendingConnection();
        // Qt would otherwise read for it; the kernel's buffers then fill.
        socket->setReadBufferSize(4096);
        // Each request asks for 1.6 MiB of pixels; the device reads none of them.
        const QByteArray request("frame video=460800 preview=1228800", 35);
        const qint64 oneReply = 8 + 3 + 460800 + 1228800;
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("does not read its replies"));
        for (int i = 0; i < 40; ++i) {
            socket->write(request);
            QTest::qWait(10);
            QVERIFY2(manager.front().bytesToWrite() <= CameraManager::MaximumUnsentBytes + oneReply,
                     qPrintable(QString::number(manager.front().bytesToWrite())));
        }
        // Once it reads, the replies drain and the waiting request is answered.
        QByteArray received;
        const auto drained = [&] {
            socket->setReadBufferSize(0);
            received += socket->readAll();
            return manager.front().bytesToWrite() == 0 && socket->bytesAvailable() == 0;
        };
        QTRY_VERIFY_WITH_TIMEOUT(drained(), 10000);
        QVERIFY(received.size() > 2 * oneReply);
        QCOMPARE(received.left(11), QByteArray("0019c803ok:"));
    }

    void framesReachTheDevice()
    {
        DeviceCameraService device;
        QVERIFY(device.listen(QHostAddress(TestEnvironment::loopback(13))));
        PlaceholderManager manager(TestEnvironment::loopback(13));
        QTRY_VERIFY(device.back()->isConnected());

        // Video only: the preview buffer is filled for a host preview alone.
        device.openCamera(device.back(), 320, 240, 842093913, 20, false);
        QTRY_COMPARE(manager.backCamera()->width(), 320u);
        // Given now, the logo starts from the middle of the new size.
        QImage logo(8, 8, QImage::Format_ARGB32);
        logo.fill(Qt::white);
        manager.setPlaceholderImage(logo);
        // Frames captured before the logo came are black; a slow capture (sanitizers) serves
        // them for a while. Then the 100 x 100 logo, a few rows or columns past an edge at times.
        int white = 0;
        const auto logoShown = [&] {
            const QImage frame = device.back()->lastFrame();
            white = 0;
            for (int y = 0; y < frame.height(); ++y)
                for (int x = 0; x < frame.width(); ++x)
                    white += qGreen(frame.pixel(x, y)) > 200;
            return frame.size() == QSize(320, 240) && white >= 100 * 90;
        };
        QTRY_VERIFY_WITH_TIMEOUT(logoShown(), 5000);
        QVERIFY2(white <= 100 * 100, qPrintable(QString::number(white)));
        // The back camera's preview on the host shows the same picture.
        QImage preview;
        manager.backPreview(preview);
        QCOMPARE(preview.size(), QSize(320, 240));

        device.closeCamera(device.back());
        QTRY_COMPARE(device.back()->pendingCommands(), 0);
        QCOMPARE(manager.backCamera()->captureMode(), 0u);
        QCOMPARE(device.back()->rejectedReplies(), 0);
    }

    void movingCamerasKeepsTheUsers()
    {
        PlaceholderManager manager{QString()};
        QImage image;
        AOSPCamera *placeholder = manager.frontCamera();
        QVERIFY(placeholder);
        QVERIFY(placeholder->startCapture(AOSPCamera::FrontSocket | AOSPCamera::HostPreview));

        NoCamera other;
        other.resizeBuffers(176, 144);
        manager.setFrontCamera(&other);
        QCOMPARE(manager.frontCamera(), &other);
        QCOMPARE(other.captureMode(), 5u);
        QCOMPARE(other.width(), 640u);
        QCOMPARE(placeholder->captureMode(), 4u);
        placeholder->stopCapture(AOSPCamera::AllUsers);
        manager.setFrontCamera(placeholder);
        other.stopCapture(AOSPCamera::AllUsers);
    }

    void refusedConnectionRetriesEverySecond()
    {
        PlaceholderManager manager(TestEnvironment::loopback(14));
        QSignalSpy errors(&manager.front(), &QAbstractSocket::errorOccurred);
        QVERIFY(errors.wait(2000));
        QCOMPARE(errors.first().at(0).value<QAbstractSocket::SocketError>(), QAbstractSocket::ConnectionRefusedError);
        DeviceCameraService device;
        QVERIFY(device.listen(QHostAddress(TestEnvironment::loopback(14))));
        QSignalSpy connected(device.front(), &CameraServicePort::playerConnected);
        QElapsedTimer clock;
        clock.start();
        QVERIFY(connected.wait(2500));
        QVERIFY2(clock.elapsed() <= 1500, qPrintable(QString::number(clock.elapsed())));
    }

    // A manager made before the device's address was known connects once it is told, and
    // follows a device that comes up elsewhere.
    void addressGivenLater()
    {
        DeviceCameraService first;
        DeviceCameraService second;
        QVERIFY(first.listen(QHostAddress(TestEnvironment::loopback(17))));
        QVERIFY(second.listen(QHostAddress(TestEnvironment::loopback(18))));
        PlaceholderManager manager{QString()};
        QTest::qWait(100);
        QVERIFY(!first.front()->isConnected());
        manager.setDeviceAddress(TestEnvironment::loopback(17));
        QTRY_VERIFY(first.front()->isConnected() && first.back()->isConnected());
        manager.setDeviceAddress(TestEnvironment::loopback(18));
        QTRY_VERIFY(second.front()->isConnected() && second.back()->isConnected());
        QTRY_VERIFY(!first.front()->isConnected());
    }

    void closedConnectionRetriesAfterSixSeconds()
    {
        DeviceCameraService device;
        QVERIFY(device.listen(QHostAddress(TestEnvironment::loopback(15))));
        PlaceholderManager manager(TestEnvironment::loopback(15));
        QTRY_VERIFY(device.front()->isConnected());
        QSignalSpy connected(device.front(), &CameraServicePort::playerConnected);
        QElapsedTimer clock;
        clock.start();
        device.front()->closeConnection();
        QVERIFY(connected.wait(9000));
        QVERIFY2(clock.elapsed() >= 5500 && clock.elapsed() <= 7500, qPrintable(QString::number(clock.elapsed())));
    }
};

CALDERWICK_TEST_GUI_MAIN(TestCameraManager)
#include "tst_cameramanager.moc"
