// The built plug-in, loaded as the player loads it, driving the VBoxManage stand-in
// (first on PATH) over simulated machines whose guest is a devicesim on this process's own
// loopback network. The start failures as the player meets them are in tst_playerstart.

#include "engineloader.h"
#include "logreader.h"
#include "simulatedplayer.h"
#include "testenvironment.h"
#include "vmtoolsengine.h"
#include "vmtoolsmachine.h"

#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTcpSocket>
#include <QtConcurrent>
#include <QtTest>

#include <csignal>
#include <memory>

namespace {

const QString Bin = QStringLiteral(CALDERWICK_BIN_DIR);

bool answersOn(const QString &address)
{
    QTcpSocket socket;
    socket.connectToHost(address, 22469);
    return socket.waitForConnected(1000);
}

} // namespace

class TestVBoxManageEngine : public QObject
{
    Q_OBJECT

    QTemporaryDir store;
    std::unique_ptr<VMToolsEngine> engine;

    QString machineDirectory(const QString &name) const { return store.filePath("machines/" + name); }

    // The stand-in and devicesim see the store this process's plug-in sees.
    SimulatedPlayer sim;
    SimulatedPlayer::Home home() const { return {store.path(), store.path()}; }
    bool create(const QString &name, const QString &address, const QStringList &extra = {})
    {
        return sim.createMachine(home(), name, address, extra) == 0;
    }
    int tool(const QStringList &arguments, QByteArray *output = nullptr) { return sim.vboxManage(home(), arguments, output); }

    qint64 devicePid(const QString &name)
    {
        QFile file(machineDirectory(name) + "/machine.json");
        if (!file.open(QIODevice::ReadOnly))
            return 0;
        return qint64(QJsonDocument::fromJson(file.readAll()).object().value("pid").toDouble());
    }

    std::unique_ptr<VMToolsMachine> machine(const QString &name)
    {
        return std::unique_ptr<VMToolsMachine>(engine->machine(name));
    }

private slots:
    void initTestCase()
    {
        QVERIFY(store.isValid() && QDir().mkpath(store.filePath("tmp")));
        qputenv("DEVICESIM_HOME", store.path().toLocal8Bit());
        qputenv("PATH", (Bin + "/simtools:").toLocal8Bit() + qgetenv("PATH"));
        qunsetenv("CALDERWICK_VBOXMANAGE");
        QVERIFY(create("Pixel", TestEnvironment::loopback(60)));
        engine.reset(loadEngine(Bin + "/plugins/"));
        QVERIFY(engine);
    }

    void cleanupTestCase()
    {
        // No simulated device may outlive the test.
        for (const QString &name : QDir(store.filePath("machines")).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            const qint64 pid = devicePid(name);
            if (pid > 0)
                tool({"controlvm", name, "poweroff"});
        }
        if (engine)
            engine->shutdown();
    }

    void unknownMachineIsNull()
    {
        LogReader log;
        QVERIFY(!machine("No Such Device"));
        QVERIFY(log.contains("[VBoxManageEngine][machine] no machine No Such Device: Could not find a registered "
                             "machine named 'No Such Device'"));
        QVERIFY(!engine->machine(QString()));
        QVERIFY(!machine("--help"));
        QVERIFY(log.contains("[VBoxManageEngine][machine] refusing the machine name --help"));
    }

    void machineValues()
    {
        auto pixel = machine("Pixel");
        QVERIFY(pixel);
        QCOMPARE((QStringList{pixel->name(), pixel->androidVersion(), pixel->systemVersion(), pixel->platform(),
                              pixel->dpi(), pixel->logDirectory(), pixel->ip()}),
                 (QStringList{"Pixel", "9.0", "2.6.0", "p", "320", machineDirectory("Pixel") + "/Logs", QString()}));
        QCOMPARE(pixel->state(), int(MachineState::Off));
        QCOMPARE(pixel->size(), qMakePair(720, 1280));
        QCOMPARE(pixel->startsFullScreen(), false);
        QCOMPARE(pixel->processorCount(), 2);
        QVERIFY(QDir(pixel->logDirectory()).exists());
        // Adapter 1 host-only, 2 NAT, 3 none; out of range none.
        QCOMPARE((QList<int>{pixel->networkAdapterMode(1), pixel->networkAdapterMode(2), pixel->networkAdapterMode(3),
                             pixel->networkAdapterMode(0), pixel->networkAdapterMode(9)}),
                 (QList<int>{AdapterMode::HostOnly, AdapterMode::Unknown, AdapterMode::None, AdapterMode::None, AdapterMode::None}));
        QCOMPARE(engine->hostOnlyInterface(), QString("vboxnet0"));
        QVERIFY(engine->configure());
        QCOMPARE(engine->version(), QString("7.0.14r161095"));
    }

