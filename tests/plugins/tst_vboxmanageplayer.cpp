// The player's start chain with the real engine plug-in (bin/plugins) over the VBoxManage
// stand-in, offscreen: the machine starts headless, its devicesim answers on the address the
// chain reports, and the player's exit powers the machine off again. The failures, the
// window and the attach run on the X server in tst_playerstart.

#include "simulatedplayer.h"
#include "testenvironment.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QProcess>
#include <QTcpSocket>
#include <QtTest>

class TestVBoxManagePlayer : public QObject
{
    Q_OBJECT

    using Home = SimulatedPlayer::Home;
    SimulatedPlayer sim;

    Home newHome()
    {
        // Statistics are not what this test is about: without them no player exit waits
        // on the statistics thread.
        return sim.newHome(false);
    }

    // The player's log once it has moved to the machine's log folder.
    static QStringList deviceLog(const Home &home, const QString &machine)
    {
        QFile file(SimulatedPlayer::machineDir(home, machine) + "/Logs/calderwick-player.log");
        if (!file.open(QIODevice::ReadOnly))
            return {};
        QStringList messages;
        for (const QString &line : QString::fromUtf8(file.readAll()).split('\n', Qt::SkipEmptyParts))
            messages << line.section("] ", 1);
        return messages;
    }

    // Starts the player, waits for the address line, then makes sure the player ends
    // (offscreen the window has no subwindow and ends the player; should it run on, it is
    // told to power off).
    QStringList startPlayer(const Home &home, const QString &machine)
    {
        QScopedPointer<QProcess> player(sim.startPlayer(home, {"-s", "-n", machine}));
        if (player->state() == QProcess::NotRunning)
            return {};
        QDeadlineTimer deadline(30000);
        while (!deadline.hasExpired() && player->state() == QProcess::Running
               && deviceLog(home, machine).filter("Attributed IP address").isEmpty())
            QTest::qWait(100);
        if (player->state() != QProcess::NotRunning && !player->waitForFinished(10000))
            sim.powerOff(home, machine, player.data());
        return deviceLog(home, machine);
    }

    QByteArray machineState(const Home &home, const QString &machine) { return sim.machineState(home, machine); }

private slots:
    void initTestCase() { sim.platform = QStringLiteral("offscreen"); }

    // A failed check must not leave a simulated device serving behind.
    void cleanupTestCase() { sim.powerOffAll(); }

    void startsAndStopsTheMachine()
    {
        const Home home = newHome();
        QCOMPARE(sim.createMachine(home, "Pixel", "127.0.0.65"), 0);
        // Off the host-only network at first, so the chain has to attach it.
        QCOMPARE(sim.vboxManage(home, {"modifyvm", "Pixel", "--nic1", "nat"}), 0);
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
        QCOMPARE(sim.createMachine(home, "Old", "127.0.0.66", {"--cpus", "4"}), 0);
        QVERIFY(SimulatedPlayer::writeFaults(home, "Old", "vmx-unsupported\n"));
        const QStringList log = startPlayer(home, "Old");
        const QString all = log.join('\n');
        QVERIFY2(log.contains("[Debug] Unable to start because VMX flag not supported. Trying to reduce CPU number to 1"),
                 qPrintable(all));
        QVERIFY2(log.contains("[Debug] Proc number successfully set to 1"), qPrintable(all));
        QVERIFY2(log.contains("[Debug] Calderwick system started. Attributed IP address: 127.0.0.66"), qPrintable(all));
        QCOMPARE(machineState(home, "Old"), QByteArray("VMState=\"poweroff\""));
    }
};

CALDERWICK_TEST_MAIN(TestVBoxManagePlayer)
#include "tst_vboxmanageplayer.moc"
