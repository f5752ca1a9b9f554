// The whole player with the real engine plug-in over simulated machines, on the X server of
// the test run: every start failure the VBoxManage stand-in can make, with its exit status,
// log lines and statistics; a normal start to the window, attaching the machine to the
// host-only network, with its statistics and a power-off order; the crash marker of a
// killed player and the attach of the next one to the machine left on; a power-off order
// in the middle of the start; and two devices side by side, one retried with one processor.

#include "simulatedplayer.h"
#include "testenvironment.h"

#include <QProcess>
#include <QScopedPointer>

namespace {

const QByteArray WindowShown = "[Debug] Player running. Try to show window...";

// What a test does to a fresh machine before the player starts.
enum Preparation { NoMachine, Plain, NotAccelerated, OffTheHostNetwork, NoAdb };

} // namespace

Q_DECLARE_METATYPE(Preparation)

class TestPlayerStart : public QObject
{
    Q_OBJECT

    SimulatedPlayer sim;
    QString withoutPlugins; // a copy of the player without plug-ins
    // A copy with the plug-in but without translations/, so that reports show their keys
    // whether or not the translations were built.
    QString untranslated;
    int hosts = 0; // devices take the next address of this process's loopback network

    static QString flagPath(const SimulatedPlayer::Home &home, const QString &machine)
    {
        return home.path + QStringLiteral("/.Brackenlea/Calderwick/deployed/") + machine + QStringLiteral("/.flag");
    }

    // A visible window titled "Calderwick - <machine> (<size>...) - <address>".
    static bool windowVisible(const QString &machine, const QString &address)
    {
        const QString title = QStringLiteral("^Calderwick - ") + QRegularExpression::escape(machine)
            + QStringLiteral(" .* - ") + QRegularExpression::escape(address) + QLatin1Char('$');
        QProcess search;
        search.start(QStringLiteral("xdotool"),
                     {QStringLiteral("search"), QStringLiteral("--onlyvisible"), QStringLiteral("--name"), title});
        return search.waitForFinished(5000) && search.exitCode() == 0 && !search.readAllStandardOutput().trimmed().isEmpty();
    }

    static QString dump(const QStringList &lines) { return lines.join(QLatin1Char('\n')); }

private slots:
    void initTestCase()
    {
        QVERIFY2(!qEnvironmentVariableIsEmpty("DISPLAY"), "runs under xvfb-run");
        withoutPlugins = sim.install(QStringLiteral("noplugins"));
        untranslated = sim.install(QStringLiteral("untranslated"), SimulatedPlayer::bin() + QStringLiteral("/plugins/libvboxmanage.so"));
        QVERIFY(!withoutPlugins.isEmpty() && !untranslated.isEmpty());
    }

    void cleanupTestCase() { sim.powerOffAll(); }

