// The player program as a whole: command line, exit statuses, the single-instance
// channel between processes, and the start chain driven through a scripted engine.

#include "simulatedplayer.h"
#include "testenvironment.h"

#include <QProcess>
#include <QScopeGuard>
#include <QSettings>

namespace {

const QString ScriptedPlugin = QStringLiteral(CALDERWICK_TEST_BIN_DIR "/../plugins/scripted/libvboxmanage.so");

bool copyFile(const QString &from, const QString &to)
{
    QFile::remove(to);
    return QFile::copy(from, to) && QFile::setPermissions(to, QFile(from).permissions());
}

// Lines of every log file under a home, in the order written per file.
QStringList logMessages(const QString &home)
{
    QStringList messages;
    const QStringList files = {home + QStringLiteral("/.Brackenlea/calderwick.log"),
                               home + QStringLiteral("/devices/dev/logs/calderwick-player.log")};
    for (const QString &path : files) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            continue;
        for (const QString &line : QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts))
            messages << line.section(QStringLiteral("] "), 1); // drop "MMM d hh:mm:ss [Calderwick Player] "
    }
    return messages;
}

// A stand-in adb for the installed player: each call appends its arguments to
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

bool installFakeAdb(const QString &installDir)
{
    QDir().mkpath(installDir + QStringLiteral("/tools"));
    QFile file(installDir + QStringLiteral("/tools/adb"));
    return file.open(QIODevice::WriteOnly) && file.write(FakeAdb) > 0
        && file.setPermissions(file.permissions() | QFileDevice::ExeOwner);
}

QStringList adbCalls(const QString &home)
{
    QFile file(home + QStringLiteral("/adb-calls.txt"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

} // namespace

class TestPlayer : public QObject
{
    Q_OBJECT

private:
    // Where the scripted machine is, unless a test says otherwise; no device listens there.
    const QString Address = TestEnvironment::loopback(2);
    QString m_withEngine;   // a copy of the installed player with the scripted engine
    QString m_withoutEngine; // a copy without any engine plug-in
    int m_homes = 0;
    QProcessEnvironment m_extraEnvironment; // set by a test for its players, cleared after each
    QProcess *m_device = nullptr;           // devicesim for the tests that reach the window

    QString newHome()
    {
        const QString home = TestEnvironment::home().filePath(QStringLiteral("home%1").arg(++m_homes));
        QDir().mkpath(home + QStringLiteral("/tmp"));
        return home;
    }

    QString writeScript(const QString &home, const QMap<QString, QVariant> &values)
    {
        const QString path = home + QStringLiteral("/engine.ini");
        QSettings ini(path, QSettings::IniFormat);
        ini.setValue(QStringLiteral("machine/ip"), Address);
        for (auto it = values.cbegin(); it != values.cend(); ++it)
            ini.setValue(it.key(), it.value());
        ini.sync();
        return path;
    }

    QProcess *startPlayer(const QString &installDir, const QString &home, const QStringList &args)
    {
        auto *process = new QProcess(this);
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("HOME"), home);
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), home + QStringLiteral("/.config"));
        // Lock files and local sockets live in the temporary directory: one per home keeps
        // parallel test runs apart.
        env.insert(QStringLiteral("TMPDIR"), home + QStringLiteral("/tmp"));
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        env.insert(QStringLiteral("SCRIPTED_ENGINE"), home + QStringLiteral("/engine.ini"));
        for (const QString &key : m_extraEnvironment.keys())
            env.insert(key, m_extraEnvironment.value(key));
        process->setProcessEnvironment(env);
        process->start(installDir + QStringLiteral("/player"), args);
        process->waitForStarted(5000);
        return process;
    }

    int runPlayer(const QString &installDir, const QString &home, const QStringList &args,
                  QByteArray *out = nullptr, QByteArray *err = nullptr)
    {
        QProcess *process = startPlayer(installDir, home, args);
        const bool finished = process->waitForFinished(30000);
        if (out)
            *out = process->readAllStandardOutput();
        if (err)
            *err = process->readAllStandardError();
        const int status = finished && process->exitStatus() == QProcess::NormalExit ? process->exitCode() : -1;
        process->kill();
        process->waitForFinished(1000);
        delete process;
        return status;
    }

    static bool waitForLog(const QString &home, const QString &text, int timeout = 15000)
    {
        QDeadlineTimer deadline(timeout);
        while (!deadline.hasExpired()) {
            if (!logMessages(home).filter(text).isEmpty())
                return true;
            QTest::qWait(50);
        }
        return false;
    }