    // The flags live in the machine's guest properties: a fresh handle reads what another set.
    void flagsPersist()
    {
        auto pixel = machine("Pixel");
        QVERIFY(pixel->isHardwareAccelerated() && pixel->navigationBarShown());
        pixel->setHardwareAccelerated(false);
        pixel->setNavigationBarShown(false);
        pixel->setNavigationBarConfigured(false);
        auto again = machine("Pixel");
        QVERIFY(!again->isHardwareAccelerated() && !again->navigationBarShown() && !again->navigationBarConfigured());
        again->setHardwareAccelerated(true);
        again->setNavigationBarShown(true);
        again->setNavigationBarConfigured(true);
        auto third = machine("Pixel");
        QVERIFY(third->isHardwareAccelerated() && third->navigationBarShown() && third->navigationBarConfigured());
    }

    void startHeadlessStopAndState()
    {
        auto pixel = machine("Pixel");
        QVERIFY(pixel->prepareStart());
        QCOMPARE(engine->start(pixel.get(), 2), int(VMToolsEngine::Started));
        QCOMPARE(pixel->state(), int(MachineState::On));
        QCOMPARE(pixel->waitForIp(), TestEnvironment::loopback(60));
        QCOMPARE(pixel->ip(), TestEnvironment::loopback(60));
        QVERIFY(answersOn(TestEnvironment::loopback(60)));
        const qint64 pid = devicePid("Pixel");
        QVERIFY(pid > 0);

        // Starting a running machine is refused, as VirtualBox refuses it.
        QVERIFY(engine->start(pixel.get(), 2) != VMToolsEngine::Started);

        QVERIFY(engine->stop(pixel.get()));
        QCOMPARE(pixel->state(), int(MachineState::Off));
        QVERIFY(!answersOn(TestEnvironment::loopback(60)));
        QTRY_VERIFY(::kill(pid_t(pid), 0) != 0 || !QFile::exists(QString("/proc/%1/cmdline").arg(pid)));
        // Stopping a machine that is off already is no failure.
        QVERIFY(engine->stop(pixel.get()));
    }

    void stateAndAddressReadWhileWaiting()
    {
        QVERIFY(create("Late", TestEnvironment::loopback(61)));
        QVERIFY(SimulatedPlayer::writeFaults(home(), "Late", "ip-delay 1500\n"));
        auto late = machine("Late");
        QVERIFY(late->prepareStart());
        QCOMPARE(engine->start(late.get(), 2), int(VMToolsEngine::Started));
        QFuture<QString> address = QtConcurrent::run([&late]() { return late->waitForIp(); });
        // The main thread reads state and address meanwhile, as the player does.
        int reads = 0;
        while (!address.isFinished()) {
            QCOMPARE(late->state(), int(MachineState::On));
            late->ip();
            ++reads;
        }
        QVERIFY(reads > 1);
        QCOMPARE(address.result(), TestEnvironment::loopback(61));
        QVERIFY(engine->stop(late.get()));
    }

