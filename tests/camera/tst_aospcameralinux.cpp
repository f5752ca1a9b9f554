// Webcam discovery and capture through the real V4L2 code, against the fake device that
// LD_PRELOAD puts in front of the C library (fakev4l2.cpp), and frames on to a simulated device.

#include "aospcameralinux.h"
#include "cameramanagerlinux.h"
#include "devicecameraservice.h"
#include "pixelformat.h"
#include "testenvironment.h"

#include <QtTest>

namespace {

const char *const FourSizes = "d640x480,352x288,320x240,176x144";

void configure(const QByteArray &devices)
{
    qputenv("CALDERWICK_FAKE_V4L2", devices);
}

QStringList names(const QList<AOSPCamera *> &cameras)
{
    QStringList result;
    for (AOSPCamera *camera : cameras)
        result << camera->name();
    return result;
}

} // namespace

class TestAOSPCameraLinux : public QObject
{
    Q_OBJECT

    DeviceCameraService m_device;
    CameraManagerLinux *m_manager = nullptr;

    std::unique_ptr<AOSPCameraLinux> probed(const QByteArray &options)
    {
        configure("/dev/video3 formats=YUYV:" + QByteArray(FourSizes) + " " + options);
        std::unique_ptr<AOSPCameraLinux> camera(AOSPCameraLinux::create("/dev/video3"));
        if (camera && !m_manager->probeCamera(camera.get()))
            camera.reset();
        return camera;
    }

private slots:
    void initTestCase()
    {
        QVERIFY2(qgetenv("LD_PRELOAD").contains("fakev4l2"), "run through ctest, which preloads the fake device");
        QVERIFY(m_device.listen(QHostAddress(TestEnvironment::loopback(21))));
        m_manager = CameraManagerLinux::instance(TestEnvironment::loopback(21));
        QCOMPARE(CameraManagerLinux::instance(TestEnvironment::loopback(99)), m_manager);
    }

    void cleanupTestCase()
    {
        delete m_manager;
    }

    void discovery_data()
    {
        QTest::addColumn<QByteArray>("devices");
        QTest::addColumn<QStringList>("webcams");
        QTest::addColumn<QList<QSize>>("sizes");
        const QList<QSize> four{{640, 480}, {352, 288}, {320, 240}, {176, 144}};
        const QByteArray yuyv = "formats=YUYV:" + QByteArray(FourSizes);
        QTest::newRow("one node, not the first") << "/dev/video5 " + yuyv << QStringList{"webcam0"} << four;
        QTest::newRow("a gap between nodes")
            << "/dev/video2 " + yuyv + ";/dev/video6 " + yuyv << QStringList{"webcam0", "webcam1"} << four;
        QTest::newRow("compressed only") << "/dev/video1 formats=MJPG*:" + QByteArray(FourSizes) << QStringList()
                                         << QList<QSize>();
        QTest::newRow("three sizes") << QByteArray("/dev/video1 formats=YUYV:d640x480,320x240,176x144")
                                     << QStringList() << QList<QSize>();
        QTest::newRow("continuous counts three") << QByteArray("/dev/video1 formats=YUYV:c160-640,120-480")
                                                 << QStringList() << QList<QSize>();
        QTest::newRow("compressed first")
            << "/dev/video1 formats=MJPG*:" + QByteArray(FourSizes) + "/NV12:" + FourSizes << QStringList{"webcam0"}
            << four;
        QTest::newRow("stepwise") << QByteArray("/dev/video4 formats=YUYV:s160-320-80,120-240-120")
                                  << QStringList{"webcam0"}
                                  << QList<QSize>{{160, 120}, {160, 240}, {240, 120}, {240, 240}, {320, 120}, {320, 240}};
    }

    void discovery()
    {
        QFETCH(QByteArray, devices);
        QFETCH(QStringList, webcams);
        QFETCH(QList<QSize>, sizes);
        configure(devices);
        const QList<AOSPCamera *> cameras = m_manager->listCameras();
        QCOMPARE(names(cameras), QStringList{"widget.webcam.disabled"} + webcams);
        if (!webcams.isEmpty())
            QCOMPARE(cameras.at(1)->frameSizes(), sizes);
    }

    void unusableNodes_data()
    {
        QTest::addColumn<QByteArray>("device");
        QTest::addColumn<QString>("line");
        QTest::newRow("regular file") << QByteArray("/dev/video0 kind=file") << "[CAMERA] /dev/video0 is not a device";
        QTest::newRow("no V4L2") << QByteArray("/dev/video0 v4l2=0")
                                 << "[CAMERA] Camera /dev/video0 is not a V4L2 device";
        QTest::newRow("no capture") << QByteArray("/dev/video0 capture=0")
                                    << "[CAMERA] Camera /dev/video0 is not a video capture device";
    }

