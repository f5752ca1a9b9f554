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

class TestAdb : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_sdk;
    FakeTool m_adb;
    std::unique_ptr<LogReader> m_logReader; // made after QTest installed its own message handler
    LogReader &log() { return *m_logReader; }
    const QString m_serial = QStringLiteral("192.168.56.101:5555");

    QStringList args(std::initializer_list<const char *> list)
    {
        QStringList result;
        for (const char *item : list)
            result << QString::fromUtf8(item);
        return result;
    }

private slots:
    void initTestCase()
    {
        m_logReader = std::make_unique<LogReader>();
        QVERIFY(QDir().mkpath(m_sdk.filePath(QStringLiteral("platform-tools"))));
        QVERIFY(m_adb.install(m_sdk.filePath(QStringLiteral("platform-tools")), QStringLiteral("adb")));
        setSettingsValue(QStringLiteral("android.sdk.use"), true);
        setSettingsValue(QStringLiteral("android.sdk.path"), m_sdk.path());
        QCOMPARE(Adb::adbPath(), m_adb.path());
        QVERIFY2(log().contains(QStringLiteral("[Adb] adb found at ") + m_adb.path()), qPrintable(log().messages().join(QLatin1Char('\n'))));
    }

    void init()
    {
        m_adb.clearCalls();
        log().clear();
    }

    void arguments_data()
    {
        QTest::addColumn<Operation>("operation");
        QTest::addColumn<QStringList>("expected");
        const QString s = m_serial;
        QTest::newRow("getState") << Operation([](Adb &a) { return !a.getState().isEmpty(); })
                                  << QStringList{"-s", s, "get-state"};
        QTest::newRow("disconnect") << Operation([](Adb &a) { return a.disconnect(); })
                                    << QStringList{"disconnect", s};
        QTest::newRow("pull") << Operation([](Adb &a) { return a.pull("/sdcard/a b.txt", "/tmp/a b.txt"); })
                              << QStringList{"-s", s, "pull", "/sdcard/a b.txt", "/tmp/a b.txt"};
        QTest::newRow("push to file") << Operation([](Adb &a) { return a.push("/tmp/x.zip", "/sdcard/x.zip"); })
                                      << QStringList{"-s", s, "push", "/tmp/x.zip", "/sdcard/x.zip"};
        QTest::newRow("push to downloads") << Operation([](Adb &a) { return a.push("/tmp/x", "/sdcard/Download/"); })
                                           << QStringList{"-s", s, "push", "/tmp/x", "/sdcard/Download/"};
        QTest::newRow("install") << Operation([](Adb &a) { return a.install("/tmp/a.apk", false); })
                                 << QStringList{"-s", s, "install", "/tmp/a.apk"};
        QTest::newRow("reinstall") << Operation([](Adb &a) { return a.install("/tmp/a.apk", true); })
                                   << QStringList{"-s", s, "install", "-r", "/tmp/a.apk"};
        QTest::newRow("uninstall") << Operation([](Adb &a) { return a.uninstall("com.a", false); })
                                   << QStringList{"-s", s, "uninstall", "com.a"};
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
        QTest::newRow("getprop") << Operation([](Adb &a) { return !a.getProp("ro.x", "d").isEmpty(); })
                                 << QStringList{"-s", s, "shell", "getprop", "ro.x"};
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
        Adb adb(m_serial);
        operation(adb);
        QCOMPARE(m_adb.calls(), QList<QStringList>{expected});
    }

    void connectWhenAlreadyAttached()
    {
        m_adb.answer(QStringLiteral("get-state"), "device\n");
        Adb adb(m_serial);
        QVERIFY(adb.connect());
        QCOMPARE(m_adb.calls(), (QList<QStringList>{{"-s", m_serial, "get-state"}}));
        QVERIFY(log().contains(QStringLiteral("[Debug] [Adb][connect] 192.168.56.101:5555 : already connected")));
        m_adb.clearAnswer(QStringLiteral("get-state"));
    }

    void connect_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<bool>("connected");
        QTest::addColumn<QString>("line");
        QTest::newRow("connected") << 0 << true << "[Debug] [Adb][connect] 192.168.56.101:5555 : connected";
        QTest::newRow("refused") << 1 << false
                                 << "[Debug] [Adb][connect] 192.168.56.101:5555 : unable to connect: failed to connect";
    }

    void connect()
    {
        QFETCH(int, code);
        QFETCH(bool, connected);
        QFETCH(QString, line);
        m_adb.answer(QStringLiteral("get-state"), "", 1, 0, "error: device '192.168.56.101:5555' not found\n");
        m_adb.answer(QStringLiteral("connect"), code ? "failed to connect\n" : "connected to x\n", code);
        Adb adb(m_serial);
        QCOMPARE(adb.connect(), connected);
        QCOMPARE(m_adb.calls(), (QList<QStringList>{{"-s", m_serial, "get-state"}, {"connect", m_serial}}));
        QVERIFY2(log().contains(line), qPrintable(log().messages().join('\n')));
        QVERIFY(log().contains(QStringLiteral("[Adb][getState] 192.168.56.101:5555 : error with get-state command: "
                                              "error: device '192.168.56.101:5555' not found")));
        m_adb.clearAnswer(QStringLiteral("get-state"));
        m_adb.clearAnswer(QStringLiteral("connect"));
    }

    void install_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<bool>("installed");
        QTest::addColumn<QString>("error");
        QTest::newRow("success") << QByteArray("Performing Streamed Install\nSuccess\n") << true << "";
        // An app that is already there is good enough.
        QTest::newRow("exists") << QByteArray("Failure [INSTALL_FAILED_ALREADY_EXISTS]\n") << true << "";
        QTest::newRow("older sdk") << QByteArray("\tpkg: /data/local/tmp/a.apk\nFailure [INSTALL_FAILED_OLDER_SDK]\n")
                                   << false << "INSTALL_FAILED_OLDER_SDK";
        QTest::newRow("bracket first") << QByteArray("[no word here]") << false << "[no word here]";
    }

    void install()
    {
        QFETCH(QByteArray, output);
        QFETCH(bool, installed);
        QFETCH(QString, error);
        m_adb.answer(QStringLiteral("install"), output, installed ? 0 : 1);
        Adb adb(m_serial);
        QCOMPARE(adb.install(QStringLiteral("/tmp/a.apk"), false), installed);
        if (installed) {
            QVERIFY(log().contains(
                QStringLiteral("[Adb][install] 192.168.56.101:5555 : file installed with success: /tmp/a.apk")));
        } else {
            QCOMPARE(adb.lastError(), error);
            QVERIFY(log().contains(QStringLiteral("[Adb][install] 192.168.56.101:5555 : unable to install file:")));
        }
        m_adb.clearAnswer(QStringLiteral("install"));
    }

    void installErrorOnStandardErrorIsSeen()
    {
        // install merges the channels: a failure told on standard error still counts.
        m_adb.answer(QStringLiteral("install"), "", 1, 0, "adb: failed to install: Failure [INSTALL_FAILED_INVALID_APK]\n");
        Adb adb(m_serial);
        QVERIFY(!adb.install(QStringLiteral("/tmp/a.apk"), true));
        QCOMPARE(adb.lastError(), QStringLiteral("INSTALL_FAILED_INVALID_APK"));
        m_adb.clearAnswer(QStringLiteral("install"));
    }

    void uninstall_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<bool>("acceptFailure");
        QTest::addColumn<bool>("result");
        QTest::addColumn<QString>("line");
        QTest::newRow("success") << QByteArray("Success\n") << false << true
                                 << "[Adb][uninstall] 192.168.56.101:5555 : package uninstall with success: com.a";
        QTest::newRow("failure") << QByteArray("Failure [DELETE_FAILED_INTERNAL_ERROR]\n") << false << false
                                 << "[Adb][uninstall] 192.168.56.101:5555 : unable to uninstall: Failure";
        QTest::newRow("failure accepted") << QByteArray("Failure [DELETE_FAILED_INTERNAL_ERROR]\n") << true << true
                                          << ": but failure accepted !";
    }

    void uninstall()
    {
        QFETCH(QByteArray, output);
        QFETCH(bool, acceptFailure);
        QFETCH(bool, result);
        QFETCH(QString, line);
        m_adb.answer(QStringLiteral("uninstall"), output);
        Adb adb(m_serial);
        QCOMPARE(adb.uninstall(QStringLiteral("com.a"), acceptFailure), result);
        QVERIFY2(log().contains(line), qPrintable(log().messages().join('\n')));
        m_adb.clearAnswer(QStringLiteral("uninstall"));
    }

    void pushMakesTheFolderFirst()
    {
        Adb adb(m_serial);
        m_adb.answer(QStringLiteral("push"), "/tmp/x: 1 file pushed. 0.1 MB/s (10 bytes in 0.001s)\n");
        QVERIFY(adb.push(QStringLiteral("/tmp/x"), QStringLiteral("/sdcard/Music/")));
        QCOMPARE(m_adb.calls(), (QList<QStringList>{{"-s", m_serial, "shell", "mkdir", "-p", "/sdcard/Music/"},
                                                    {"-s", m_serial, "push", "/tmp/x", "/sdcard/Music/"}}));
        QVERIFY(log().contains(QStringLiteral("[Adb][push] 192.168.56.101:5555 : file pushed with success:")));

        // A folder that cannot be made stops the transfer.
        m_adb.clearCalls();
        m_adb.answer(QStringLiteral("-s_192.168.56.101:5555_shell_mkdir_-p_%system%x%"), "mkdir: '/system/x/': Read-only file system failed\n", 1);
        QVERIFY(!adb.push(QStringLiteral("/tmp/x"), QStringLiteral("/system/x/")));
        QCOMPARE(m_adb.calls().size(), 1);
        QVERIFY(log().contains(QStringLiteral("[Adb][push] 192.168.56.101:5555 : unable to push file: mkdir:")));
        m_adb.clearAnswer(QStringLiteral("push"));
        m_adb.clearAnswer(QStringLiteral("-s_192.168.56.101:5555_shell_mkdir_-p_%system%x%"));
    }

    void pullNeedsTheTransferLine()
    {
        Adb adb(m_serial);
        m_adb.answer(QStringLiteral("pull"), "adb: error: remote object '/x' does not exist\n", 1);
        QVERIFY(!adb.pull(QStringLiteral("/x"), QStringLiteral("/tmp/x")));
        QVERIFY(log().contains(QStringLiteral("[Adb][pull] 192.168.56.101:5555 : unable to pull file: adb: error")));
        m_adb.answer(QStringLiteral("pull"), "/x: 1 file pulled. (5 bytes in 0.000s)\n");
        QVERIFY(adb.pull(QStringLiteral("/x"), QStringLiteral("/tmp/x")));
        m_adb.clearAnswer(QStringLiteral("pull"));
    }

    void remoteControl_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<bool>("started");
        QTest::addColumn<bool>("stopped");
        QTest::newRow("done") << QByteArray("Broadcasting: Intent\nBroadcast completed: result=0\nComplete\n") << true
                              << true;
        QTest::newRow("not started") << QByteArray("Error: Activity not started, unable to resolve Intent\n") << false
                                     << false;
        QTest::newRow("result 1") << QByteArray("Broadcast completed: result=1\nComplete\n") << true << false;
        QTest::newRow("incomplete") << QByteArray("result=0\n") << true << false;
    }

    void remoteControl()
    {
        QFETCH(QByteArray, output);
        QFETCH(bool, started);
        QFETCH(bool, stopped);
        m_adb.answer(QStringLiteral("shell"), output);
        Adb adb(m_serial);
        QCOMPARE(adb.startRemoteControl(), started);
        QCOMPARE(adb.stopRemoteControl(), stopped);
        if (!stopped)
            QVERIFY(log().contains(QStringLiteral("[Adb][stopRemoteControl] 192.168.56.101:5555 : unable to start application:")));
        m_adb.clearAnswer(QStringLiteral("shell"));
    }

    void installRemoteControlCopiesTheResource()
    {
        m_adb.answer(QStringLiteral("install"), "Success\n");
        Adb adb(m_serial);
        QVERIFY(adb.installRemoteControl());
        const QString copy = QDir::tempPath() + QStringLiteral("/remote-control.apk");
        QCOMPARE(m_adb.calls(), (QList<QStringList>{{"-s", m_serial, "install", copy}}));
        QVERIFY(!QFile::exists(copy));
        m_adb.clearAnswer(QStringLiteral("install"));
    }

    void properties()
    {
        Adb adb(m_serial);
        m_adb.answer(QStringLiteral("-s_192.168.56.101:5555_shell_getprop_ro.product.manufacturer"), "Brackenlea\r\n");
        m_adb.answer(QStringLiteral("-s_192.168.56.101:5555_shell_getprop_ro.build.product"), "\n"); // set but empty
        QCOMPARE(adb.deviceName(), QStringLiteral("Brackenlea-"));
        m_adb.answer(QStringLiteral("-s_192.168.56.101:5555_shell_getprop_ro.build.product"), "", 1, 0, "error: device offline\n");
        QCOMPARE(adb.deviceName(), QStringLiteral("Brackenlea-unknown"));
        m_adb.answer(QStringLiteral("-s_192.168.56.101:5555_shell_getprop_ro.build.version.release"), "6.0\n");
        QCOMPARE(adb.androidVersion(), QStringLiteral("6.0"));
        for (const char *key : {"-s_192.168.56.101:5555_shell_getprop_ro.product.manufacturer", "-s_192.168.56.101:5555_shell_getprop_ro.build.product",
                                "-s_192.168.56.101:5555_shell_getprop_ro.build.version.release"})
            m_adb.clearAnswer(QString::fromLatin1(key));
    }

    void shellTimeOut()
    {
        m_adb.answer(QStringLiteral("shell"), "started\n", 0, 5);
        Adb adb(m_serial);
        QElapsedTimer timer;
        timer.start();
        adb.shell({QStringLiteral("sleep"), QStringLiteral("5")}, 300);
        QVERIFY2(timer.elapsed() < 3000, qPrintable(QString::number(timer.elapsed())));
        QVERIFY(log().contains(QStringLiteral("[Adb][shell] Unable to finished process: ")));
        m_adb.clearAnswer(QStringLiteral("shell"));
    }

    void shellWithoutLimitWaits()
    {
        m_adb.answer(QStringLiteral("shell"), "done\n", 3, 1.2);
        Adb adb(m_serial);
        QCOMPARE(adb.shell({QStringLiteral("true")}, -1), QStringLiteral("done\n"));
        QVERIFY(log().contains(QStringLiteral("[Adb][shell] true - exit code: 3")));
        QVERIFY(!log().contains(QStringLiteral("Unable to finished process")));
        m_adb.clearAnswer(QStringLiteral("shell"));
    }

    void startActivityLooksForError()
    {
        m_adb.answer(QStringLiteral("shell"), "Starting: Intent\nError type 3\nError: Activity class does not exist.\n");
        Adb adb(m_serial);
        QVERIFY(!adb.startActivity(QStringLiteral("com.a"), QStringLiteral("com.a.Main")));
        m_adb.clearAnswer(QStringLiteral("shell"));
    }

    void forwardFailure()
    {
        m_adb.answer(QStringLiteral("forward"), "", 1, 0, "error: cannot bind listener: Address already in use\n");
        Adb adb(m_serial);
        QVERIFY(!adb.forward(10969, 10969));
        QVERIFY(log().contains(QStringLiteral("[Adb][forward] 192.168.56.101:5555 : unable to set forward rule: "
                                              "error: cannot bind listener")));
        m_adb.clearAnswer(QStringLiteral("forward"));
    }

    void devicesFilter_data()
    {
        QTest::addColumn<int>("filter");
        QTest::addColumn<QStringList>("serials");
        QTest::addColumn<int>("propertyRuns");
        QTest::newRow("nothing") << int(Adb::NoDevices) << QStringList() << 0;
        QTest::newRow("others") << int(Adb::OtherDevices)
                                << QStringList{"0123456789ABCDEF", "10.0.0.3:5555"} << 2;
        // The phone is dropped without being asked for its properties.
        QTest::newRow("ours") << int(Adb::CalderwickDevices) << QStringList{"192.168.56.101:5555"} << 2;
        QTest::newRow("all") << int(Adb::AllDevices)
                             << QStringList{"0123456789ABCDEF", "192.168.56.101:5555", "10.0.0.3:5555"} << 0;
    }

    void devicesFilter()
    {
        QFETCH(int, filter);
        QFETCH(QStringList, serials);
        QFETCH(int, propertyRuns);
        m_adb.answer(QStringLiteral("devices"), "List of devices attached\n0123456789ABCDEF\tdevice\n"
                                                "192.168.56.101:5555\tdevice\n10.0.0.3:5555\toffline\n\n");
        m_adb.answer(QStringLiteral("-s_192.168.56.101:5555_shell_getprop"), "[caldd.version]: [2.6]\n[ro.x]: [y]\n");
        m_adb.answer(QStringLiteral("-s_10.0.0.3:5555_shell_getprop"), "", 1, 0, "error: device offline\n");
        m_adb.answer(QStringLiteral("-s_0123456789ABCDEF_shell_getprop"), "[ro.caldd.fake]: [1]\n");

        const QList<Adb *> devices = Adb::devices(filter);
        QStringList found;
        for (Adb *device : devices)
            found << device->serial();
        qDeleteAll(devices);
        QCOMPARE(found, serials);
        const QList<QStringList> calls = m_adb.calls();
        QCOMPARE(calls.first(), QStringList{QStringLiteral("devices")});
        QCOMPARE(calls.size() - 1, propertyRuns);
        for (const QStringList &call : calls.mid(1))
            QVERIFY(call.at(1) != QLatin1String("0123456789ABCDEF"));
        for (const char *key : {"devices", "-s_192.168.56.101:5555_shell_getprop", "-s_10.0.0.3:5555_shell_getprop",
                                "-s_0123456789ABCDEF_shell_getprop"})
            m_adb.clearAnswer(QString::fromLatin1(key));
    }

    void logcatTruncatesAndRuns()
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
        Adb adb(m_serial);
        QScopedPointer<QProcess> process(adb.logcat(file));
        QVERIFY(process->waitForStarted(5000));
        QTRY_COMPARE(QFile(file).size(), qint64(line.size()));
        QCOMPARE(process->state(), QProcess::Running);
        QCOMPARE(m_adb.calls(), (QList<QStringList>{{"-s", m_serial, "logcat", "-v", "time"}}));
        process->kill();
        QVERIFY(process->waitForFinished(5000));
        m_adb.clearAnswer(QStringLiteral("logcat"));
    }

    void asynchronousStarts()
    {
        Adb adb(m_serial);
        QProcess reboot;
        adb.reboot(&reboot);
        QVERIFY(reboot.waitForFinished(5000));
        QProcess connect;
        adb.connectAsync(&connect);
        QVERIFY(connect.waitForFinished(5000));
        QCOMPARE(connect.readAllStandardOutput(), QByteArray()); // the caller reads what it wants
        QCOMPARE(m_adb.calls(), (QList<QStringList>{{"-s", m_serial, "reboot"}, {"connect", m_serial}}));
    }

    void outputIsBounded()
    {
        QTemporaryDir dir;
        // Far more than anyone reads: the wrapper keeps its limit and says so.
        const QString big = dir.filePath(QStringLiteral("big"));
        QFile file(big);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(5 * 1024 * 1024, 'x'));
        file.close();
        QFile::remove(QFileInfo(m_adb.callsFile()).path() + QStringLiteral("/shell.out"));
        QVERIFY(QFile::link(big, QFileInfo(m_adb.callsFile()).path() + QStringLiteral("/shell.out")));
        Adb adb(m_serial);
        QCOMPARE(adb.shell({QStringLiteral("cat")}, 30000).size(), 4 * 1024 * 1024);
        QVERIFY(log().contains(QStringLiteral("[Warning] [Adb][shell] output longer than 4194304 bytes: 1048576 bytes ignored")));
        m_adb.clearAnswer(QStringLiteral("shell"));
    }

    void sdkSearchOrder()
    {
        QTemporaryDir sdk;
        FakeTool inRoot(sdk.path(), QStringLiteral("adb"));
        QVERIFY(QDir().mkpath(sdk.filePath(QStringLiteral("tools"))));
        FakeTool inTools(sdk.filePath(QStringLiteral("tools")), QStringLiteral("adb"));
        setSettingsValue(QStringLiteral("android.sdk.path"), sdk.path());
        // The stored path wins while its file exists.
        QCOMPARE(Adb::adbPath(), m_adb.path());
        QVERIFY(QFile::rename(m_adb.path(), m_adb.path() + QStringLiteral(".away")));
        QCOMPARE(Adb::adbPath(), inTools.path());
        QVERIFY(QFile::remove(inTools.path()));
        QCOMPARE(Adb::adbPath(), inRoot.path());
        QVERIFY(QDir().mkpath(sdk.filePath(QStringLiteral("platform-tools"))));
        QVERIFY(QFile::remove(inRoot.path()));
        FakeTool inPlatformTools(sdk.filePath(QStringLiteral("platform-tools")), QStringLiteral("adb"));
        QCOMPARE(Adb::adbPath(), inPlatformTools.path());

        // A path that names no tool.
        QVERIFY(QFile::remove(inPlatformTools.path()));
        log().clear();
        QCOMPARE(Adb::adbPath(), QString());
        QVERIFY(log().contains(QStringLiteral("[Debug] [Adb] adb not found")));
        Adb adb(m_serial);
        QVERIFY(!adb.forward(1, 2));
        QVERIFY(log().contains(QStringLiteral("[Error] [Adb][forward] can't run  command: -s, 192.168.56.101:5555, forward, tcp:1, tcp:2")));
        QVERIFY(Adb::devices(Adb::AllDevices).isEmpty());

        setSettingsValue(QStringLiteral("android.sdk.path"), QString());
        log().clear();
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
