// The render library against a real X server (Xvfb) and Mesa: a stream server on a loopback
// address feeds it, and the pictures are read back from the window it draws into. The picture
// turned in each rotation is proven through the whole player in tst_playerwindow.

#include "testenvironment.h"

#include "frameencoder.h"
#include "openglrender.h"
#include "streamserver.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTcpServer>
#include <QTcpSocket>

#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <atomic>
#include <mutex>

namespace {

constexpr int kDeviceWidth = 120;
constexpr int kDeviceHeight = 240;
constexpr int kPort = 25000;

// Quadrants of the device picture, as 0xRRGGBB.
constexpr uint32_t kRed = 0xff0000, kGreen = 0x00ff00, kBlue = 0x0000ff, kWhite = 0xffffff, kBlack = 0;

std::vector<uint8_t> quadrantPicture()
{
    std::vector<uint8_t> pixels(size_t(kDeviceWidth) * kDeviceHeight * 4);
    for (int y = 0; y < kDeviceHeight; ++y) {
        for (int x = 0; x < kDeviceWidth; ++x) {
            const bool right = x >= kDeviceWidth / 2, bottom = y >= kDeviceHeight / 2;
            const uint32_t rgb = bottom ? (right ? kWhite : kBlue) : (right ? kGreen : kRed);
            uint8_t *p = pixels.data() + (size_t(y) * kDeviceWidth + x) * 4;
            p[0] = uint8_t(rgb), p[1] = uint8_t(rgb >> 8), p[2] = uint8_t(rgb >> 16), p[3] = 0xff;
        }
    }
    return pixels;
}


struct FrameSink {
    std::mutex mutex;
    std::vector<uint8_t> pixels;
    int width = 0, height = 0, ydir = 0, format = 0, type = 0, calls = 0;

    int callCount()
    {
        std::lock_guard<std::mutex> lock(mutex);
        return calls;
    }
    bool holds(const std::vector<uint8_t> &expected)
    {
        std::lock_guard<std::mutex> lock(mutex);
        return pixels == expected;
    }
};
void onFrame(void *context, int width, int height, int ydir, int format, int type, unsigned char *pixels)
{
    auto *sink = static_cast<FrameSink *>(context);
    std::lock_guard<std::mutex> lock(sink->mutex);
    sink->pixels.assign(pixels, pixels + size_t(width) * height * 4);
    sink->width = width, sink->height = height, sink->ydir = ydir, sink->format = format, sink->type = type;
    ++sink->calls;
}

QStringList logLines;
std::mutex logMutex;
void collectLog(QtMsgType, const QMessageLogContext &, const QString &text)
{
    std::lock_guard<std::mutex> lock(logMutex);
    logLines << text;
}
bool logContains(const QString &part)
{
    std::lock_guard<std::mutex> lock(logMutex);
    for (const QString &line : logLines)
        if (line.contains(part))
            return true;
    return false;
}

QStringList libraryThreads()
{
    QStringList names;
    for (const QString &task : QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile comm(QStringLiteral("/proc/self/task/%1/comm").arg(task));
        if (comm.open(QIODevice::ReadOnly)) {
            const QString name = QString::fromLatin1(comm.readAll().trimmed());
            if (name.startsWith(QLatin1String("sylvane-")))
                names << name;
        }
    }
    return names;
}

} // namespace

class TestOpenglRender : public QObject
{
    Q_OBJECT

private:
    Display *display = nullptr;
    Window window = 0;
    StreamServer server;
    std::vector<uint8_t> picture = quadrantPicture();