    void failures_data()
    {
        QTest::addColumn<Preparation>("preparation");
        QTest::addColumn<QByteArray>("faults");
        QTest::addColumn<bool>("noPlugins");
        QTest::addColumn<int>("status");
        QTest::addColumn<QStringList>("expected");

        QTest::newRow("no plug-in") << Plain << QByteArray() << true << 13
                                    << QStringList{"[Error] Failed to load engine", "[Error] Unable to find Virtual Box Engine",
                                                   "Unable to load VirtualBox engine."};
        QTest::newRow("unknown device") << NoMachine << QByteArray() << false << 4
                                        << QStringList{"[Error] No such machine", "error.run.no.such.device"};
        QTest::newRow("acceleration refused")
            << NotAccelerated << QByteArray("hwaccel-refused\n") << false << 5
            << QStringList{"[Error] Can't set hardware acceleration", "error.run.cant.set.hardware.acceleration"};
        QTest::newRow("adapter refused")
            << OffTheHostNetwork << QByteArray("adapter-refused\n") << false << 7
            << QStringList{"[Debug] Virtualization engine configured", "[Error] Can't configure network adapter",
                           "error.run.cant.configure.network.adapter"};
        QTest::newRow("no address") << Plain << QByteArray("no-ip\n") << false << 8
                                    << QStringList{"[Debug] Virtual Machine started.", "[Debug] Waiting for an IP address...",
                                                   "[Error] Can't detect device IP address", "error.run.virtual.no.ip.address"};
        QTest::newRow("incompatible state")
            << Plain << QByteArray("state paused\n") << false << 3
            << QStringList{"[Debug] Virtual Machine status: paused", "[Error] Failed to stop the device",
                           "[Error] Calderwick system started but Virtual Box returned: VBOX_INCOMPATIBLE_STATE",
                           "error.run.virtual.device.virtualbox.incompatible.state"};
        // The stop before the start fails (VirtualBox refuses everything in that state), and so
        // does the start.
        QTest::newRow("undefined state")
            << Plain << QByteArray("state gurumeditation\n") << false << 14
            << QStringList{"[Debug] Virtual Machine status: undefined",
                           "[Debug] Failed to stop the device, maybe it was already stopped",
                           "[Debug] Try to start the device...", "[Error] Unable to start virtual device",
                           "error.run.unable.to.run.virtual.device.from.virtual.box"};
        // A VBoxManage that never answers is killed at its limit: the machine is not found.
        QTest::newRow("tool hangs") << Plain << QByteArray("hang showvminfo\n") << false << 4
                                    << QStringList{"did not finish within 15000 ms and was killed",
                                                   "[Error] No such machine", "error.run.no.such.device"};
        QTest::newRow("start refused") << Plain << QByteArray("start-refused\n") << false << 14
                                       << QStringList{"[Debug] Virtual Machine status: off",
                                                      "[Error] Unable to start virtual device",
                                                      "error.run.unable.to.run.virtual.device.from.virtual.box"};
        QTest::newRow("adb missing") << NoAdb << QByteArray() << false << 16
                                     << QStringList{"[Debug] [Adb] adb not found",
                                                    "[Error] [PlayerApp] No usable adb found, the virtual device cannot start without it"};
    }

    void failures()
    {
        QFETCH(Preparation, preparation);
        QFETCH(QByteArray, faults);
        QFETCH(bool, noPlugins);
        QFETCH(int, status);
        QFETCH(QStringList, expected);

        const SimulatedPlayer::Home home = sim.newHome(true);
        const QString name = QStringLiteral("Dev");
        if (preparation != NoMachine)
            QCOMPARE(sim.createMachine(home, name, TestEnvironment::loopback(++hosts)), 0);
        if (preparation == NotAccelerated)
            QCOMPARE(sim.vboxManage(home, {"guestproperty", "set", name, "/Calderwick/HardwareAcceleration", "0"}), 0);
        if (preparation == OffTheHostNetwork)
            QCOMPARE(sim.vboxManage(home, {"modifyvm", name, "--nic1", "nat"}), 0);
        if (preparation == NoAdb) {
            QVERIFY(QDir().mkpath(home.path + "/emptysdk"));
            SimulatedPlayer::setSdk(home, home.path + "/emptysdk", true);
        }
        if (!faults.isEmpty())
            QVERIFY(SimulatedPlayer::writeFaults(home, name, faults));
        // The address wait ends soon for the machine that never reports one.
        sim.extra.insert("CALDERWICK_VBOX_IP_WAIT_MS", "1000");

        QScopedPointer<QProcess> player(
            sim.startPlayer(home, {"-s", "-n", name}, noPlugins ? withoutPlugins : untranslated));
        QVERIFY(player->waitForFinished(30000));
        sim.extra = QProcessEnvironment();
        QCOMPARE(player->exitStatus(), QProcess::NormalExit);
        const QStringList log = SimulatedPlayer::log(home, name);
        QCOMPARE(player->exitCode(), status);
        for (const QString &text : expected)
            QVERIFY2(!log.filter(text).isEmpty(), qPrintable(QStringLiteral("missing \"%1\" in:\n%2").arg(text, dump(log))));
        // The report is one critical line, the chain's own line beside it.
        QCOMPARE(log.filter(expected.last()).size(), 1);
        QVERIFY(log.contains(QStringLiteral("[Debug] Exit status: %1").arg(status)));
        QVERIFY2(log.filter(WindowShown).isEmpty(), qPrintable(dump(log)));
        QVERIFY(!QFile::exists(flagPath(home, name)));
        // A name no machine answers to leaves no folder under the deployed devices.
        if (preparation == NoMachine)
            QVERIFY(!QFileInfo::exists(QFileInfo(flagPath(home, name)).path()));
        // The stop is recorded twice: with the failure, then with 0 from the normal end.
        const QStringList stops = SimulatedPlayer::statsEvents(home, "player_stop");
        QCOMPARE(stops.size(), 2);
        QVERIFY2(stops.at(0).contains(QStringLiteral("\"exit-code\":%1,").arg(status)), qPrintable(stops.at(0)));
        QVERIFY2(stops.at(1).contains("\"exit-code\":0,"), qPrintable(stops.at(1)));
        // A machine the failed start had left running is stopped by the exit.
        if (preparation != NoMachine && !faults.startsWith("state") && !faults.startsWith("hang"))
            QCOMPARE(sim.machineState(home, name), QByteArray("VMState=\"poweroff\""));
    }