    void unusableNodes()
    {
        QFETCH(QByteArray, device);
        QFETCH(QString, line);
        configure(device);
        QTest::ignoreMessage(QtDebugMsg, qPrintable(line));
        QVERIFY(!AOSPCameraLinux::create("/dev/video0"));
        QVERIFY(!AOSPCameraLinux::create("/dev/video7"));
    }

    void accessModes_data()
    {
        QTest::addColumn<QByteArray>("options");
        QTest::addColumn<int>("mode");
        QTest::addColumn<uint>("buffers");
        QTest::newRow("memory mapped") << QByteArray() << int(AOSPCameraLinux::MemoryMapped) << 4u;
        QTest::newRow("fewer buffers") << QByteArray("buffers=2") << int(AOSPCameraLinux::MemoryMapped) << 2u;
        QTest::newRow("user pointers") << QByteArray("mmap=0") << int(AOSPCameraLinux::UserPointers) << 4u;
        QTest::newRow("plain reads") << QByteArray("mmap=0 userptr=0 readwrite=1") << int(AOSPCameraLinux::PlainReads)
                                     << 1u;
    }

    void accessModes()
    {
        QFETCH(QByteArray, options);
        QFETCH(int, mode);
        QFETCH(uint, buffers);
        std::unique_ptr<AOSPCameraLinux> camera = probed(options + " fill=128");
        QVERIFY(camera);
        QVERIFY(camera->startCapture(AOSPCamera::HostPreview));
        QCOMPARE(camera->accessMode(), mode);
        QCOMPARE(camera->bufferCount(), buffers);
        for (int i = 0; i < 3; ++i)
            camera->getFrameFromCamera();
        QImage image;
        camera->currentImage(image);
        // YUYV bytes of 128 are grey 130 after the colour round trip.
        QCOMPARE(image.pixel(100, 100), qRgb(130, 130, 130));
        camera->stopCapture(AOSPCamera::HostPreview);
        QCOMPARE(camera->accessMode(), int(AOSPCameraLinux::NoAccess));
        // Reopened and ready for another start.
        QVERIFY(camera->startCapture(AOSPCamera::FrontSocket));
        camera->stopCapture(AOSPCamera::AllUsers);
    }

    void noAccessMode()
    {
        std::unique_ptr<AOSPCameraLinux> camera = probed("mmap=0 userptr=0");
        QVERIFY(camera);
        camera->setName("webcam9");
        QTest::ignoreMessage(QtCriticalMsg, "[CAMERA] Don't know how to access frames on device \"webcam9\"");
        QVERIFY(!camera->startCapture(AOSPCamera::FrontSocket));
        QCOMPARE(camera->captureMode(), 0u);
    }

    void driverChangesTheSize()
    {
        std::unique_ptr<AOSPCameraLinux> camera = probed("shrink=1");
        QVERIFY(camera);
        QTest::ignoreMessage(QtCriticalMsg, "[CAMERA] Dimensions 640 x 480 are wrong for pixel format \"YUYV\"");
        QVERIFY(!camera->startCapture(AOSPCamera::FrontSocket));
        QCOMPARE(camera->width(), 640u);
        QCOMPARE(camera->accessMode(), int(AOSPCameraLinux::NoAccess));
    }

    void shortFramesAreReportedOnce()
    {
        std::unique_ptr<AOSPCameraLinux> camera = probed("sizeimage=1000");
        QVERIFY(camera);
        static int lines = 0;
        const QtMessageHandler previous = qInstallMessageHandler([](QtMsgType, const QMessageLogContext &,
                                                                    const QString &text) {
            lines += text.contains("too short");
        });
        camera->startCapture(AOSPCamera::HostPreview);
        for (int i = 0; i < 5; ++i)
            camera->getFrameFromCamera();
        qInstallMessageHandler(previous);
        QCOMPARE(lines, 1);
        camera->stopCapture(AOSPCamera::AllUsers);
    }

    void framesFlowToTheDevice()
    {
        configure("/dev/video3 fill=128 formats=YUYV:" + QByteArray(FourSizes));
        const QList<AOSPCamera *> cameras = m_manager->listCameras();
        QCOMPARE(cameras.size(), 2);
        m_manager->setBackCamera(cameras.at(1));
        CameraServicePort *back = m_device.back();
        QTRY_VERIFY(back->isConnected());
        m_device.openCamera(back, 320, 240, makeFourcc("YU12"), 20);
        QTRY_VERIFY_WITH_TIMEOUT(back->framesReceived() >= 3, 5000);
        QCOMPARE(back->lastFrame().pixel(10, 10), qRgb(130, 130, 130));
        m_device.closeCamera(back);
        QTRY_COMPARE(cameras.at(1)->captureMode(), 0u);
        QCOMPARE(back->rejectedReplies(), 0);
    }
};

CALDERWICK_TEST_MAIN(TestAOSPCameraLinux)
#include "tst_aospcameralinux.moc"