    uint32_t pixelAt(int x, int y)
    {
        XImage *image = XGetImage(display, window, x, y, 1, 1, AllPlanes, ZPixmap);
        if (!image)
            return 0xdeadbeef;
        const uint32_t value = uint32_t(XGetPixel(image, 0, 0)) & 0xffffff;
        XDestroyImage(image);
        return value;
    }
    void resizeWindow(int width, int height)
    {
        XResizeWindow(display, window, unsigned(width), unsigned(height));
        XSync(display, False);
    }
    // Brings the renderer up on address with the quadrant picture served there.
    void startRenderer(int host)
    {
        const QByteArray address = TestEnvironment::loopback(host).toLatin1();
        QVERIFY(Sylvane_initLibrary() != 0);
        QVERIFY(server.start(address.toStdString(), kPort));
        QVERIFY(server.submitFrame(picture.data(), kDeviceWidth, kDeviceHeight, kDeviceWidth * 4,
                                   StreamServer::PixelLayout::Bgra));
        QCOMPARE(Sylvane_setVMIP(address.constData()), 0);
        QCOMPARE(Sylvane_initOpenGLRenderer(kDeviceWidth, kDeviceHeight, kPort, 0, 0), 0);
    }

private slots:
    void initTestCase()
    {
        qInstallMessageHandler(collectLog);
        display = XOpenDisplay(nullptr);
        QVERIFY(display);
        XSetWindowAttributes attributes{};
        attributes.background_pixel = 0x808080; // grey: distinguishes "nothing drawn" from black bars
        window = XCreateWindow(display, DefaultRootWindow(display), 0, 0, 60, 120, 0, CopyFromParent, InputOutput,
                               CopyFromParent, CWBackPixel, &attributes);
        XMapWindow(display, window);
        XSync(display, False);
    }

    void cleanup()
    {
        Sylvane_registerOGLCallback(nullptr, nullptr);
        Sylvane_shutdown();
        server.stop();
        Sylvane_setOpenGLDisplayRotation(0);
        Sylvane_setViewport(0, 0);
        Sylvane_scrollViewport(0, 0);
        Sylvane_setWindowHighlight(false);
        resizeWindow(60, 120);
    }

    void cleanupTestCase()
    {
        XDestroyWindow(display, window);
        XCloseDisplay(display);
    }

    // Must run first: once GL is loaded it stays loaded for the process.
    void initLibraryFailsCleanlyWithoutGl()
    {
        qputenv("CALDERWICK_GL_LIBRARY", "libGL-missing.so.1");
        QCOMPARE(Sylvane_initLibrary(), 0);
        QVERIFY(logContains(QStringLiteral("Cannot load the GL library")));
        QCOMPARE(Sylvane_initOpenGLRenderer(kDeviceWidth, kDeviceHeight, kPort, 0, 0), 2);
        qunsetenv("CALDERWICK_GL_LIBRARY");
        QVERIFY(Sylvane_initLibrary() != 0);
    }

    void initStatuses_data()
    {
        QTest::addColumn<QByteArray>("address");
        QTest::addColumn<QByteArray>("xDisplay");
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::addColumn<int>("port");
        QTest::addColumn<int>("status");
        QTest::newRow("no address yet") << QByteArray() << QByteArray() << 120 << 240 << kPort << 18;
        QTest::newRow("zero width") << TestEnvironment::loopback(1).toLatin1() << QByteArray() << 0 << 240 << kPort << 1;
        QTest::newRow("absurd height") << TestEnvironment::loopback(1).toLatin1() << QByteArray() << 120 << 100000 << kPort << 1;
        QTest::newRow("no port") << TestEnvironment::loopback(1).toLatin1() << QByteArray() << 120 << 240 << 0 << 18;
        QTest::newRow("no X server") << TestEnvironment::loopback(1).toLatin1() << QByteArray(":97") << 120 << 240 << kPort << 4;
    }
    void initStatuses()
    {
        QFETCH(QByteArray, address);
        QFETCH(QByteArray, xDisplay);
        QFETCH(int, width);
        QFETCH(int, height);
        QFETCH(int, port);
        QFETCH(int, status);
        QVERIFY(Sylvane_initLibrary() != 0);
        if (!address.isEmpty())
            QCOMPARE(Sylvane_setVMIP(address.constData()), 0);
        const QByteArray realDisplay = qgetenv("DISPLAY");
        if (!xDisplay.isEmpty())
            qputenv("DISPLAY", xDisplay);
        const int result = Sylvane_initOpenGLRenderer(width, height, port, 0, 0);
        qputenv("DISPLAY", realDisplay);
        QCOMPARE(result, status);
        QVERIFY(libraryThreads().isEmpty());
    }

