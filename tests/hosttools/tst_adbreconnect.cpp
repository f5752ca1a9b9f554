// AdbReconnect and its thread against a scripted adb: the connect / shell / capture
// cycle, its pauses, failures that cannot start the tool, and a clean stop.

#include "adbreconnect.h"
#include "adbreconnectthread.h"
#include "faketool.h"
#include "logreader.h"
#include "settings.h"
#include "testenvironment.h"
#include "testmachine.h"

#include <QFileSystemWatcher>
#include <QSignalSpy>
#include <memory>

class TestAdbReconnect : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_sdk;
    QTemporaryDir m_logs;
    FakeTool m_adb;
    TestMachine m_machine;
    std::unique_ptr<LogReader> m_logReader;
    LogReader &log() { return *m_logReader; }

    QList<FakeTool::Call> callsOf(const QString &word) const
    {
        QList<FakeTool::Call> result;
        for (const FakeTool::Call &call : m_adb.timedCalls()) {
            const int at = call.arguments.value(0) == QLatin1String("-s") ? 2 : 0;
            if (call.arguments.value(at) == word)
                result << call;
        }
        return result;
    }

    QString dump()
    {
        QStringList lines;
        for (const FakeTool::Call &call : m_adb.timedCalls())
            lines << QString::number(call.nanoseconds / 1000000 % 100000) + QLatin1Char(' ') + call.arguments.join(QLatin1Char(' '));
        return lines.join(QLatin1Char('\n')) + QLatin1Char('\n') + log().messages().join(QLatin1Char('\n'));
    }

    // A device that connects, holds its shell and captures until killed.
    void answerUp(const QByteArray &capture = QByteArray())
    {
        m_adb.answer(QStringLiteral("connect"), "connected to 10.1.2.3:5555\n");
        m_adb.answerAndStay(QStringLiteral("shell"), "", 30);
        m_adb.answerAndStay(QStringLiteral("logcat"), capture, 30);
    }

    static bool processGone(qint64 pid) { return !QFile::exists(QStringLiteral("/proc/%1").arg(pid)); }

