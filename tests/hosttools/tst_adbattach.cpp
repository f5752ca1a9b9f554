// The whole player over a simulated machine with Debian's real adb on a private server: the
// start sequence attaches adb to devicesim's daemon, keeps a shell open and captures logcat
// into the machine's log folder; when the adb server dies, the attach comes back by itself.

#include "simulatedplayer.h"
#include "testenvironment.h"

#include <QScopedPointer>
#include <QStandardPaths>
#include <QTcpServer>

class TestAdbAttach : public QObject
{
    Q_OBJECT

    SimulatedPlayer sim;

    static bool journalHas(const SimulatedPlayer::Home &home, const QString &text, int count = 1)
    {
        const QStringList lines = SimulatedPlayer::journal(home, QStringLiteral("dev"), "adb");
        return std::count_if(lines.cbegin(), lines.cend(), [&](const QString &line) { return line.contains(text); }) >= count;
    }

private slots:
    void startAttachesAdbAndCapturesLogcat()
    {
        const QString adb = QStandardPaths::findExecutable(QStringLiteral("adb"));
        if (adb.isEmpty())
            QSKIP("adb is not installed");
        QTcpServer probe;
        QVERIFY(probe.listen(QHostAddress::LocalHost, 0));
        const QString port = QString::number(probe.serverPort());
        probe.close();
        sim.extra.insert(QStringLiteral("ANDROID_ADB_SERVER_PORT"), port);
        const SimulatedPlayer::Home home = sim.newHome(false);
        QFile::remove(home.path + QStringLiteral("/sdk/platform-tools/adb"));
        QVERIFY(QFile::link(adb, home.path + QStringLiteral("/sdk/platform-tools/adb")));
        QCOMPARE(sim.createMachine(home, QStringLiteral("dev"), TestEnvironment::loopback(9)), 0);

        QScopedPointer<QProcess> player(sim.startPlayer(home, {QStringLiteral("-s"), QStringLiteral("-n"), QStringLiteral("dev")}));
        const QString logcat = SimulatedPlayer::machineDir(home, QStringLiteral("dev")) + QStringLiteral("/Logs/logcat.txt");
        QTRY_VERIFY_WITH_TIMEOUT(SimulatedPlayer::lines(logcat).join('\n').contains("I/devicesim(    1): device ready"), 60000);
        QVERIFY(journalHas(home, QStringLiteral("\"service\":\"shell:\"")));

        // A lost adb server: the standing shell ends, and the player connects and attaches again.
        QProcess kill;
        kill.setProcessEnvironment(sim.environment(home));
        kill.start(adb, {QStringLiteral("kill-server")});
        QVERIFY(kill.waitForFinished(20000));
        QTRY_VERIFY_WITH_TIMEOUT(journalHas(home, QStringLiteral("\"service\":\"shell:\""), 2), 60000);

        QVERIFY(sim.powerOff(home, QStringLiteral("dev"), player.data()));
        kill.start(adb, {QStringLiteral("kill-server")});
        kill.waitForFinished(20000);
    }
};

CALDERWICK_TEST_MAIN(TestAdbAttach)
#include "tst_adbattach.moc"
