// Runs devicesim as its own process on 127.0.8.1 and measures, through EventManager:
// - event lines per second (each written and waited for, as the player does);
// - the round trip of a GetParam, with a connection per exchange and with one kept.

#include "devicehost.h"
#include "eventmanager.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QProcess>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

const char *const Address = "127.0.8.1";

class BenchHost : public DeviceHost
{
public:
    QSize deviceDisplaySize() const override { return QSize(720, 1280); }
    float displayRotation() const override { return 0; }
    VMToolsMachine *vmMachine() const override { return nullptr; }
};

void roundTrips(EventManager &manager, const char *label, int count)
{
    std::vector<double> times;
    times.reserve(size_t(count));
    int failures = 0;
    for (int i = 0; i < count; ++i) {
        QElapsedTimer clock;
        clock.start();
        int level = 0;
        if (manager.deviceClient()->getBatteryLevel(level) != ReplyCode::Ok)
            ++failures;
        times.push_back(clock.nsecsElapsed() / 1000.0);
    }
    std::sort(times.begin(), times.end());
    double sum = 0;
    for (double t : times)
        sum += t;
    std::printf("GetParam round trip, %s: mean %.0f us, median %.0f us, p99 %.0f us (%d exchanges, %d failed)\n",
                label, sum / count, times[size_t(count / 2)], times[size_t(count * 99 / 100)], count, failures);
}

} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    // The figures, not the log, are the output.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});

    QProcess device;
    device.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    device.start(QStringLiteral(CALDERWICK_BIN_DIR "/devicesim"),
                 {QStringLiteral("--address"), QString::fromLatin1(Address)});
    if (!device.waitForReadyRead(5000)) {
        std::fprintf(stderr, "devicesim did not start\n");
        return 1;
    }

    BenchHost host;
    EventManager manager(&host);
    manager.setAddressSink([](const QByteArray &) { return 0; });
    manager.setDeviceAddress(QString::fromLatin1(Address));
    if (!manager.isEventChannelOpen()) {
        std::fprintf(stderr, "event channel did not open\n");
        return 1;
    }

    const int lines = argc > 1 ? QByteArray(argv[1]).toInt() : 20000;
    QElapsedTimer clock;
    clock.start();
    for (int i = 0; i < lines; ++i)
        manager.mouseMoveEvent(i % 720, i % 1280);
    const double seconds = clock.nsecsElapsed() / 1e9;
    std::printf("Event lines: %d in %.3f s, %.0f lines/s\n", lines, seconds, lines / seconds);

    roundTrips(manager, "connection per exchange", 1000);
    manager.deviceClient()->setPersistent(true);
    roundTrips(manager, "persistent connection", 2000);

    device.write("quit\n");
    device.waitForFinished(2000);
    return 0;
}