private slots:
    void initTestCase()
    {
        m_logReader = std::make_unique<LogReader>();
        QVERIFY(m_adb.install(m_sdk.filePath(QStringLiteral("platform-tools")), QStringLiteral("adb")));
        setSettingsValue(QStringLiteral("android.sdk.use"), true);
        setSettingsValue(QStringLiteral("android.sdk.path"), m_sdk.path());
        m_machine.address = QStringLiteral("10.1.2.3");
        m_machine.logs = m_logs.path();
    }

    void init()
    {
        m_adb.clearAnswers();
        m_adb.clearCalls();
        log().clear();
    }

    void connectsThenHoldsAShellAndCaptures()
    {
        answerUp("11-23 10:00:00.000 I/x( 1): up\n");
        {
            AdbReconnect reconnect(&m_machine);
            reconnect.start();
            QTRY_COMPARE(callsOf(QStringLiteral("logcat")).size(), 1);
            QTRY_COMPARE(callsOf(QStringLiteral("shell")).size(), 1);
            QCOMPARE(callsOf(QStringLiteral("connect")).first().arguments, (QStringList{"connect", "10.1.2.3"}));
            QCOMPARE(callsOf(QStringLiteral("shell")).first().arguments, (QStringList{"-s", "10.1.2.3:5555", "shell"}));
            QCOMPARE(callsOf(QStringLiteral("logcat")).first().arguments,
                     (QStringList{"-s", "10.1.2.3", "logcat", "-v", "time"}));
            const QString capture = m_logs.filePath(QStringLiteral("logcat.txt"));
            QTRY_VERIFY(QFileInfo(capture).size() > 0);

            reconnect.stop();
            // Both children are gone once stop returns, and nothing starts again.
            QVERIFY(processGone(callsOf(QStringLiteral("shell")).first().pid));
            QVERIFY(processGone(callsOf(QStringLiteral("logcat")).first().pid));
            reconnect.stop(); // harmless
        }
        QCOMPARE(m_adb.timedCalls().size(), 3);
        QVERIFY(log().matching(QStringLiteral("[AdbReconnect] [error]")).isEmpty());
    }

    // However the shell ends, and when connect fails, the next connect waits a second: a
    // stand-in that ends at once must not turn the cycle into a flood of processes.
    void endPacesTheCycle_data()
    {
        QTest::addColumn<int>("connectCode");
        QTest::addColumn<int>("shellCode");
        QTest::addColumn<QString>("error");
        QTest::newRow("shell ends cleanly") << 0 << 0 << "";
        QTest::newRow("shell fails") << 0 << 1 << "`adb shell` returns 1";
        QTest::newRow("connect fails") << 1 << 0 << "`adb connect` returns 1";
    }

    void endPacesTheCycle()
    {
        QFETCH(int, connectCode);
        QFETCH(int, shellCode);
        QFETCH(QString, error);
        m_adb.answer(QStringLiteral("connect"), connectCode ? "failed to connect to '10.1.2.3:5555': Connection refused\n"
                                                            : "connected\n", connectCode);
        m_adb.answer(QStringLiteral("shell"), "", shellCode);
        m_adb.answerAndStay(QStringLiteral("logcat"), "", 30);
        AdbReconnect reconnect(&m_machine);
        reconnect.start();
        QTest::qWait(2500);
        reconnect.stop();
        const QList<FakeTool::Call> connects = callsOf(QStringLiteral("connect"));
        const QList<FakeTool::Call> shells = callsOf(QStringLiteral("shell"));
        // One attempt at 0 s, 1 s and 2 s; without the pause there would be dozens.
        QVERIFY2(connects.size() >= 2 && connects.size() <= 4, qPrintable(dump()));
        QCOMPARE(shells.isEmpty(), connectCode != 0);
        const qint64 ended = shells.isEmpty() ? connects.first().nanoseconds : shells.first().nanoseconds;
        QVERIFY2(connects.at(1).nanoseconds - ended >= 950 * 1000000LL, qPrintable(dump()));
        const QStringList errors = log().matching(QStringLiteral("[Error] [AdbReconnect] [error] "));
        QCOMPARE(errors.isEmpty(), error.isEmpty());
        QVERIFY(error.isEmpty() || errors.first().endsWith(error));
        // The capture still running is not started a second time.
        if (connectCode == 0)
            QCOMPARE(callsOf(QStringLiteral("logcat")).size(), 1);
    }

    void toolThatCannotStartIsNotRetried()
    {
        QVERIFY(QFile::setPermissions(m_adb.path(), QFile::ReadOwner | QFile::WriteOwner));
        AdbReconnect reconnect(&m_machine);
        reconnect.start();
        QTRY_COMPARE(log().matching(QStringLiteral("[AdbReconnect] [error]")).size(), 1);
        QVERIFY(log().matching(QStringLiteral("[AdbReconnect] [error]")).first().contains(QStringLiteral("\"")));

        // Once runnable again, only a retry could call it: none comes from the error.
        QVERIFY(QFile::setPermissions(m_adb.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        QFileSystemWatcher watcher({QFileInfo(m_adb.callsFile()).path()});
        QSignalSpy changes(&watcher, &QFileSystemWatcher::directoryChanged);
        QVERIFY(!changes.wait(1500));
        QVERIFY(m_adb.timedCalls().isEmpty());
        QCOMPARE(log().matching(QStringLiteral("[AdbReconnect] [error]")).size(), 1);
        reconnect.stop();
    }

    void withoutMachine()
    {
        answerUp();
        AdbReconnect reconnect(nullptr);
        reconnect.start();
        QTRY_COMPARE(callsOf(QStringLiteral("shell")).size(), 1);
        QCOMPARE(callsOf(QStringLiteral("connect")).first().arguments, (QStringList{"connect", ""}));
        QCOMPARE(callsOf(QStringLiteral("shell")).first().arguments, (QStringList{"-s", ":5555", "shell"}));
        QVERIFY(log().contains(QStringLiteral("[AdbReconnect] [logcat] No device, no capture")));
        reconnect.stop();
        QVERIFY(callsOf(QStringLiteral("logcat")).isEmpty());
    }

    void captureEnd_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("line");
        QTest::newRow("failure") << 3 << "[Warning] [AdbReconnect] [logcat] Process exited with result 3";
        QTest::newRow("normal") << 0 << "[Debug] [AdbReconnect] [logcat] Process exited normally";
    }

    void captureEnd()
    {
        QFETCH(int, code);
        QFETCH(QString, line);
        answerUp();
        m_adb.answer(QStringLiteral("logcat"), "- waiting for device -\n", code);
        AdbReconnect reconnect(&m_machine);
        reconnect.start();
        QTRY_VERIFY(log().contains(line));
        reconnect.stop();
    }

    void threadCarriesTheCycle()
    {
        answerUp();
        auto *thread = new AdbReconnectThread(&m_machine);
        QSignalSpy started(thread, &QThread::started);
        thread->start(QThread::InheritPriority);
        QVERIFY(started.count() == 1 || started.wait(5000));
        QTRY_COMPARE(callsOf(QStringLiteral("shell")).size(), 1);
        QTRY_COMPARE(callsOf(QStringLiteral("logcat")).size(), 1);
        thread->quit();
        QVERIFY(thread->wait(10000));
        delete thread;
        QVERIFY(processGone(callsOf(QStringLiteral("shell")).first().pid));
        QVERIFY(processGone(callsOf(QStringLiteral("logcat")).first().pid));
        // Nothing complained about objects of the finished thread.
        QVERIFY2(log().matching(QStringLiteral("[Warning]")).isEmpty(), qPrintable(log().messages().join('\n')));
        QVERIFY(log().matching(QStringLiteral("[Error]")).isEmpty());
    }
};

CALDERWICK_TEST_MAIN(TestAdbReconnect)
#include "tst_adbreconnect.moc"