    void pausedStopsAndGoneIsAborted()
    {
        QVERIFY(create("Crashing", TestEnvironment::loopback(63)));
        auto crashing = machine("Crashing");
        QVERIFY(crashing->prepareStart());
        QCOMPARE(engine->start(crashing.get(), 2), int(VMToolsEngine::Started));
        QCOMPARE(tool({"controlvm", "Crashing", "pause"}), 0);
        QCOMPARE(crashing->state(), int(MachineState::Paused));
        QVERIFY(engine->stop(crashing.get()));
        QCOMPARE(crashing->state(), int(MachineState::Off));

        QCOMPARE(engine->start(crashing.get(), 2), int(VMToolsEngine::Started));
        const qint64 pid = devicePid("Crashing");
        QVERIFY(pid > 0);
        ::kill(pid_t(pid), SIGKILL);
        QTRY_COMPARE(crashing->state(), int(MachineState::Aborted));
        // An aborted machine starts again.
        QVERIFY(crashing->prepareStart());
        QCOMPARE(engine->start(crashing.get(), 2), int(VMToolsEngine::Started));
        QCOMPARE(crashing->waitForIp(), TestEnvironment::loopback(63));
        QVERIFY(engine->stop(crashing.get()));
    }

    void adapterConfigured()
    {
        QVERIFY(create("Natted", TestEnvironment::loopback(64)));
        QCOMPARE(tool({"modifyvm", "Natted", "--nic1", "nat"}), 0);
        auto natted = machine("Natted");
        QCOMPARE(natted->networkAdapterMode(1), int(AdapterMode::Unknown));
        // Without a host-only adapter no address can reach the player.
        QVERIFY(!natted->prepareStart());
        QCOMPARE(natted->setNetworkAdapter(1, AdapterMode::HostOnly, engine->hostOnlyInterface()), 1);
        QCOMPARE(natted->networkAdapterMode(1), int(AdapterMode::HostOnly));
        QVERIFY(natted->prepareStart());
        QCOMPARE(natted->setNetworkAdapter(1, AdapterMode::HostOnly, QString()), 0);
        QCOMPARE(natted->setNetworkAdapter(0, AdapterMode::HostOnly, "vboxnet0"), 0);
    }

    void incompatibleStates_data()
    {
        QTest::addColumn<QByteArray>("fault");
        QTest::addColumn<int>("state");
        QTest::newRow("paused") << QByteArray("state paused") << int(MachineState::Paused);
        QTest::newRow("starting") << QByteArray("state starting") << int(MachineState::Process);
        QTest::newRow("guru meditation") << QByteArray("state gurumeditation") << int(MachineState::Undefined);
    }

    void incompatibleStates()
    {
        QFETCH(QByteArray, fault);
        QFETCH(int, state);
        const QString name = QString("Stuck %1").arg(QTest::currentDataTag());
        static int next = 68;
        QVERIFY(create(name, TestEnvironment::loopback(next++)));
        QVERIFY(SimulatedPlayer::writeFaults(home(), name, fault + "\n"));
        auto stuck = machine(name);
        QCOMPARE(stuck->state(), state);
        QVERIFY(!engine->stop(stuck.get()));
        QVERIFY(!engine->startAndStop(stuck.get()));
        QVERIFY(engine->start(stuck.get(), 2) != VMToolsEngine::Started);
    }

    void hostOnlyInterfaceCreatedWhenNone()
    {
        QFile list(store.filePath("hostonlyifs"));
        QVERIFY(list.open(QIODevice::WriteOnly | QIODevice::Truncate));
        list.close();
        // A fresh engine, since the first one has its interface already.
        std::unique_ptr<VMToolsEngine> fresh(loadEngine(Bin + "/plugins/"));
        QVERIFY(fresh);
        QVERIFY(fresh->configure());
        QCOMPARE(fresh->hostOnlyInterface(), QString("vboxnet0"));
        QByteArray interfaces;
        tool({"list", "hostonlyifs"}, &interfaces);
        QVERIFY(interfaces.contains("Name:            vboxnet0"));
    }

    void missingToolFailsInit()
    {
        LogReader log;
        qputenv("CALDERWICK_VBOXMANAGE", store.filePath("no-such-VBoxManage").toLocal8Bit());
        QVERIFY(!loadEngine(Bin + "/plugins/"));
        qunsetenv("CALDERWICK_VBOXMANAGE");
        QVERIFY(log.contains("[VBoxManageEngine] CALDERWICK_VBOXMANAGE names no executable file:"));
        QVERIFY(log.contains("[VBoxManageEngine][init] VBoxManage not found"));
    }
};

CALDERWICK_TEST_MAIN(TestVBoxManageEngine)
#include "tst_vboxmanageengine.moc"
