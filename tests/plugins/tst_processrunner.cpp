// The runner of VBoxManage: outputs, exit codes, and a hung tool killed at its limit.

#include "logreader.h"
#include "processrunner.h"
#include "testenvironment.h"

#include <QElapsedTimer>
#include <QFile>
#include <QtTest>

#include <csignal>

class TestProcessRunner : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;

    // A script standing in for the tool.
    QString script(const QString &name, const QByteArray &body)
    {
        const QString path = dir.filePath(name);
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly))
            return QString();
        file.write("#!/bin/sh\n" + body + "\n");
        file.close();
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        return path;
    }

private slots:
    void outputsAndExitCode()
    {
        ProcessRunner runner(script("tool", "echo \"out $1 $2\"; echo \"err\" >&2; exit 3"));
        const ProcessRunner::Result result = runner.run({"first", "second word"}, 5000);
        QVERIFY(result.started);
        QVERIFY(!result.timedOut);
        QCOMPARE(result.exitCode, 3);
        QVERIFY(!result.ok());
        QCOMPARE(result.standardOutput, QByteArray("out first second word\n"));
        QCOMPARE(result.standardError, QByteArray("err\n"));
    }

    void hungToolIsKilledAtItsLimit()
    {
        LogReader log;
        const QString pidFile = dir.filePath("hung.pid");
        ProcessRunner runner(script("hung", "echo $$ > '" + pidFile.toUtf8() + "'; exec sleep 60"));
        QElapsedTimer clock;
        clock.start();
        const ProcessRunner::Result result = runner.run({"showvminfo", "x"}, 400);
        QVERIFY(clock.elapsed() >= 400);
        QVERIFY2(clock.elapsed() < 3000, "the runner waited far past its limit");
        QVERIFY(result.started);
        QVERIFY(result.timedOut);
        QVERIFY(!result.ok());
        QVERIFY(log.contains("[VBoxManage] hung showvminfo x did not finish within 400 ms and was killed"));
        QFile file(pidFile);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const qint64 pid = file.readAll().trimmed().toLongLong();
        QVERIFY(pid > 0);
        QCOMPARE(::kill(pid_t(pid), 0), -1); // the tool is gone, not left behind
    }

    void missingProgram()
    {
        LogReader log;
        ProcessRunner runner(dir.filePath("no-such-tool"));
        const ProcessRunner::Result result = runner.run({"list", "vms"}, 2000);
        QVERIFY(!result.started);
        QVERIFY(!result.ok());
        QVERIFY(log.contains("[VBoxManage] cannot run no-such-tool list vms"));
        ProcessRunner empty;
        QVERIFY(!empty.run({"list", "vms"}, 2000).started);
    }

    void crashIsReported()
    {
        LogReader log;
        ProcessRunner runner(script("crash", "kill -SEGV $$"));
        const ProcessRunner::Result result = runner.run({}, 5000);
        QVERIFY(result.crashed);
        QVERIFY(!result.ok());
        QVERIFY(log.contains("[VBoxManage] crash  crashed"));
    }

    void outputIsBounded()
    {
        // Far more output than any VBoxManage command gives: kept up to the bound, no more,
        // and a tool that ends with 0 succeeds.
        ProcessRunner runner(script("talkative", "head -c 6000000 /dev/zero"));
        const ProcessRunner::Result result = runner.run({}, 20000);
        QVERIFY(result.ok());
        QCOMPARE(result.standardOutput.size(), ProcessRunner::MaxOutputBytes);
    }

    void runLoggedNamesTheFailure()
    {
        LogReader log;
        ProcessRunner runner(script("failing", "echo \"VBoxManage: error: Machine 'x' is not currently running\" >&2; "
                                               "exit 1"));
        ProcessRunner::Result result;
        QVERIFY(!runner.runLogged({"controlvm", "x", "poweroff"}, 5000, "[Test] stop:", &result));
        QCOMPARE(result.exitCode, 1);
        QVERIFY(log.contains("[Test] stop: Machine 'x' is not currently running"));
    }
};

CALDERWICK_TEST_MAIN(TestProcessRunner)
#include "tst_processrunner.moc"
