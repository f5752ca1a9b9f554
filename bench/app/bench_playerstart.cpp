// Time from "player -n NAME" to "Player running. Try to show window..." in the machine's log,
// over the real plug-in and the VBoxManage stand-in: for a machine already on (attach only)
// and for one that is off (the player starts it). The simulated device's own boot, which a
// real machine replaces by Android's, is measured apart (VBoxManage startvm until devicesim
// is ready) and subtracted from the second figure.
//
//   xvfb-run -a bench_playerstart [runs]   (5 by default)

#include "simulatedplayer.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>

#include <algorithm>
#include <cstdio>

namespace {

const QString Machine = QStringLiteral("Bench");
const QString Shown = QStringLiteral("[Debug] Player running. Try to show window...");

struct Figures
{
    QVector<double> ms;

    double median() const
    {
        QVector<double> sorted = ms;
        std::sort(sorted.begin(), sorted.end());
        const int n = sorted.size();
        return n == 0 ? 0 : (n % 2 ? sorted[n / 2] : (sorted[n / 2 - 1] + sorted[n / 2]) / 2);
    }
    double min() const { return ms.isEmpty() ? 0 : *std::min_element(ms.begin(), ms.end()); }
    double max() const { return ms.isEmpty() ? 0 : *std::max_element(ms.begin(), ms.end()); }
};

void print(const char *what, const Figures &f)
{
    std::printf("%-34s median %7.1f ms   min %7.1f   max %7.1f   spread %6.1f   (n=%d)\n", what, f.median(), f.min(),
                f.max(), f.max() - f.min(), int(f.ms.size()));
}

// Milliseconds from the player's start to the window line; -1 if it did not come in 30 s.
double timePlayer(SimulatedPlayer &sim, const SimulatedPlayer::Home &home)
{
    const int before = SimulatedPlayer::log(home, Machine).filter(Shown).size();
    QElapsedTimer clock;
    clock.start();
    QScopedPointer<QProcess> player(sim.startPlayer(home, {QStringLiteral("-s"), QStringLiteral("-n"), Machine}));
    double elapsed = -1;
    while (clock.elapsed() < 30000 && player->state() == QProcess::Running) {
        if (SimulatedPlayer::log(home, Machine).filter(Shown).size() > before) {
            elapsed = clock.nsecsElapsed() / 1e6;
            break;
        }
        QThread::msleep(5);
    }
    sim.powerOff(home, Machine, player.data());
    return elapsed;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const int runs = argc > 1 ? qBound(1, QString::fromLocal8Bit(argv[1]).toInt(), 100) : 5;
    if (qEnvironmentVariableIsEmpty("DISPLAY")) {
        std::fprintf(stderr, "bench_playerstart needs an X server: run it under xvfb-run\n");
        return 2;
    }

    SimulatedPlayer sim;
    const SimulatedPlayer::Home home = sim.newHome(false);
    if (sim.createMachine(home, Machine, QStringLiteral("127.0.0.150")) != 0) {
        std::fprintf(stderr, "could not create the simulated machine\n");
        return 1;
    }

    Figures boot, on, off;
    for (int i = 0; i < runs; ++i) {
        QElapsedTimer clock;
        clock.start();
        if (sim.vboxManage(home, {QStringLiteral("startvm"), Machine, QStringLiteral("--type"), QStringLiteral("headless")}) != 0) {
            std::fprintf(stderr, "startvm failed\n");
            return 1;
        }
        boot.ms << clock.nsecsElapsed() / 1e6;
        const double attach = timePlayer(sim, home); // the order's power-off leaves the machine off
        const double start = timePlayer(sim, home);
        if (attach < 0 || start < 0) {
            std::fprintf(stderr, "run %d: the window did not come up (see %s)\n", i + 1, qPrintable(home.store));
            sim.powerOffAll();
            return 1;
        }
        on.ms << attach;
        off.ms << start;
    }

    Figures net;
    for (int i = 0; i < runs; ++i)
        net.ms << off.ms[i] - boot.ms[i];
    std::printf("player -n to \"Player running\" over the VBoxManage stand-in, %d runs each\n", runs);
    print("devicesim boot (startvm)", boot);
    print("machine already on", on);
    print("machine off", off);
    print("machine off, minus devicesim boot", net);
    return 0;
}
