// The player program as a whole, with an engine plug-in scripted per test: the orders of
// the single-instance channel carried out with and without a running player, the usage
// text, the start failures the VBoxManage stand-in cannot make, the window's failures, and
// the API call count a device reports.

#include "simulatedplayer.h"
#include "testenvironment.h"

#include <QProcess>
#include <QScopeGuard>
#include <QSettings>

namespace {

using Home = SimulatedPlayer::Home;

// A stand-in adb for the SDK of every home: each call appends its arguments to
// "$HOME/adb-calls.txt"; a bare "shell" and "logcat" stay up like the real ones.
const char FakeAdb[] = R"(#!/bin/sh
echo "$*" >> "$HOME/adb-calls.txt"
case "$1 $3" in
  "connect "*) echo "connected to $2" ;;
  "-s shell") exec sleep 60 ;;
  "-s logcat") echo "11-23 10:00:00.000 I/fake( 1): logcat line"; exec sleep 60 ;;
esac
exit 0
)";

QStringList adbCalls(const Home &home)
{
    return SimulatedPlayer::lines(home.path + QStringLiteral("/adb-calls.txt"));
}

} // namespace

class TestPlayer : public QObject
{
    Q_OBJECT

    SimulatedPlayer sim;
    // Where the scripted machine is, unless a test says otherwise; no device listens there.
    const QString Address = TestEnvironment::loopback(2);
    QString m_withEngine;    // a copy of the installed player with the scripted engine
    QString m_withoutEngine; // a copy without any engine plug-in
    QProcess *m_device = nullptr; // devicesim for the tests that reach the window

    // A home whose engine follows the script (and whose adb records its calls).
    Home newHome(const QVariantMap &script = {})
    {
        const Home home = sim.newHome(true);
        QSettings ini(home.path + QStringLiteral("/engine.ini"), QSettings::IniFormat);
        ini.setValue(QStringLiteral("machine/ip"), Address);
        for (auto it = script.cbegin(); it != script.cend(); ++it)
            ini.setValue(it.key(), it.value());
        sim.extra.insert(QStringLiteral("SCRIPTED_ENGINE"), ini.fileName());
        QFile adb(home.path + QStringLiteral("/sdk/platform-tools/adb"));
        adb.open(QIODevice::WriteOnly | QIODevice::Truncate);
        adb.write(FakeAdb);
        return home;
    }

private slots:
    void cleanup() { sim.extra = QProcessEnvironment(); }

    void cleanupTestCase()
    {
        m_device->write("quit\n");
        if (!m_device->waitForFinished(3000))
            m_device->kill();
    }

    void initTestCase()
    {
        sim.platform = QStringLiteral("offscreen");
        // A simulated device for the starts that reach the window.
        m_device = new QProcess(this);
        m_device->start(SimulatedPlayer::bin() + QStringLiteral("/devicesim"),
                        {QStringLiteral("--address"), TestEnvironment::loopback(1), QStringLiteral("--size"), QStringLiteral("720x1280")});
        QVERIFY(m_device->waitForStarted(5000));
        QByteArray ready;
        QTRY_VERIFY_WITH_TIMEOUT((ready += m_device->readAllStandardOutput()).contains("devicesim ready"), 5000);

        m_withEngine = sim.install(QStringLiteral("install"), QStringLiteral(CALDERWICK_TEST_BIN_DIR "/../plugins/scripted/libvboxmanage.so"));
        m_withoutEngine = sim.install(QStringLiteral("noengine"));
        QVERIFY(!m_withEngine.isEmpty() && !m_withoutEngine.isEmpty());
    }

    void startAdbWithoutPlayerEndsCleanly()
    {
        const Home home = newHome({{"machine/state", 1}});
        // Run locally, the order starts the reconnection and the process ends right after:
        // the thread is joined on the way out, not left running.
        QCOMPARE(sim.run(home, m_withEngine, {"-n", "dev", "-a"}), 0);
        QVERIFY(SimulatedPlayer::log(home, "dev").contains("[Warning] Starting automatic ADB reconnection"));
        QCOMPARE(adbCalls(home).value(0), "disconnect " + Address);
    }

    void adbOrdersStartAndStopTheReconnection()
    {
        const Home home = newHome({{"machine/ipDelayMs", 20000}});
        QScopedPointer<QProcess> player(sim.startPlayer(home, {"-s", "-n", "dev"}, m_withEngine));
        // A failing check must not leave the player behind for the next tests.
        const auto cleanup = qScopeGuard([&player] {
            player->kill();
            player->waitForFinished(5000);
        });
        QVERIFY(SimulatedPlayer::waitForLog(home, "dev", "[Debug] [ScriptedEngine] waitForIp"));

        QCOMPARE(sim.run(home, m_withEngine, {"-n", "dev", "--startadb"}), 0);
        QVERIFY(SimulatedPlayer::waitForLog(home, "dev", "[Warning] Starting automatic ADB reconnection"));
        // Disconnect first, then connect, then the standing shell and the capture.
        QTRY_COMPARE_WITH_TIMEOUT(adbCalls(home).size(), 4, 10000);
        const QStringList calls = adbCalls(home);
        QCOMPARE(calls.mid(0, 2), (QStringList{"disconnect " + Address, "connect " + Address}));
        QVERIFY2(calls.contains("-s " + Address + ":5555 shell"), qPrintable(calls.join('\n')));
        // The capture names the device by its address alone; adb matches it to the network device.
        QVERIFY2(calls.contains("-s " + Address + " logcat -v time"), qPrintable(calls.join('\n')));
        const QString logcat = SimulatedPlayer::machineDir(home, "dev") + QStringLiteral("/Logs/logcat.txt");
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(logcat) && QFileInfo(logcat).size() > 0, 10000);