    void badArgumentsAndCallsInAnyOrderAreSafe()
    {
        QCOMPARE(Sylvane_setVMIP("not an address"), -1);
        QCOMPARE(Sylvane_setVMIP(nullptr), -1);
        QCOMPARE(Sylvane_setStreamMode(4), 0);
        QCOMPARE(Sylvane_setStreamMode(3), -1);
        QCOMPARE(Sylvane_FrameBuffer_setupSubWindow(window, 0, 0, 60, 120, 0.f), 0); // before init
        Sylvane_shutdown();
        Sylvane_FrameBuffer_removeSubWindow();
        Sylvane_repaintOpenGLDisplay();
        Sylvane_playScreenshotAnimation();
        Sylvane_setLogo(nullptr, 0, 0);
        Sylvane_setDPI(320);
        startRenderer(2);
        Sylvane_FrameBuffer_removeSubWindow();
        QVERIFY(Sylvane_FrameBuffer_setupSubWindow(window, 0, 0, 60, 120, 0.f));
        QVERIFY(Sylvane_FrameBuffer_setupSubWindow(window, 0, 0, 60, 120, 0.f));
        QCOMPARE(Sylvane_FrameBuffer_setupSubWindow(0x7fffff0, 0, 0, 60, 120, 0.f), 0); // no such window
        QCOMPARE(Sylvane_initOpenGLRenderer(kDeviceWidth, kDeviceHeight, kPort, 0, 0), 0);
        QCOMPARE(libraryThreads().size(), 2);
        Sylvane_shutdown();
        Sylvane_shutdown();
        // Every thread joined; the subwindow went with them, the window shows its own background.
        QVERIFY(libraryThreads().isEmpty());
        XClearWindow(display, window);
        QTRY_COMPARE(pixelAt(15, 30), 0x808080u);
        Sylvane_FrameBuffer_removeSubWindow();
        Sylvane_setViewport(10, 10);
    }

    // A rotation rebuilds the subwindow just as the turned picture arrives; the new subwindow
    // must show that picture without waiting for another one.
    void pictureThatCameWithoutWindowShowsInTheNext()
    {
        FrameSink sink;
        startRenderer(12);
        QVERIFY(Sylvane_FrameBuffer_setupSubWindow(window, 0, 0, 60, 120, 0.f));
        QTRY_COMPARE_WITH_TIMEOUT(pixelAt(15, 30), kRed, 5000);
        Sylvane_registerOGLCallback(onFrame, &sink);
        Sylvane_FrameBuffer_removeSubWindow();
        std::vector<uint8_t> green(picture.size());
        for (size_t i = 0; i < green.size(); i += 4)
            green[i + 1] = 0xff, green[i + 3] = 0xff;
        server.submitFrame(green.data(), kDeviceWidth, kDeviceHeight, kDeviceWidth * 4, StreamServer::PixelLayout::Bgra);
        QTRY_VERIFY_WITH_TIMEOUT(sink.holds(green), 5000);
        QVERIFY(Sylvane_FrameBuffer_setupSubWindow(window, 0, 0, 60, 120, 0.f));
        QTRY_COMPARE(pixelAt(15, 30), kGreen);
    }

