// The player's start chain with the real engine plug-in (bin/plugins) over the VBoxManage
// stand-in: the machine starts headless, its devicesim answers on the address the chain
// reports, and the player's exit powers the machine off again.

#include "testenvironment.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QProcess>
#include <QTcpSocket>
#include <QtTest>

namespace {

const QString Bin = QStringLiteral(CALDERWICK_BIN_DIR);

} // namespace

class TestVBoxManagePlayer : public QObject
{
    Q_OBJECT

    QTemporaryDir root;
    int homes = 0;

    struct Home
    {
        QString path;
        QString store;
    };

    Home newHome()
    {
        Home home;
        home.path = root.filePath(QStringLiteral("home%1").arg(++homes));
        home.store = home.path + "/devicesim";
        QDir().mkpath(home.path + "/tmp");
        // Statistics are not what this test is about: without them no player exit waits
        // on the statistics thread.
        QDir().mkpath(home.path + "/.config/Brackenlea");
        // adb comes from an SDK folder holding a stand-in that answers every call with
        // success, so that no real adb server starts beside the tests.
        const QString tools = home.path + "/sdk/platform-tools";
        QDir().mkpath(tools);
        QFile adb(tools + "/adb");
        if (adb.open(QIODevice::WriteOnly)) {
            adb.write("#!/bin/sh\nexit 0\n");
            adb.close();
            adb.setPermissions(adb.permissions() | QFileDevice::ExeOwner);
        }
        QFile settings(home.path + "/.config/Brackenlea/Calderwick.conf");
        if (settings.open(QIODevice::WriteOnly))
            settings.write("[General]\nstats.send.stats=false\nandroid.sdk.use=true\nandroid.sdk.path=" + home.path.toUtf8()
                           + "/sdk\n");
        return home;
    }

    QProcessEnvironment environment(const Home &home)
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("HOME", home.path);
        env.insert("XDG_CONFIG_HOME", home.path + "/.config");
        env.insert("TMPDIR", home.path + "/tmp");
        env.insert("QT_QPA_PLATFORM", "offscreen");
        env.insert("DEVICESIM_HOME", home.store);
        env.insert("PATH", Bin + "/simtools:" + env.value("PATH"));
        env.remove("CALDERWICK_VBOXMANAGE");
        return env;
    }

    int run(const Home &home, const QString &program, const QStringList &arguments, QByteArray *output = nullptr)
    {
        QProcess process;
        process.setProcessEnvironment(environment(home));
        process.start(program, arguments);
        if (!process.waitForFinished(20000)) {
            process.kill();
            process.waitForFinished();
            return -1;
        }
        if (output)
            *output = process.readAllStandardOutput() + process.readAllStandardError();
        return process.exitCode();
    }

    // The player's log once it has moved to the machine's log folder.
    static QStringList deviceLog(const Home &home, const QString &machine)
    {
        QFile file(home.store + "/machines/" + machine + "/Logs/calderwick-player.log");
        if (!file.open(QIODevice::ReadOnly))
            return {};
        QStringList messages;
        for (const QString &line : QString::fromUtf8(file.readAll()).split('\n', Qt::SkipEmptyParts))
            messages << line.section("] ", 1);
        return messages;
    }

    // Starts the player, waits for the address line, then makes sure the player ends
    // (a build with the window keeps running until told to power off).
    QStringList startPlayer(const Home &home, const QString &machine)
    {
        QProcess player;
        player.setProcessEnvironment(environment(home));
        player.start(Bin + "/player", {"-s", "-n", machine});
        if (!player.waitForStarted(5000))
            return {};
        QDeadlineTimer deadline(30000);
        while (!deadline.hasExpired() && player.state() == QProcess::Running
               && deviceLog(home, machine).filter("Attributed IP address").isEmpty())
            QTest::qWait(100);
        // This build ends by itself after the address (it has no window yet); one with the
        // window keeps running until told to power off.
        if (player.state() != QProcess::NotRunning && !player.waitForFinished(10000)) {
            run(home, Bin + "/player", {"-n", machine, "-x"});
            if (!player.waitForFinished(30000)) {
                player.kill();
                player.waitForFinished();
            }
        }
        return deviceLog(home, machine);
    }

    QByteArray machineState(const Home &home, const QString &machine)
    {
        QByteArray output;
        run(home, Bin + "/simtools/VBoxManage", {"showvminfo", machine, "--machinereadable"}, &output);
        for (const QByteArray &line : output.split('\n')) {
            if (line.startsWith("VMState="))
                return line;
        }
        return output;
    }