private slots:
    void cleanup()
    {
        m_extraEnvironment = QProcessEnvironment();
    }

    void cleanupTestCase()
    {
        if (m_device) {
            m_device->write("quit\n");
            if (!m_device->waitForFinished(3000))
                m_device->kill();
        }
    }

    void initTestCase()
    {
        // A simulated device for the starts that reach the window.
        m_device = new QProcess(this);
        m_device->start(QStringLiteral(CALDERWICK_BIN_DIR "/devicesim"),
                        {QStringLiteral("--address"), TestEnvironment::loopback(1), QStringLiteral("--size"),
                         QStringLiteral("720x1280")});
        QVERIFY(m_device->waitForStarted(5000));
        QByteArray ready;
        QTRY_VERIFY_WITH_TIMEOUT((ready += m_device->readAllStandardOutput()).contains("devicesim ready"), 5000);

        m_withEngine = TestEnvironment::home().filePath(QStringLiteral("install"));
        m_withoutEngine = TestEnvironment::home().filePath(QStringLiteral("install-noengine"));
        for (const QString &dir : {m_withEngine, m_withoutEngine}) {
            QVERIFY(QDir().mkpath(dir));
            QVERIFY(copyFile(QStringLiteral(CALDERWICK_BIN_DIR "/player"), dir + QStringLiteral("/player")));
            QVERIFY(copyFile(QStringLiteral(CALDERWICK_BIN_DIR "/lib64OpenglRender.so"),
                             dir + QStringLiteral("/lib64OpenglRender.so")));
        }
        QVERIFY(QDir().mkpath(m_withEngine + QStringLiteral("/plugins")));
        QVERIFY(copyFile(ScriptedPlugin, m_withEngine + QStringLiteral("/plugins/libvboxmanage.so")));
        QVERIFY(installFakeAdb(m_withEngine));
    }

    void startAdbWithoutPlayerEndsCleanly()
    {
        const QString home = newHome();
        writeScript(home, {{QStringLiteral("machine/state"), 1}});
        // Run locally, the order starts the reconnection and the process ends right after:
        // the thread is joined on the way out, not left running.
        QCOMPARE(runPlayer(m_withEngine, home, {QStringLiteral("-n"), QStringLiteral("dev"), QStringLiteral("-a")}), 0);
        const QStringList log = logMessages(home);
        QVERIFY2(log.contains(QStringLiteral("[Warning] Starting automatic ADB reconnection")), qPrintable(log.join('\n')));
        QCOMPARE(adbCalls(home).value(0), QStringLiteral("disconnect ") + Address);
    }

    void adbOrdersStartAndStopTheReconnection()
    {
        const QString home = newHome();
        writeScript(home, {{QStringLiteral("machine/ipDelayMs"), 20000}});
        QProcess *player = startPlayer(m_withEngine, home, {QStringLiteral("-s"), QStringLiteral("-n"), QStringLiteral("dev")});
        // A failing check must not leave the player behind for the next tests.
        const auto cleanup = qScopeGuard([player] {
            player->kill();
            player->waitForFinished(5000);
        });
        QVERIFY(waitForLog(home, QStringLiteral("[ScriptedEngine] waitForIp")));

        QCOMPARE(runPlayer(m_withEngine, home, {QStringLiteral("-n"), QStringLiteral("dev"), QStringLiteral("--startadb")}), 0);
        QVERIFY(waitForLog(home, QStringLiteral("[Warning] Starting automatic ADB reconnection")));
        // Disconnect first, then connect, then the standing shell and the capture.
        QTRY_COMPARE_WITH_TIMEOUT(adbCalls(home).size(), 4, 10000);
        QStringList calls = adbCalls(home);
        QCOMPARE(calls.mid(0, 2), (QStringList{QStringLiteral("disconnect ") + Address, QStringLiteral("connect ") + Address}));
        QVERIFY2(calls.contains(QStringLiteral("-s ") + Address + QStringLiteral(":5555 shell")), qPrintable(calls.join('\n')));
        // The capture names the device by its address alone; adb matches it to the network device.
        QVERIFY2(calls.contains(QStringLiteral("-s ") + Address + QStringLiteral(" logcat -v time")), qPrintable(calls.join('\n')));
        const QString logcat = home + QStringLiteral("/devices/dev/logs/logcat.txt");
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(logcat) && QFileInfo(logcat).size() > 0, 10000);

        // A second "start" keeps the one reconnection: only another disconnect.
        QCOMPARE(runPlayer(m_withEngine, home, {QStringLiteral("-n"), QStringLiteral("dev"), QStringLiteral("-a")}), 0);
        QTRY_COMPARE_WITH_TIMEOUT(adbCalls(home).size(), 5, 10000);
        QCOMPARE(adbCalls(home).last(), QStringLiteral("disconnect ") + Address);

        QCOMPARE(runPlayer(m_withEngine, home, {QStringLiteral("-n"), QStringLiteral("dev"), QStringLiteral("--stopadb")}), 0);
        QVERIFY(waitForLog(home, QStringLiteral("[Warning] Stopping automatic ADB reconnection")));
        QTRY_COMPARE_WITH_TIMEOUT(adbCalls(home).size(), 6, 10000);
        QCOMPARE(adbCalls(home).last(), QStringLiteral("disconnect ") + Address);
        // The thread was joined before that last disconnect: the killed shell brings no new connect.
        QCOMPARE(player->state(), QProcess::Running);
        QVERIFY(logMessages(home).filter(QStringLiteral("[AdbReconnect] [error]")).isEmpty());
    }

    void usageGoesToTheLogOnly_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::newRow("name missing") << QStringList{QStringLiteral("-n")};
        QTest::newRow("second name missing") << QStringList{QStringLiteral("-n"), QStringLiteral("dev"), QStringLiteral("-n")};
        QTest::newRow("ide value missing") << QStringList{QStringLiteral("-n"), QStringLiteral("dev"), QStringLiteral("--ide")};
        QTest::newRow("plugin only") << QStringList{QStringLiteral("--from-plugin=x")};
        QTest::newRow("nothing") << QStringList{};
    }

    void usageGoesToTheLogOnly()
    {
        QFETCH(QStringList, args);
        const QString home = newHome();
        QByteArray out, err;
        QCOMPARE(runPlayer(m_withoutEngine, home, args, &out, &err), 1);
        const QString log = home + QStringLiteral("/.Brackenlea/calderwick.log");
        QCOMPARE(QString::fromLocal8Bit(out), QStringLiteral("Logging activities to file: ") + log + QLatin1Char('\n'));
        QCOMPARE(err, QByteArray());
        const QStringList expected = {
            QStringLiteral("[Debug] Usage: player"),
            QStringLiteral("[Debug] \t\t --vm-name|-n <device name>"),
            QStringLiteral("[Debug] \t\t [ --no-popup|-s ]"),
            QStringLiteral("[Debug] \t\t [ --poweroff|-x  || "),
            QStringLiteral("[Debug] \t\t   --startadb|-a  || "),
            QStringLiteral("[Debug] \t\t   --stopadb|-z ]"),
        };
        QCOMPARE(logMessages(home), expected);
    }

    void orderWithoutPlayerRunsLocally()
    {
        const QString home = newHome();
        QCOMPARE(runPlayer(m_withoutEngine, home, {QStringLiteral("-n"), QStringLiteral("dev"), QStringLiteral("-x")}), 0);
        const QStringList log = logMessages(home);
        QVERIFY2(log.contains(QStringLiteral("[Error] Failed to load engine")), qPrintable(log.join('\n')));
        QVERIFY(log.contains(QStringLiteral("[Warning] Poweroff order receive. Exiting.")));
        // Only the player role announces itself.
        QVERIFY(log.filter(QStringLiteral("STARTING VIRTUAL DEVICE")).isEmpty());
    }

    void powerOffStopsARunningMachineLocally()
    {
        const QString home = newHome();
        writeScript(home, {{QStringLiteral("machine/state"), 1}});
        QCOMPARE(runPlayer(m_withEngine, home, {QStringLiteral("--poweroff"), QStringLiteral("--vm-name"), QStringLiteral("dev")}), 0);
        const QStringList log = logMessages(home);
        QVERIFY2(log.contains(QStringLiteral("[Debug] [ScriptedEngine] stop")), qPrintable(log.join('\n')));
        QVERIFY(log.contains(QStringLiteral("[Debug] [ScriptedEngine] shutdown")));
        QVERIFY(log.filter(QStringLiteral("[ScriptedEngine] start ")).isEmpty());
    }

    void windowShowsAgainstTheDevice()
    {
        const QString home = newHome();
        writeScript(home, {{QStringLiteral("machine/ip"), TestEnvironment::loopback(1)}});
        // A real window on the X server of the test run.
        m_extraEnvironment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
        QProcess *player = startPlayer(m_withEngine, home, {QStringLiteral("-s"), QStringLiteral("-n"), QStringLiteral("dev")});
        QVERIFY2(waitForLog(home, QStringLiteral("[Debug] Player running. Try to show window...")),
                 qPrintable(logMessages(home).join('\n')));
        // The device reports API calls on the request channel; the stop records their count.
        // Without a standing connection the device can only push into the socket of the last
        // exchange: wait until the clipboard exchange that follows the capabilities is over.
        QVERIFY(waitForLog(home, QStringLiteral("[Debug] Signaling clipboard modification")));
        QTest::qWait(300);
        m_device->readAllStandardOutput();
        m_device->write("push-api 5\n");
        QByteArray answer;
        QTRY_VERIFY((answer += m_device->readAllStandardOutput()).contains('\n'));
        QCOMPARE(answer.trimmed(), QByteArray("ok"));

        QCOMPARE(runPlayer(m_withEngine, home, {QStringLiteral("-n"), QStringLiteral("dev"), QStringLiteral("-x")}), 0);
        QVERIFY2(player->waitForFinished(10000), qPrintable(logMessages(home).mid(logMessages(home).size() - 14).join('\n')));
        QCOMPARE(player->exitCode(), 0);
        QVERIFY(logMessages(home).contains(QStringLiteral("[Debug] Exit status: 0")));
        const QStringList calls = SimulatedPlayer::statsEvents(home).filter(QStringLiteral("\"event\":\"api_calls\""));
        QCOMPARE(calls.size(), 1);
        QVERIFY2(calls.first().contains(QStringLiteral("\"calls_count\":5")), qPrintable(calls.first()));
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
        const QString home = newHome();
        writeScript(home, script);
        for (const QString &pair : environment)
            m_extraEnvironment.insert(pair.section(QLatin1Char('='), 0, 0), pair.section(QLatin1Char('='), 1));
        QCOMPARE(runPlayer(m_withEngine, home, {"-s", "-n", "dev", "-p=launcher", "--ide", "studio"}), status);
        const QStringList log = logMessages(home);
        for (const QString &text : expected)
            QVERIFY2(!log.filter(text).isEmpty(), qPrintable(QStringLiteral("missing \"%1\" in:\n%2").arg(text, log.join('\n'))));
        QVERIFY(log.contains(QStringLiteral("[Debug] Exit status: %1").arg(status)));
        const QStringList starts = SimulatedPlayer::statsEvents(home).filter(QStringLiteral("\"event\":\"player_start\""));
        QCOMPARE(starts.size(), 1);
        QVERIFY2(starts.first().contains(QStringLiteral("\"infos\":{\"android-version\":\"6.0\",\"ide\":\"studio\","
                                                        "\"platform\":\"p\",\"plugin\":\"launcher\",\"vm-version\":\"2.6.0\"}")),
                 qPrintable(starts.first()));
    }
};

CALDERWICK_TEST_MAIN(TestPlayer)
#include "tst_player.moc"