    void viewportLeavesBarsAndScrolls()
    {
        resizeWindow(120, 120);
        startRenderer(5);
        QVERIFY(Sylvane_FrameBuffer_setupSubWindow(window, 0, 0, 120, 120, 0.f));
        // A square window on a tall picture: two device widths across, black beside it.
        Sylvane_setViewport(2 * kDeviceWidth, kDeviceHeight);
        QTRY_COMPARE_WITH_TIMEOUT(pixelAt(10, 60), kBlack, 5000);
        QTRY_COMPARE(pixelAt(45, 30), kRed);
        QCOMPARE(pixelAt(75, 90), kWhite);
        QCOMPARE(pixelAt(110, 60), kBlack);
        // One device pixel per window pixel around the centre, then moved right by 40.
        Sylvane_setViewport(120, 120);
        Sylvane_scrollViewport(40, 0);
        QTRY_COMPARE(pixelAt(30, 20), kBlack);
        QCOMPARE(pixelAt(50, 20), kRed);
        QCOMPARE(pixelAt(50, 100), kBlue);
        QCOMPARE(pixelAt(110, 20), kGreen);
        // And moved up by 50: the lower half fills the top.
        Sylvane_scrollViewport(0, 50);
        QTRY_COMPARE(pixelAt(30, 20), kBlue);
        QCOMPARE(pixelAt(90, 20), kWhite);
    }

    void overlays()
    {
        startRenderer(6);
        QVERIFY(Sylvane_FrameBuffer_setupSubWindow(window, 0, 0, 60, 120, 0.f));
        QTRY_COMPARE_WITH_TIMEOUT(pixelAt(15, 90), kBlue, 5000);
        Sylvane_setWindowHighlight(true);
        QTRY_VERIFY(((pixelAt(1, 90) >> 8) & 0xff) > 0x80); // the frame is light blue
        QCOMPARE(pixelAt(15, 90), kBlue);
        Sylvane_setWindowHighlight(false);
        QTRY_COMPARE(pixelAt(1, 90), kBlue);
        // The flash whitens the picture for a moment, then it is as before.
        // The flash is brief; a busy machine may let one pass unseen, so it gets three chances.
        bool whitened = false;
        for (int attempt = 0; attempt < 3 && !whitened; ++attempt) {
            Sylvane_playScreenshotAnimation();
            QElapsedTimer flash;
            flash.start();
            while (!whitened && flash.elapsed() < 400) {
                whitened = (pixelAt(15, 90) >> 16) > 0x80;
                QTest::qWait(10);
            }
        }
        QVERIFY(whitened);
        QTRY_COMPARE(pixelAt(15, 90), kBlue);
        // An opaque red logo of 4x4 in the bottom right corner.
        std::vector<uint8_t> logo;
        for (int i = 0; i < 16; ++i)
            logo.insert(logo.end(), {0xff, 0x00, 0x00, 0xff});
        Sylvane_setLogo(logo.data(), 4, 4);
        QTRY_COMPARE(pixelAt(58, 118), kRed);
        QCOMPARE(pixelAt(54, 114), kWhite);
        Sylvane_setLogo(nullptr, 0, 0);
        QTRY_COMPARE(pixelAt(58, 118), kWhite);
    }

    void frameCallbackGetsTheExactPixels()
    {
        FrameSink sink;
        startRenderer(7);
        Sylvane_registerOGLCallback(onFrame, &sink);
        Sylvane_repaintOpenGLDisplay();
        QTRY_VERIFY_WITH_TIMEOUT(sink.callCount() > 0, 5000);
        {
            std::lock_guard<std::mutex> lock(sink.mutex);
            QCOMPARE(sink.width, kDeviceWidth);
            QCOMPARE(sink.height, kDeviceHeight);
            QCOMPARE(sink.ydir, 1);
            QCOMPARE(sink.format, 0x80E1); // GL_BGRA
            QCOMPARE(sink.type, 0x1401);   // GL_UNSIGNED_BYTE
            QVERIFY(sink.pixels == picture);
        }
        // A changed picture arrives as it is, also without any window.
        std::vector<uint8_t> next = picture;
        for (size_t i = 0; i < next.size(); i += 7)
            next[i] = uint8_t(i * 31);
        server.submitFrame(next.data(), kDeviceWidth, kDeviceHeight, kDeviceWidth * 4, StreamServer::PixelLayout::Bgra);
        QTRY_VERIFY(sink.holds(next));
        // Unregistered, it is called no more.
        Sylvane_registerOGLCallback(nullptr, nullptr);
        const int calls = sink.callCount();
        server.submitFrame(picture.data(), kDeviceWidth, kDeviceHeight, kDeviceWidth * 4,
                           StreamServer::PixelLayout::Bgra);
        Sylvane_repaintOpenGLDisplay();
        QTest::qWait(200);
        QCOMPARE(sink.callCount(), calls);
    }