private slots:
    void cleanupTestCase()
    {
        // A failed check must not leave a simulated device serving behind.
        for (int i = 1; i <= homes; ++i) {
            Home home;
            home.path = root.filePath(QStringLiteral("home%1").arg(i));
            home.store = home.path + "/devicesim";
            for (const QString &name : QDir(home.store + "/machines").entryList(QDir::Dirs | QDir::NoDotAndDotDot))
                run(home, Bin + "/simtools/VBoxManage", {"controlvm", name, "poweroff"});
        }
    }

    void startsAndStopsTheMachine()
    {
        const Home home = newHome();
        QCOMPARE(run(home, Bin + "/devicesim",
                     {"create", "Pixel", "--size", "720x1280", "--dpi", "320", "--address", "127.0.0.65"}),
                 0);
        // Off the host-only network at first, so the chain has to attach it.
        QCOMPARE(run(home, Bin + "/simtools/VBoxManage", {"modifyvm", "Pixel", "--nic1", "nat"}), 0);
        const QStringList log = startPlayer(home, "Pixel");
        const QString all = log.join('\n');
        QVERIFY2(log.contains("[Debug] Network adapter configured"), qPrintable(all));
        QVERIFY2(log.contains("[Debug] Virtual Machine status: off"), qPrintable(all));
        QVERIFY2(log.contains("[Debug] Virtual Machine started."), qPrintable(all));
        QVERIFY2(log.contains("[Debug] Calderwick system started. Attributed IP address: 127.0.0.65"), qPrintable(all));
        // The exit stopped the machine that the chain had started.
        QVERIFY2(machineState(home, "Pixel") == "VMState=\"poweroff\"", qPrintable(all));
        QTcpSocket socket;
        socket.connectToHost("127.0.0.65", 22469);
        QVERIFY(!socket.waitForConnected(1000));
    }

    void retriesWithOneProcessorWhenVmxIsMissing()
    {
        const Home home = newHome();
        QCOMPARE(run(home, Bin + "/devicesim",
                     {"create", "Old", "--size", "720x1280", "--dpi", "320", "--address", "127.0.0.66", "--cpus", "4"}),
                 0);
        QFile faults(home.store + "/machines/Old/faults");
        QVERIFY(faults.open(QIODevice::WriteOnly));
        faults.write("vmx-unsupported\n");
        faults.close();
        const QStringList log = startPlayer(home, "Old");
        const QString all = log.join('\n');
        QVERIFY2(log.contains("[Debug] Unable to start because VMX flag not supported. Trying to reduce CPU number to 1"),
                 qPrintable(all));
        QVERIFY2(log.contains("[Debug] Proc number successfully set to 1"), qPrintable(all));
        QVERIFY2(log.contains("[Debug] Calderwick system started. Attributed IP address: 127.0.0.66"), qPrintable(all));
        QCOMPARE(machineState(home, "Old"), QByteArray("VMState=\"poweroff\""));
    }

    void incompatibleStateEndsWith3()
    {
        const Home home = newHome();
        QCOMPARE(run(home, Bin + "/devicesim", {"create", "Stuck", "--address", "127.0.0.202"}), 0);
        QFile faults(home.store + "/machines/Stuck/faults");
        QVERIFY(faults.open(QIODevice::WriteOnly));
        faults.write("state paused\n");
        faults.close();
        QProcess player;
        player.setProcessEnvironment(environment(home));
        player.start(Bin + "/player", {"-s", "-n", "Stuck"});
        QVERIFY(player.waitForFinished(30000));
        QCOMPARE(player.exitCode(), 3);
        const QStringList log = deviceLog(home, "Stuck");
        QVERIFY2(log.contains("[Error] Failed to stop the device"), qPrintable(log.join('\n')));
    }
};

CALDERWICK_TEST_MAIN(TestVBoxManagePlayer)
#include "tst_vboxmanageplayer.moc"
