// Adb against a scripted stand-in found through the SDK path setting: the exact
// arguments of every operation, what each makes of the tool's answers, time-outs and a
// missing tool.

#include "adb.h"
#include "faketool.h"
#include "logreader.h"
#include "settings.h"
#include "testenvironment.h"

#include <QElapsedTimer>
#include <functional>
#include <memory>

using Operation = std::function<bool(Adb &)>;
Q_DECLARE_METATYPE(Operation)

namespace {
const QString Serial = QStringLiteral("192.168.56.101:5555");
}

class TestAdb : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_sdk;
    FakeTool m_adb;
    std::unique_ptr<LogReader> m_logReader; // made after QTest installed its own message handler
    LogReader &log() { return *m_logReader; }
    QString logText() { return log().messages().join(QLatin1Char('\n')); }

private slots:
    void initTestCase()
    {
        m_logReader = std::make_unique<LogReader>();
        QVERIFY(m_adb.install(m_sdk.filePath(QStringLiteral("platform-tools")), QStringLiteral("adb")));
        setSettingsValue(QStringLiteral("android.sdk.use"), true);
        setSettingsValue(QStringLiteral("android.sdk.path"), m_sdk.path());
        QCOMPARE(Adb::adbPath(), m_adb.path());
        QVERIFY(log().contains(QStringLiteral("[Adb] adb found at ") + m_adb.path()));
    }

    void init()
    {
        m_adb.clearAnswers();
        m_adb.clearCalls();
        log().clear();
    }

    void arguments_data()
    {
        QTest::addColumn<Operation>("operation");
        QTest::addColumn<QStringList>("expected");
        // get-state, connect, plain install, logcat and reboot are pinned where their answers are.
        const QString s = Serial;
        QTest::newRow("disconnect") << Operation([](Adb &a) { return a.disconnect(); }) << QStringList{"disconnect", s};
        QTest::newRow("pull") << Operation([](Adb &a) { return a.pull("/sdcard/a b.txt", "/tmp/a b.txt"); })
                              << QStringList{"-s", s, "pull", "/sdcard/a b.txt", "/tmp/a b.txt"};
        QTest::newRow("push to file") << Operation([](Adb &a) { return a.push("/tmp/x.zip", "/sdcard/x.zip"); })
                                      << QStringList{"-s", s, "push", "/tmp/x.zip", "/sdcard/x.zip"};
        QTest::newRow("push to downloads") << Operation([](Adb &a) { return a.push("/tmp/x", "/sdcard/Download/"); })
                                           << QStringList{"-s", s, "push", "/tmp/x", "/sdcard/Download/"};
        QTest::newRow("reinstall") << Operation([](Adb &a) { return a.install("/tmp/a.apk", true); })
                                   << QStringList{"-s", s, "install", "-r", "/tmp/a.apk"};
        QTest::newRow("uninstall remote") << Operation([](Adb &a) { return a.uninstallRemoteControl(); })
                                          << QStringList{"-s", s, "uninstall", "com.calderwick.remotecontrol"};
        QTest::newRow("forward") << Operation([](Adb &a) { return a.forward(10969, 8080); })
                                 << QStringList{"-s", s, "forward", "tcp:10969", "tcp:8080"};
        QTest::newRow("start remote")
            << Operation([](Adb &a) { return a.startRemoteControl(); })
            << QStringList{"-s", s, "shell", "am", "start", "-W", "-a", "android.intent.action.MAIN", "-n",
                           "com.calderwick.remotecontrol/.RemoteControlActivity"};
        QTest::newRow("stop remote") << Operation([](Adb &a) { return a.stopRemoteControl(); })
                                     << QStringList{"-s", s, "shell", "am", "broadcast", "-a",
                                                    "com.calderwick.remotecontrol.REMOTE_DISCONNECT"};
        QTest::newRow("android version") << Operation([](Adb &a) { return !a.androidVersion().isEmpty(); })
                                         << QStringList{"-s", s, "shell", "getprop", "ro.build.version.release"};
        QTest::newRow("shell") << Operation([](Adb &a) { return a.shell({"ls", "-l", "/sdcard"}, 30000).isEmpty(); })
                               << QStringList{"-s", s, "shell", "ls", "-l", "/sdcard"};
        QTest::newRow("start activity") << Operation([](Adb &a) { return a.startActivity("com.a", "com.a.Main"); })
                                        << QStringList{"-s", s, "shell", "am", "start", "-n", "com.a/com.a.Main"};
    }

    void arguments()
    {
        QFETCH(Operation, operation);
        QFETCH(QStringList, expected);
        Adb adb(Serial);
        operation(adb);
        QCOMPARE(m_adb.calls(), QList<QStringList>{expected});
    }

    // What each operation makes of the tool's answer: the result, the log line, the error word.
    void outcomes_data()
    {
        QTest::addColumn<Operation>("operation");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QByteArray>("out");
        QTest::addColumn<int>("code");
        QTest::addColumn<QByteArray>("err");
        QTest::addColumn<bool>("result");
        QTest::addColumn<QString>("line");
        const Operation install = [](Adb &a) { return a.install("/tmp/a.apk", false); };
        const Operation uninstall = [](Adb &a) { return a.uninstall("com.a", false); };
        const Operation pull = [](Adb &a) { return a.pull("/x", "/tmp/x"); };
        const Operation stopRemote = [](Adb &a) { return a.stopRemoteControl(); };
        QTest::newRow("installed") << install << "install" << QByteArray("Performing Streamed Install\nSuccess\n") << 0
                                   << QByteArray() << true << ": file installed with success: /tmp/a.apk";
        // An app that is already there is good enough.
        QTest::newRow("already there") << install << "install" << QByteArray("Failure [INSTALL_FAILED_ALREADY_EXISTS]\n")
                                       << 1 << QByteArray() << true << ": file installed with success:";
        QTest::newRow("install refused") << install << "install" << QByteArray("Failure [INSTALL_FAILED_OLDER_SDK]\n") << 1
                                         << QByteArray() << false << ": unable to install file:";
        // The channels are merged: a failure told on standard error still counts.
        QTest::newRow("install error on stderr")
            << install << "install" << QByteArray() << 1
            << QByteArray("adb: failed to install: Failure [INSTALL_FAILED_INVALID_APK]\n") << false
            << ": unable to install file: adb: failed to install";
        QTest::newRow("uninstalled") << uninstall << "uninstall" << QByteArray("Success\n") << 0 << QByteArray() << true
                                     << ": package uninstall with success: com.a";
        QTest::newRow("uninstall refused") << uninstall << "uninstall" << QByteArray("Failure [DELETE_FAILED]\n") << 0
                                           << QByteArray() << false << ": unable to uninstall: Failure";
        QTest::newRow("uninstall failure accepted")
            << Operation([](Adb &a) { return a.uninstall("com.a", true); }) << "uninstall"
            << QByteArray("Failure [DELETE_FAILED]\n") << 0 << QByteArray() << true << ": but failure accepted !";
        QTest::newRow("pulled") << pull << "pull" << QByteArray("/x: 1 file pulled. (5 bytes in 0.000s)\n") << 0
                                << QByteArray() << true << ": file pulled with success:";
        QTest::newRow("pull refused") << pull << "pull" << QByteArray("adb: error: remote object '/x' does not exist\n")
                                      << 1 << QByteArray() << false << ": unable to pull file: adb: error";
        // adb 29 ends a copy cut off halfway with its summary all the same, "bytes in" and all.
        QTest::newRow("pull cut off") << pull << "pull"
                                      << QByteArray("adb: error: failed to copy '/x' to '/tmp/x': couldn't read from device\n"
                                                    "/x: 0 files pulled, 0 skipped. (51505008 bytes in 0.303s)\n")
                                      << 1 << QByteArray() << false << ": unable to pull file: adb: error";
        QTest::newRow("push cut off") << Operation([](Adb &a) { return a.push("/tmp/x", "/sdcard/Download/"); }) << "push"
                                      << QByteArray("adb: error: failed to copy '/tmp/x' to '/sdcard/Download/x': "
                                                    "couldn't read from device\n/tmp/x: 0 files pushed, 0 skipped. "
                                                    "162.0 MB/s (51505008 bytes in 0.303s)\n")
                                      << 1 << QByteArray() << false << ": unable to push file: adb: error";
        QTest::newRow("forward refused") << Operation([](Adb &a) { return a.forward(10969, 10969); }) << "forward"
                                         << QByteArray() << 1 << QByteArray("error: cannot bind listener\n") << false
                                         << ": unable to set forward rule: error: cannot bind listener";
        QTest::newRow("activity missing") << Operation([](Adb &a) { return a.startActivity("com.a", "com.a.Main"); })
                                          << "shell" << QByteArray("Error: Activity class does not exist.\n") << 0
                                          << QByteArray() << false << "[Adb][shell] am, start, -n, com.a/com.a.Main";
        QTest::newRow("remote stopped") << stopRemote << "shell"
                                        << QByteArray("Broadcast completed: result=0\nComplete\n") << 0 << QByteArray()
                                        << true << "";
        QTest::newRow("remote result 1") << stopRemote << "shell" << QByteArray("Broadcast completed: result=1\nComplete\n")
                                         << 0 << QByteArray() << false << ": unable to start application:";
        QTest::newRow("remote incomplete") << stopRemote << "shell" << QByteArray("result=0\n") << 0 << QByteArray()
                                           << false << ": unable to start application:";
        QTest::newRow("remote not started") << Operation([](Adb &a) { return a.startRemoteControl(); }) << "shell"
                                            << QByteArray("Error: Activity not started, unable to resolve Intent\n") << 0
                                            << QByteArray() << false << ": unable to start application:";
    }

    void outcomes()
    {
        QFETCH(Operation, operation);
        QFETCH(QString, key);
        QFETCH(QByteArray, out);
        QFETCH(int, code);
        QFETCH(QByteArray, err);
        QFETCH(QString, line);
        m_adb.answer(key, out, code, 0, err);
        Adb adb(Serial);
        QTEST(operation(adb), "result");
        QVERIFY2(line.isEmpty() || log().contains(line), qPrintable(logText()));
        if (QByteArray(QTest::currentDataTag()).startsWith("install "))
            QVERIFY(adb.lastError().startsWith(QLatin1String("INSTALL_FAILED_")));
    }

    void connect_data()
    {
        QTest::addColumn<QByteArray>("state");
        QTest::addColumn<int>("code");
        QTest::addColumn<bool>("connected");
        QTest::addColumn<QString>("line");
        QTest::newRow("already") << QByteArray("device\n") << 0 << true << " : already connected";
        QTest::newRow("connected") << QByteArray() << 0 << true << " : connected";
        QTest::newRow("refused") << QByteArray() << 1 << false << " : unable to connect: failed to connect";
        // adb 29 says it failed and still ends with status 0.
        QTest::newRow("refused, status 0") << QByteArray() << -1 << false << " : unable to connect: failed to connect";
    }

    void connect()
    {
        QFETCH(QByteArray, state);
        QFETCH(int, code);
        QFETCH(QString, line);
        m_adb.answer(QStringLiteral("get-state"), state, state.isEmpty(), 0,
                     state.isEmpty() ? "error: device '192.168.56.101:5555' not found\n" : "");
        m_adb.answer(QStringLiteral("connect"), code ? "failed to connect\n" : "connected to x\n", qMax(code, 0));
        Adb adb(Serial);
        QTEST(adb.connect(), "connected");
        QList<QStringList> expected{{"-s", Serial, "get-state"}};
        if (state.isEmpty())
            expected << QStringList{"connect", Serial};
        QCOMPARE(m_adb.calls(), expected);
        QVERIFY2(log().contains(QStringLiteral("[Adb][connect] ") + Serial + line), qPrintable(logText()));
    }

    void pushMakesTheFolderFirst()
    {
        Adb adb(Serial);
        m_adb.answer(QStringLiteral("push"), "/tmp/x: 1 file pushed. 0.1 MB/s (10 bytes in 0.001s)\n");
        QVERIFY(adb.push(QStringLiteral("/tmp/x"), QStringLiteral("/sdcard/Music/")));
        QCOMPARE(m_adb.calls(), (QList<QStringList>{{"-s", Serial, "shell", "mkdir", "-p", "/sdcard/Music/"},
                                                    {"-s", Serial, "push", "/tmp/x", "/sdcard/Music/"}}));
        // A folder that cannot be made stops the transfer.
        m_adb.clearCalls();
        m_adb.answer(QStringLiteral("-s_192.168.56.101:5555_shell_mkdir_-p_%system%x%"), "mkdir: Read-only file system failed\n", 1);
        QVERIFY(!adb.push(QStringLiteral("/tmp/x"), QStringLiteral("/system/x/")));
        QCOMPARE(m_adb.calls().size(), 1);
        QVERIFY(log().contains(QStringLiteral("[Adb][push] 192.168.56.101:5555 : unable to push file: mkdir:")));
    }

    void installRemoteControlCopiesTheResource()
    {
        m_adb.answer(QStringLiteral("install"), "Success\n");
        Adb adb(Serial);
        QVERIFY(adb.installRemoteControl());
        const QString copy = QDir::tempPath() + QStringLiteral("/remote-control.apk");
        QCOMPARE(m_adb.calls(), (QList<QStringList>{{"-s", Serial, "install", copy}}));
        QVERIFY(!QFile::exists(copy));
    }

    void properties()
    {
        Adb adb(Serial);
        const QString prefix = QStringLiteral("-s_192.168.56.101:5555_shell_getprop_");
        m_adb.answer(prefix + QStringLiteral("ro.product.manufacturer"), "Brackenlea\r\n");
        m_adb.answer(prefix + QStringLiteral("ro.build.product"), "\n"); // set but empty
        QCOMPARE(adb.deviceName(), QStringLiteral("Brackenlea-"));
        m_adb.answer(prefix + QStringLiteral("ro.build.product"), "", 1, 0, "error: device offline\n");
        QCOMPARE(adb.deviceName(), QStringLiteral("Brackenlea-unknown"));
    }

    void shellTimeOuts()
    {
        m_adb.answer(QStringLiteral("shell"), "started\n", 0, 5);
        Adb adb(Serial);
        QElapsedTimer timer;
        timer.start();
        adb.shell({QStringLiteral("sleep"), QStringLiteral("5")}, 300);
        QVERIFY2(timer.elapsed() < 3000, qPrintable(QString::number(timer.elapsed())));
        QVERIFY(log().contains(QStringLiteral("[Adb][shell] Unable to finished process: ")));

        // -1 waits as long as the tool takes.
        log().clear();
        m_adb.answer(QStringLiteral("shell"), "done\n", 3, 1.2);
        QCOMPARE(adb.shell({QStringLiteral("true")}, -1), QStringLiteral("done\n"));
        QVERIFY(log().contains(QStringLiteral("[Adb][shell] true - exit code: 3")));
        QVERIFY(!log().contains(QStringLiteral("Unable to finished process")));
    }

    void devicesFilter_data()
    {
        QTest::addColumn<int>("filter");
        QTest::addColumn<QStringList>("serials");
        QTest::addColumn<int>("propertyRuns");
        QTest::newRow("nothing") << int(Adb::NoDevices) << QStringList() << 0;
        QTest::newRow("others") << int(Adb::OtherDevices) << QStringList{"0123456789ABCDEF", "10.0.0.3:5555"} << 2;
        // The phone is dropped without being asked for its properties.
        QTest::newRow("ours") << int(Adb::CalderwickDevices) << QStringList{"192.168.56.101:5555"} << 2;
        QTest::newRow("all") << int(Adb::AllDevices)
                             << QStringList{"0123456789ABCDEF", "192.168.56.101:5555", "10.0.0.3:5555"} << 0;
    }

    void devicesFilter()
    {
        QFETCH(int, filter);
        m_adb.answer(QStringLiteral("devices"), "List of devices attached\n0123456789ABCDEF\tdevice\n"
                                                "192.168.56.101:5555\tdevice\n10.0.0.3:5555\toffline\n\n");
        m_adb.answer(QStringLiteral("-s_192.168.56.101:5555_shell_getprop"), "[caldd.version]: [2.6]\n[ro.x]: [y]\n");
        m_adb.answer(QStringLiteral("-s_10.0.0.3:5555_shell_getprop"), "", 1, 0, "error: device offline\n");
        m_adb.answer(QStringLiteral("-s_0123456789ABCDEF_shell_getprop"), "[ro.caldd.fake]: [1]\n");

        QStringList found;
        for (Adb *device : Adb::devices(filter)) {
            found << device->serial();
            delete device;
        }
        QTEST(found, "serials");
        const QList<QStringList> calls = m_adb.calls();
        QCOMPARE(calls.first(), QStringList{QStringLiteral("devices")});
        QTEST(calls.size() - 1, "propertyRuns");
        for (const QStringList &call : calls.mid(1))
            QVERIFY(call.at(1) != QLatin1String("0123456789ABCDEF"));
    }

    void childProcessesForTheCaller()
    {
        QTemporaryDir dir;
        const QString file = dir.filePath(QStringLiteral("logcat.txt"));
        {
            QFile old(file);
            QVERIFY(old.open(QIODevice::WriteOnly));
            old.write("old capture that must go\n");
        }
        const QByteArray line("11-23 10:00:00.000 I/x( 1): hello\n");
        m_adb.answerAndStay(QStringLiteral("logcat"), line, 30);
        Adb adb(Serial);
        QScopedPointer<QProcess> logcat(adb.logcat(file));
        QTRY_COMPARE(QFile(file).size(), qint64(line.size()));
        QCOMPARE(logcat->state(), QProcess::Running);
        logcat->kill();
        QVERIFY(logcat->waitForFinished(5000));

        QProcess reboot, connect;
        adb.reboot(&reboot);
        QVERIFY(reboot.waitForFinished(5000));
        adb.connectAsync(&connect);
        QVERIFY(connect.waitForFinished(5000));
        QCOMPARE(m_adb.calls(), (QList<QStringList>{{"-s", Serial, "logcat", "-v", "time"},
                                                    {"-s", Serial, "reboot"}, {"connect", Serial}}));
    }

    void outputIsBounded()
    {
        QTemporaryDir dir;
        // Far more than anyone reads: the wrapper keeps its limit and says so.
        QFile file(dir.filePath(QStringLiteral("big")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(5 * 1024 * 1024, 'x'));
        file.close();
        QVERIFY(QFile::link(file.fileName(), QFileInfo(m_adb.callsFile()).path() + QStringLiteral("/shell.out")));
        Adb adb(Serial);
        QCOMPARE(adb.shell({QStringLiteral("cat")}, 30000).size(), 4 * 1024 * 1024);
        QVERIFY(log().contains(QStringLiteral("[Warning] [Adb][shell] output longer than 4194304 bytes: 1048576 bytes ignored")));
    }

    void sdkSearchOrder()
    {
        QTemporaryDir sdk;
        FakeTool inRoot(sdk.path(), QStringLiteral("adb"));
        FakeTool inTools(sdk.filePath(QStringLiteral("tools")), QStringLiteral("adb"));
        setSettingsValue(QStringLiteral("android.sdk.path"), sdk.path());
        // The stored path wins while its file exists.
        QCOMPARE(Adb::adbPath(), m_adb.path());
        QVERIFY(QFile::rename(m_adb.path(), m_adb.path() + QStringLiteral(".away")));
        QCOMPARE(Adb::adbPath(), inTools.path());
        QVERIFY(QFile::remove(inTools.path()));
        QCOMPARE(Adb::adbPath(), inRoot.path());
        QVERIFY(QFile::remove(inRoot.path()));
        FakeTool inPlatformTools(sdk.filePath(QStringLiteral("platform-tools")), QStringLiteral("adb"));
        QCOMPARE(Adb::adbPath(), inPlatformTools.path());

        // A path that names no tool.
        QVERIFY(QFile::remove(inPlatformTools.path()));
        log().clear();
        QCOMPARE(Adb::adbPath(), QString());
        QVERIFY(log().contains(QStringLiteral("[Debug] [Adb] adb not found")));
        Adb adb(Serial);
        QVERIFY(!adb.forward(1, 2));
        QVERIFY(log().contains(QStringLiteral("[Error] [Adb][forward] can't run  command: -s, 192.168.56.101:5555, forward, tcp:1, tcp:2")));
        QVERIFY(Adb::devices(Adb::AllDevices).isEmpty());

        setSettingsValue(QStringLiteral("android.sdk.path"), QString());
        QCOMPARE(Adb::adbPath(), QString());
        QVERIFY(log().contains(QStringLiteral("[Debug] [Adb] Can't retrieve SDK: path not set")));

        // Back to the stand-in for the tests that follow.
        QVERIFY(QFile::rename(m_adb.path() + QStringLiteral(".away"), m_adb.path()));
        setSettingsValue(QStringLiteral("android.sdk.path"), m_sdk.path());
        QCOMPARE(Adb::adbPath(), m_adb.path());
    }
};

CALDERWICK_TEST_MAIN(TestAdb)
#include "tst_adb.moc"