    void normalStartShowsTheWindowAndPowersOff()
    {
        const SimulatedPlayer::Home home = sim.newHome(true);
        const QString address = TestEnvironment::loopback(++hosts);
        QCOMPARE(sim.createMachine(home, "Pixel", address), 0);
        // Off the host-only network at first, so the chain has to attach it.
        QCOMPARE(sim.vboxManage(home, {"modifyvm", "Pixel", "--nic1", "nat"}), 0);
        QScopedPointer<QProcess> player(sim.startPlayer(home, {"-s", "-n", "Pixel"}));
        QVERIFY2(SimulatedPlayer::waitForLog(home, "Pixel", WindowShown), qPrintable(dump(SimulatedPlayer::log(home, "Pixel"))));
        const QStringList log = SimulatedPlayer::log(home, "Pixel");
        for (const char *line : {"[Warning] ****  STARTING VIRTUAL DEVICE  ****", "[Debug] Virtualization engine configured",
                                 "[Debug] Network adapter configured", "[Debug] Virtual device configured", "[Debug] Virtual Machine status: off",
                                 "[Debug] Start the device...", "[Debug] Virtual Machine started.",
                                 "[Debug] Waiting for an IP address...",
                                 "[Debug] Events Manager connected"})
            QVERIFY2(log.contains(QLatin1String(line)), qPrintable(QStringLiteral("missing \"%1\" in:\n%2").arg(line, dump(log))));
        QVERIFY(log.contains("[Debug] Calderwick system started. Attributed IP address: " + address));
        QVERIFY2(log.filter("[Error]").isEmpty(), qPrintable(dump(log)));
        QVERIFY(QFile::exists(flagPath(home, "Pixel")));
        // The device was told its display, and the window is on the screen.
        QTRY_VERIFY(!SimulatedPlayer::journal(home, "Pixel", "event").filter("CONFIG:720:1280").isEmpty());
        QTRY_VERIFY(windowVisible("Pixel", address));

        const QStringList starts = SimulatedPlayer::statsEvents(home, "player_start");
        QCOMPARE(starts.size(), 1);
        QVERIFY2(starts.first().contains("\"android-version\":\"9.0\""), qPrintable(starts.first()));
        QVERIFY2(starts.first().contains("\"platform\":\"p\""), qPrintable(starts.first()));
        QVERIFY2(starts.first().contains("\"vm-version\":\"2.6.0\""), qPrintable(starts.first()));

        // A second process of the same device hands the power-off over.
        QVERIFY(sim.powerOff(home, "Pixel", player.data()));
        QCOMPARE(player->exitCode(), 0);
        const QStringList after = SimulatedPlayer::log(home, "Pixel");
        QVERIFY(after.contains("[Warning] Poweroff order receive. Exiting."));
        QVERIFY(after.contains("[Debug] Exit status: 0"));
        QCOMPARE(sim.machineState(home, "Pixel"), QByteArray("VMState=\"poweroff\""));
        QVERIFY(!QFile::exists(flagPath(home, "Pixel")));
        const QStringList stops = SimulatedPlayer::statsEvents(home, "player_stop");
        QCOMPARE(stops.size(), 1);
        QVERIFY2(stops.first().contains("\"exit-code\":0"), qPrintable(stops.first()));
        QVERIFY(SimulatedPlayer::statsEvents(home, "player_crash").isEmpty());
    }

