// Loads the built engine plug-in with the VBoxManage stand-in first on PATH, over a
// machine of its own (127.0.8.60) in a temporary store, and measures:
// - state() and processorCount(), the reads the player makes on its main thread;
// - a full cycle: prepareStart, start headless, waitForIp, stop.
// The figures are the plug-in's own cost plus one short-lived process per command; with a
// real VirtualBox the tool itself is slower.

#include "engineloader.h"
#include "vmtoolsengine.h"
#include "vmtoolsmachine.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

namespace {

const QString Bin = QStringLiteral(CALDERWICK_BIN_DIR);

struct Figures
{
    double median = 0;
    double p95 = 0;
    double max = 0;
};

Figures summarise(std::vector<double> values)
{
    Figures figures;
    if (values.empty())
        return figures;
    std::sort(values.begin(), values.end());
    figures.median = values[values.size() / 2];
    figures.p95 = values[std::min(values.size() - 1, values.size() * 95 / 100)];
    figures.max = values.back();
    return figures;
}

void print(const char *label, const std::vector<double> &values)
{
    const Figures figures = summarise(values);
    std::printf("%-34s n=%-3zu median %7.1f ms  p95 %7.1f ms  max %7.1f ms\n", label, values.size(), figures.median,
                figures.p95, figures.max);
}

template <typename Operation>
double timed(Operation operation)
{
    QElapsedTimer clock;
    clock.start();
    operation();
    return clock.nsecsElapsed() / 1e6;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QTemporaryDir store;
    qputenv("DEVICESIM_HOME", store.path().toLocal8Bit());
    qputenv("PATH", (Bin + QStringLiteral("/simtools:")).toLocal8Bit() + qgetenv("PATH"));
    qunsetenv("CALDERWICK_VBOXMANAGE");

    QProcess create;
    create.start(Bin + QStringLiteral("/devicesim"),
                 {QStringLiteral("create"), QStringLiteral("Bench"), QStringLiteral("--address"),
                  QStringLiteral("127.0.8.60")});
    if (!create.waitForFinished(10000) || create.exitCode() != 0) {
        std::fprintf(stderr, "bench_vboxmanage: cannot create the machine: %s\n",
                     create.readAllStandardError().constData());
        return 1;
    }
    std::unique_ptr<VMToolsEngine> engine(loadEngine(Bin + QStringLiteral("/plugins/")));
    if (!engine) {
        std::fprintf(stderr, "bench_vboxmanage: the plug-in did not load\n");
        return 1;
    }
    std::unique_ptr<VMToolsMachine> machine;
    const double found = timed([&]() { machine.reset(engine->machine(QStringLiteral("Bench"))); });
    if (!machine) {
        std::fprintf(stderr, "bench_vboxmanage: no machine\n");
        return 1;
    }
    std::printf("machine() with its device values     %7.1f ms\n", found);

    std::vector<double> states;
    std::vector<double> processors;
    for (int i = 0; i < 40; ++i) {
        states.push_back(timed([&]() { machine->state(); }));
        processors.push_back(timed([&]() { machine->processorCount(); }));
    }
    print("state()", states);
    print("processorCount()", processors);

    std::vector<double> prepares, starts, addresses, stops, cycles;
    int failures = 0;
    for (int i = 0; i < 8; ++i) {
        QElapsedTimer cycle;
        cycle.start();
        bool prepared = false;
        int started = 0;
        QString address;
        bool stopped = false;
        prepares.push_back(timed([&]() { prepared = machine->prepareStart(); }));
        starts.push_back(timed([&]() { started = engine->start(machine.get(), 2); }));
        addresses.push_back(timed([&]() { address = machine->waitForIp(); }));
        stops.push_back(timed([&]() { stopped = engine->stop(machine.get()); }));
        cycles.push_back(cycle.nsecsElapsed() / 1e6);
        if (!prepared || started != VMToolsEngine::Started || address != QLatin1String("127.0.8.60") || !stopped)
            ++failures;
    }
    print("prepareStart()", prepares);
    print("start(machine, 2)", starts);
    print("waitForIp()", addresses);
    print("stop(machine)", stops);
    print("whole cycle", cycles);
    std::printf("failed cycles: %d\n", failures);
    machine.reset();
    engine->shutdown();
    return failures == 0 ? 0 : 1;
}