    void reconnectsWhenTheDeviceRestarts()
    {
        FrameSink sink;
        startRenderer(9);
        Sylvane_registerOGLCallback(onFrame, &sink);
        QTRY_VERIFY_WITH_TIMEOUT(sink.holds(picture), 5000);
        server.stop();
        std::vector<uint8_t> after(picture.size(), 0x42);
        QVERIFY(server.start(TestEnvironment::loopback(9).toStdString(), kPort));
        server.submitFrame(after.data(), kDeviceWidth, kDeviceHeight, kDeviceWidth * 4, StreamServer::PixelLayout::Bgra);
        QTRY_VERIFY_WITH_TIMEOUT(sink.holds(after), 5000);
    }

    void survivesBadStreams()
    {
        // Each connection gets the next bad stream; the last one is a good frame.
        std::vector<uint8_t> good;
        ScreenStream::Picture small;
        small.reset(kDeviceWidth, kDeviceHeight);
        std::fill(small.pixels.begin(), small.pixels.end(), 0x24);
        FrameEncoder().encode(small, nullptr, 0, 1, 0, good);
        const QByteArray goodFrame(reinterpret_cast<const char *>(good.data()), int(good.size()));
        // A header the reader refuses (the refusals themselves are pinned in tst_streamformat),
        // then a half frame twice: closed, then left open with nothing more (a stalled peer).
        const QList<QByteArray> streams = {QByteArray("GET / HTTP/1.0\r\n\r\n"), goodFrame.left(goodFrame.size() / 2),
                                           goodFrame.left(goodFrame.size() / 2), goodFrame};
        QTcpServer fake;
        QVERIFY(fake.listen(QHostAddress(TestEnvironment::loopback(10)), kPort));
        int served = 0;
        connect(&fake, &QTcpServer::newConnection, this, [&] {
            while (QTcpSocket *socket = fake.nextPendingConnection()) {
                const int index = std::min(served++, int(streams.size()) - 1);
                // Answer once the hello is read, so that closing sends no reset.
                connect(socket, &QTcpSocket::readyRead, socket, [socket, index, &streams] {
                    socket->readAll();
                    if (socket->property("answered").toBool())
                        return;
                    socket->setProperty("answered", true);
                    socket->write(streams.at(index));
                    if (index + 2 < streams.size())
                        socket->disconnectFromHost();
                });
            }
        });
        FrameSink sink;
        QVERIFY(Sylvane_initLibrary() != 0);
        QCOMPARE(Sylvane_setVMIP(qPrintable(TestEnvironment::loopback(10))), 0);
        QCOMPARE(Sylvane_initOpenGLRenderer(kDeviceWidth, kDeviceHeight, kPort, 0, 0), 0);
        Sylvane_registerOGLCallback(onFrame, &sink);
        QTRY_VERIFY_WITH_TIMEOUT(sink.holds(small.pixels), 10000);
        QVERIFY(logContains(QStringLiteral("wrong magic")));
        QVERIFY(logContains(QStringLiteral("ended inside a frame")));
        QVERIFY(logContains(QStringLiteral("a frame stayed incomplete")));
    }
};

CALDERWICK_TEST_MAIN(TestOpenglRender)
#include "tst_openglrender.moc"