    void powerOffDuringTheStartWaitsForTheRunningStep()
    {
        const SimulatedPlayer::Home home = sim.newHome(false);
        QCOMPARE(sim.createMachine(home, "Slow", TestEnvironment::loopback(++hosts)), 0);
        QVERIFY(SimulatedPlayer::writeFaults(home, "Slow", "ip-delay 1500\n"));
        QScopedPointer<QProcess> player(sim.startPlayer(home, {"-s", "-n", "Slow"}));
        QVERIFY(SimulatedPlayer::waitForLog(home, "Slow", "[Debug] Waiting for an IP address..."));
        // The order is taken at once; the exit waits for the address wait to end, then
        // stops the machine the start had begun, without a window.
        QVERIFY(sim.powerOff(home, "Slow", player.data()));
        QCOMPARE(player->exitCode(), 0);
        const QStringList log = SimulatedPlayer::log(home, "Slow");
        QVERIFY(log.contains("[Warning] Poweroff order receive. Exiting."));
        QVERIFY2(log.filter(WindowShown).isEmpty(), qPrintable(dump(log)));
        QCOMPARE(sim.machineState(home, "Slow"), QByteArray("VMState=\"poweroff\""));
        QVERIFY(!QFile::exists(flagPath(home, "Slow")));
    }

    void killedPlayerIsReportedOnceAtTheNextStart()
    {
        const SimulatedPlayer::Home home = sim.newHome(true);
        const QString address = TestEnvironment::loopback(++hosts);
        QCOMPARE(sim.createMachine(home, "Crashy", address), 0);
        QScopedPointer<QProcess> first(sim.startPlayer(home, {"-s", "-n", "Crashy"}));
        QVERIFY(SimulatedPlayer::waitForLog(home, "Crashy", WindowShown));
        first->kill(); // SIGKILL: nothing of the stop runs
        QVERIFY(first->waitForFinished(5000));
        QVERIFY(QFile::exists(flagPath(home, "Crashy")));
        QVERIFY(SimulatedPlayer::statsEvents(home, "player_crash").isEmpty());

        // The machine is still on: the next player attaches to it, without starting it, and
        // reports the crash.
        const int callsBefore = SimulatedPlayer::vboxManageCalls(home).size();
        QScopedPointer<QProcess> next(sim.startPlayer(home, {"-s", "-n", "Crashy"}));
        QTRY_COMPARE_WITH_TIMEOUT(SimulatedPlayer::log(home, "Crashy").filter(WindowShown).size(), 2, 30000);
        const QStringList log = SimulatedPlayer::log(home, "Crashy");
        QCOMPARE(log.filter("Already exists, player may have crashed before.").size(), 1);
        QCOMPARE(log.filter("[Debug] Virtual Machine status: on").size(), 1);
        QCOMPARE(log.filter("[Debug] Trying to reconnect...").size(), 1);
        QCOMPARE(log.filter("[Debug] Calderwick system started. Attributed IP address: " + address).size(), 2);
        const QStringList calls = SimulatedPlayer::vboxManageCalls(home).mid(callsBefore);
        QVERIFY2(calls.filter(" startvm ").isEmpty(), qPrintable(dump(calls)));
        QVERIFY(QFile::exists(flagPath(home, "Crashy")));
        QVERIFY(sim.powerOff(home, "Crashy", next.data()));
        QCOMPARE(next->exitCode(), 0);
        QVERIFY(!QFile::exists(flagPath(home, "Crashy")));
        const QStringList crashes = SimulatedPlayer::statsEvents(home, "player_crash");
        QCOMPARE(crashes.size(), 1);
        QVERIFY2(crashes.first().contains("\"osname\":\"Linux\",\"word-size\":64"), qPrintable(crashes.first()));
    }

