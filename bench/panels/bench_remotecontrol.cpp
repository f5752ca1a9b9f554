// The remote control's two paths through Debian's adb (private server) and a devicesim phone
// process, with the device simulated in this process:
// 1. touch latency: from the phone's line (a control command makes the phone send it) through
//    the adb forward, ProxyEvent and the event channel, to the line in the device's journal;
// 2. the preview's cost: the streaming encoder at 20 frames a second onto the forwarded
//    preview socket, fed 60 device pictures a second; this process's CPU as a share of one
//    core, at the test device's 360x640 and at 720x1280.
//
//   bench_remotecontrol [touches, default 300] [seconds of preview, default 10]
// Needs adb on PATH; runs without a display (QT_QPA_PLATFORM=offscreen).

#include "adb.h"
#include "devicehost.h"
#include "devicesimulator.h"
#include "doublebuffer.h"
#include "encodersettings.h"
#include "journal.h"
#include "proxyevent.h"
#include "settings.h"
#include "testenvironment.h"
#include "videoencoder.h"

#include <QGuiApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QJsonObject>
#include <QPainter>
#include <QProcess>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <sys/resource.h>
#include <vector>

namespace {

struct Display : DeviceHost
{
    QSize deviceDisplaySize() const override { return {360, 640}; }
    float displayRotation() const override { return 0; }
    VMToolsMachine *vmMachine() const override { return nullptr; }
};

double cpuSeconds()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec)
           + double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

// Share of one core the streaming encoder takes over the given seconds at that size.
double previewCost(const QSize &size, int seconds)
{
    DoubleBuffer frames(size.width(), size.height());
    std::vector<QImage> pictures;
    for (int i = 0; i < 60; ++i) {
        QImage picture(size, QImage::Format_ARGB32);
        picture.fill(QColor::fromHsv(i * 6, 80, 200));
        QPainter painter(&picture);
        painter.fillRect(0, (i * size.height()) / 60, size.width(), size.height() / 5, Qt::white);
        painter.drawText(20, 40, QStringLiteral("frame %1").arg(i));
        pictures.push_back(picture);
    }
    auto *socket = new QTcpSocket;
    socket->connectToHost(QStringLiteral("localhost"), 10975);
    if (!socket->waitForConnected(10000)) {
        delete socket;
        return -1;
    }
    VideoEncoder encoder(&frames, EncoderSettings::streaming());
    if (!encoder.initialize(socket, false, QString()))
        return -1;
    int next = 0;
    QTimer feeder;
    QObject::connect(&feeder, &QTimer::timeout, [&] { frames.write(pictures[size_t(next++ % 60)].constBits(), 1); });
    feeder.start(16);
    encoder.start();
    const double cpu0 = cpuSeconds();
    QElapsedTimer wall;
    wall.start();
    QTest::qWait(seconds * 1000);
    const double share = (cpuSeconds() - cpu0) / (double(wall.elapsed()) / 1000.0);
    encoder.stop();
    return share;
}

} // namespace

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    const int touches = argc > 1 ? std::max(10, atoi(argv[1])) : 300;
    const int seconds = argc > 2 ? std::max(2, atoi(argv[2])) : 10;
    if (QStandardPaths::findExecutable(QStringLiteral("adb")).isEmpty()) {
        std::fprintf(stderr, "bench_remotecontrol: adb is not installed\n");
        return 1;
    }
    QTemporaryDir dir;
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    qputenv("ANDROID_ADB_SERVER_PORT", QByteArray::number(probe.serverPort()));
    probe.close();
    QDir().mkpath(dir.path() + QStringLiteral("/sdk/platform-tools"));
    QFile::link(QStandardPaths::findExecutable(QStringLiteral("adb")), dir.path() + QStringLiteral("/sdk/platform-tools/adb"));
    setSettingsValue(QStringLiteral("android.sdk.use"), true);
    setSettingsValue(QStringLiteral("android.sdk.path"), dir.path() + QStringLiteral("/sdk"));

    SimulatorOptions options;
    options.address = QHostAddress(TestEnvironment::loopback(1));
    options.size = QSize(360, 640);
    DeviceSimulator device(options);
    QString error;
    if (!device.start(&error)) {
        std::fprintf(stderr, "bench_remotecontrol: %s\n", qPrintable(error));
        return 1;
    }
    const QString phoneAddress = TestEnvironment::loopback(2);
    QProcess phone;
    phone.start(QStringLiteral(CALDERWICK_BIN_DIR "/devicesim"),
                {"--address", phoneAddress, "--phone", "--phone-record", dir.path() + "/preview.webm", "--journal", "/dev/null"});
    Adb adb(phoneAddress + QStringLiteral(":5555"));
    if (!phone.waitForReadyRead(10000) || !adb.connect() || !adb.installRemoteControl() || !adb.startRemoteControl()
        || !adb.forward(10969, 10972) || !adb.forward(10975, 10978)) {
        std::fprintf(stderr, "bench_remotecontrol: the phone did not come up\n");
        return 1;
    }
    phone.readAllStandardOutput();

    Display display;
    ProxyEvent proxy(&display);
    QTcpSocket sensors, events;
    events.connectToHost(options.address, 22469);
    for (int attempt = 0; attempt < 50 && sensors.state() != QAbstractSocket::ConnectedState; ++attempt) {
        sensors.abort();
        sensors.connectToHost(QStringLiteral("localhost"), 10969);
        sensors.waitForConnected(1000);
        QTest::qWait(100); // the forward takes the connection, then closes it until the phone listens
    }
    if (!events.waitForConnected(5000) || sensors.state() != QAbstractSocket::ConnectedState) {
        std::fprintf(stderr, "bench_remotecontrol: sockets did not connect\n");
        return 1;
    }
    proxy.attach(&sensors);
    QObject::connect(&proxy, &ProxyEvent::multiEvent, [&](const QByteArray &line) { events.write(line); });
    bool arrived = false;
    QObject::connect(device.journal(), &Journal::recorded, [&](const QJsonObject &entry) {
        arrived = arrived || entry.value(QStringLiteral("line")).toString().startsWith(QLatin1String("MULTI"));
    });

    std::vector<double> latencies;
    QElapsedTimer clock;
    for (int i = 0; i < touches; ++i) {
        arrived = false;
        clock.start();
        phone.write(QStringLiteral("phone-send MULTI:%1:1:0.5:0.5\n").arg(i % 2).toUtf8());
        while (!arrived && clock.elapsed() < 5000)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
        if (!arrived) {
            std::fprintf(stderr, "bench_remotecontrol: touch %d lost\n", i);
            return 1;
        }
        latencies.push_back(double(clock.nsecsElapsed()) / 1e6);
        phone.readAllStandardOutput();
        QTest::qWait(5); // a finger moves at most every few milliseconds
    }
    std::sort(latencies.begin(), latencies.end());
    std::printf("touch latency, phone line to device event line, %d touches through adb forward:\n", touches);
    std::printf("  median %.2f ms, p95 %.2f ms, max %.2f ms\n", latencies[latencies.size() / 2],
                latencies[latencies.size() * 95 / 100], latencies.back());

    for (const QSize &size : {QSize(360, 640), QSize(720, 1280)}) {
        const double share = previewCost(size, seconds);
        std::printf("preview %dx%d at 20 fps for %d s: %.1f%% of one core (encoder, socket, frame copies)\n",
                    size.width(), size.height(), seconds, share * 100);
        QTest::qWait(500);
    }
    phone.write("quit\n");
    phone.waitForFinished(3000);
    QProcess::execute(QStringLiteral("adb"), {QStringLiteral("kill-server")});
    return 0;
}