        // A second "start" keeps the one reconnection: only another disconnect.
        QCOMPARE(sim.run(home, m_withEngine, {"-n", "dev", "-a"}), 0);
        QTRY_COMPARE_WITH_TIMEOUT(adbCalls(home).size(), 5, 10000);
        QCOMPARE(adbCalls(home).last(), "disconnect " + Address);

        QCOMPARE(sim.run(home, m_withEngine, {"-n", "dev", "--stopadb"}), 0);
        QVERIFY(SimulatedPlayer::waitForLog(home, "dev", "[Warning] Stopping automatic ADB reconnection"));
        QTRY_COMPARE_WITH_TIMEOUT(adbCalls(home).size(), 6, 10000);
        QCOMPARE(adbCalls(home).last(), "disconnect " + Address);
        // The thread was joined before that last disconnect: the killed shell brings no new connect.
        QCOMPARE(player->state(), QProcess::Running);
        QVERIFY(SimulatedPlayer::log(home, "dev").filter("[AdbReconnect] [error]").isEmpty());
    }

    void usageGoesToTheLogOnly_data()
    {
        QTest::addColumn<QStringList>("args");
        // Which command lines lack a name is the parser's table (tst_commandline).
        QTest::newRow("second name missing") << QStringList{"-n", "dev", "-n"};
        QTest::newRow("nothing") << QStringList{};
    }

    void usageGoesToTheLogOnly()
    {
        QFETCH(QStringList, args);
        const Home home = newHome();
        QByteArray output; // standard output and error
        QCOMPARE(sim.run(home, m_withoutEngine, args, &output), 1);
        QCOMPARE(output, "Logging activities to file: " + home.path.toLocal8Bit() + "/.Brackenlea/calderwick.log\n");
        QCOMPARE(SimulatedPlayer::log(home, "dev"),
                 (QStringList{"[Debug] Usage: player", "[Debug] \t\t --vm-name|-n <device name>",
                              "[Debug] \t\t [ --no-popup|-s ]", "[Debug] \t\t [ --poweroff|-x  || ",
                              "[Debug] \t\t   --startadb|-a  || ", "[Debug] \t\t   --stopadb|-z ]"}));
    }

    void ordersWithoutPlayerRunLocally()
    {
        Home home = newHome();
        QCOMPARE(sim.run(home, m_withoutEngine, {"-n", "dev", "-x"}), 0);
        QStringList log = SimulatedPlayer::log(home, "dev");
        QVERIFY2(log.contains("[Error] Failed to load engine"), qPrintable(log.join('\n')));
        QVERIFY(log.contains("[Warning] Poweroff order receive. Exiting."));
        // Only the player role announces itself.
        QVERIFY(log.filter("STARTING VIRTUAL DEVICE").isEmpty());

        home = newHome({{"machine/state", 1}});
        QCOMPARE(sim.run(home, m_withEngine, {"--poweroff", "--vm-name", "dev"}), 0);
        log = SimulatedPlayer::log(home, "dev");
        QVERIFY2(log.contains("[Debug] [ScriptedEngine] stop"), qPrintable(log.join('\n')));
        QVERIFY(log.contains("[Debug] [ScriptedEngine] shutdown"));
        QVERIFY(log.filter("[ScriptedEngine] start ").isEmpty());
    }

    void windowShowsAgainstTheDevice()
    {
        const Home home = newHome({{"machine/ip", TestEnvironment::loopback(1)}});
        // A real window on the X server of the test run.
        sim.extra.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
        QScopedPointer<QProcess> player(sim.startPlayer(home, {"-s", "-n", "dev"}, m_withEngine));
        QVERIFY2(SimulatedPlayer::waitForLog(home, "dev", "[Debug] Player running. Try to show window..."),
                 qPrintable(SimulatedPlayer::log(home, "dev").join('\n')));
        // The device reports API calls on the request channel; the stop records their count.
        // Without a standing connection the device can only push into the socket of the last
        // exchange: wait until the clipboard exchange that follows the capabilities is over.
        QVERIFY(SimulatedPlayer::waitForLog(home, "dev", "[Debug] Signaling clipboard modification"));
        QTest::qWait(300);
        m_device->readAllStandardOutput();
        m_device->write("push-api 5\n");
        QByteArray answer;
        QTRY_VERIFY((answer += m_device->readAllStandardOutput()).contains('\n'));
        QCOMPARE(answer.trimmed(), QByteArray("ok"));

        // A device that dropped the event channel may have restarted: its capabilities are
        // asked again once the channel is back.
        const auto answers = [&home] { return SimulatedPlayer::log(home, "dev").filter("Got ok from capabilities request").size(); };
        const int asked = answers();
        m_device->write("close event\n");
        QTRY_COMPARE_WITH_TIMEOUT(answers(), asked + 1, 15000);

        QVERIFY(sim.powerOff(home, "dev", player.data()));
        QCOMPARE(player->exitCode(), 0);
        QVERIFY(SimulatedPlayer::log(home, "dev").contains("[Debug] Exit status: 0"));
        const QStringList calls = SimulatedPlayer::statsEvents(home, "api_calls");
        QCOMPARE(calls.size(), 1);
        QVERIFY2(calls.first().contains("\"calls_count\":5"), qPrintable(calls.first()));
    }

    // The start failures that the engine stand-in of tst_playerstart cannot make, and those of
    // the window. Every run gives launcher and IDE, which the start statistics carry.
    void startFailures_data()
    {
        QTest::addColumn<QVariantMap>("script");
        QTest::addColumn<QStringList>("environment");
        QTest::addColumn<int>("status");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("configure fails")
            << QVariantMap{{"machine/accelerated", false}, {"engine/configure", false}} << QStringList() << 6
            << QStringList{"[Debug] Hardware acceleration is set from Guest Property",
                           "[Error] Can't configure virtualization engine"};
        QTest::newRow("vmx missing, one cpu") << QVariantMap{{"engine/start", "2"}, {"machine/cpus", 1}} << QStringList() << 14
                                              << QStringList{"[Error] Unable to start virtual device, CPU incompatible"};
        QTest::newRow("vmx missing, retry fails")
            << QVariantMap{{"engine/start", "2,2"}, {"machine/cpus", 4}} << QStringList() << 14
            << QStringList{"Trying to reduce CPU number to 1", "[Debug] Proc number successfully set to 1",
                           "warning.cpu.count.force", "[Error] Unable to start virtual device"};
        QTest::newRow("cpu count locked") << QVariantMap{{"engine/start", "2"}, {"machine/cpus", 4}, {"machine/setCpus", false}}
                                          << QStringList() << 14 << QStringList{"[Error] Can't reduce CPU number to 1"};
        QTest::newRow("unknown state") << QVariantMap{{"machine/state", 7}} << QStringList() << 3
                                       << QStringList{"[Error] Calderwick system started but Virtual Box returned: VBOX_INCOMPATIBLE_STATE"};
        const QVariantMap atDevice{{"machine/ip", TestEnvironment::loopback(1)}};
        // No GL library: the window cannot exist.
        QTest::newRow("no GL library") << atDevice << QStringList{"CALDERWICK_GL_LIBRARY=/nonexistent/libGL.so.1"} << 6
                                       << QStringList{"[Error] Unable to load OpenGL libraries",
                                                      "error.opengl.unable.load.libraries"};
        // The renderer cannot open its X display once the channel is up.
        QTest::newRow("renderer fails") << atDevice << QStringList{"DISPLAY=:97"} << 10
                                        << QStringList{"[Error] Unable to initialize OpenGL renderer. Status: 4",
                                                       "[Error] Unable to initialize OpenGL render. Details: \"failed.initialize.display\"",
                                                       "(error.opengl.error4)"};
        // Without an X window of its own (offscreen) there is nothing to put the subwindow in.
        QTest::newRow("no subwindow") << atDevice << QStringList{} << 9
                                      << QStringList{"Calderwick system started. Attributed IP address: " + TestEnvironment::loopback(1),
                                                     "[Debug] Player running", "[Error] Unable to initialize subwindow",
                                                     "error.setup.window"};
    }

    void startFailures()
    {
        QFETCH(QVariantMap, script);
        QFETCH(QStringList, environment);
        QFETCH(int, status);
        QFETCH(QStringList, expected);
        const Home home = newHome(script);
        for (const QString &pair : environment)
            sim.extra.insert(pair.section(QLatin1Char('='), 0, 0), pair.section(QLatin1Char('='), 1));
        QCOMPARE(sim.run(home, m_withEngine, {"-s", "-n", "dev", "-p=launcher", "--ide", "studio"}), status);
        const QStringList log = SimulatedPlayer::log(home, "dev");
        for (const QString &text : expected)
            QVERIFY2(!log.filter(text).isEmpty(), qPrintable(QStringLiteral("missing \"%1\" in:\n%2").arg(text, log.join('\n'))));
        QVERIFY(log.contains(QStringLiteral("[Debug] Exit status: %1").arg(status)));
        const QStringList starts = SimulatedPlayer::statsEvents(home, "player_start");
        QCOMPARE(starts.size(), 1);
        QVERIFY2(starts.first().contains(QStringLiteral("\"infos\":{\"android-version\":\"6.0\",\"ide\":\"studio\","
                                                        "\"platform\":\"p\",\"plugin\":\"launcher\",\"vm-version\":\"2.6.0\"}")),
                 qPrintable(starts.first()));
    }
};

CALDERWICK_TEST_MAIN(TestPlayer)
#include "tst_player.moc"