    void twoDevicesSideBySide()
    {
        const SimulatedPlayer::Home home = sim.newHome(false);
        const QString left = TestEnvironment::loopback(++hosts), right = TestEnvironment::loopback(++hosts);
        QCOMPARE(sim.createMachine(home, "Left", left), 0);
        // A processor without VMX for four processors: the start is retried with one.
        QCOMPARE(sim.createMachine(home, "Right", right, {"--cpus", "4"}), 0);
        QVERIFY(SimulatedPlayer::writeFaults(home, "Right", "vmx-unsupported\n"));
        QScopedPointer<QProcess> leftPlayer(sim.startPlayer(home, {"-s", "-n", "Left"}));
        QScopedPointer<QProcess> rightPlayer(sim.startPlayer(home, {"-s", "-n", "Right"}));
        QVERIFY2(SimulatedPlayer::waitForLog(home, "Left", WindowShown), qPrintable(dump(SimulatedPlayer::log(home, "Left"))));
        QVERIFY2(SimulatedPlayer::waitForLog(home, "Right", WindowShown), qPrintable(dump(SimulatedPlayer::log(home, "Right"))));
        QTRY_VERIFY(windowVisible("Left", left));
        QTRY_VERIFY(windowVisible("Right", right));
        const QStringList rightLog = SimulatedPlayer::log(home, "Right");
        QVERIFY2(rightLog.contains("[Debug] Unable to start because VMX flag not supported. Trying to reduce CPU number to 1"),
                 qPrintable(dump(rightLog)));
        QVERIFY(rightLog.contains("[Debug] Proc number successfully set to 1"));
        // Each device hears only its own player.
        QTRY_VERIFY(!SimulatedPlayer::journal(home, "Left", "event").filter("CONFIG:720:1280").isEmpty());
        QTRY_VERIFY(!SimulatedPlayer::journal(home, "Right", "event").filter("CONFIG:720:1280").isEmpty());
        QVERIFY(SimulatedPlayer::log(home, "Left").filter(right).isEmpty());
        QVERIFY(SimulatedPlayer::log(home, "Right").filter(left).isEmpty());

        // Powering one off leaves the other running.
        QVERIFY(sim.powerOff(home, "Left", leftPlayer.data()));
        QCOMPARE(leftPlayer->exitCode(), 0);
        QCOMPARE(rightPlayer->state(), QProcess::Running);
        QCOMPARE(sim.machineState(home, "Right"), QByteArray("VMState=\"running\""));
        QVERIFY(sim.powerOff(home, "Right", rightPlayer.data()));
        QCOMPARE(rightPlayer->exitCode(), 0);
        QCOMPARE(sim.machineState(home, "Left"), QByteArray("VMState=\"poweroff\""));
        QCOMPARE(sim.machineState(home, "Right"), QByteArray("VMState=\"poweroff\""));
    }
};

CALDERWICK_TEST_MAIN(TestPlayerStart)
#include "tst_playerstart.moc"
