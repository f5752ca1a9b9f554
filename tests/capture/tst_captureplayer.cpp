// The capture keys in the player program itself, sent by xdotool to its window on the X
// server of the test run: a screenshot of a turned device comes out upright, and a recording
// running when the player is told to power off is a whole file.

#include "mediajudges.h"
#include "simulatedplayer.h"
#include "testenvironment.h"

#include <QImage>
#include <QSettings>

class TestCapturePlayer : public QObject
{
    Q_OBJECT

    SimulatedPlayer sim;
    QProcess device;
    QTemporaryDir scratch;

    QByteArray control(const QByteArray &command)
    {
        device.readAllStandardOutput();
        device.write(command + '\n');
        QByteArray answer;
        QTest::qWaitFor([&] { return (answer += device.readAllStandardOutput()).contains('\n'); }, 5000);
        return answer.trimmed();
    }

    static void sendKeys(const QString &window, const QString &keys)
    {
        MediaJudges::run("xdotool", {"windowfocus", "--sync", window, "key", keys});
    }

    static QStringList files(const QString &folder, const QString &pattern)
    {
        return QDir(folder).entryList({pattern}, QDir::Files, QDir::Time);
    }

private slots:
    void cleanupTestCase()
    {
        device.write("quit\n");
        if (!device.waitForFinished(3000))
            device.kill();
    }

    void keysInThePlayer()
    {
        device.start(SimulatedPlayer::bin() + "/devicesim",
                     {"--address", TestEnvironment::loopback(1), "--size", "720x1280"});
        QByteArray ready;
        QVERIFY(QTest::qWaitFor([&] { return (ready += device.readAllStandardOutput()).contains("devicesim ready"); }, 5000));
        const QString program = sim.install("install", CALDERWICK_TEST_BIN_DIR "/../plugins/scripted/libvboxmanage.so");
        const SimulatedPlayer::Home home = sim.newHome(false);
        QSettings ini(home.path + "/engine.ini", QSettings::IniFormat);
        ini.setValue("machine/ip", TestEnvironment::loopback(1));
        ini.sync();
        sim.extra.insert("SCRIPTED_ENGINE", ini.fileName());
        QScopedPointer<QProcess> player(sim.startPlayer(home, {"-s", "-n", "dev"}, program));
        QVERIFY2(SimulatedPlayer::waitForLog(home, "dev", "[Debug] Signaling clipboard modification"),
                 qPrintable(SimulatedPlayer::log(home, "dev").join('\n')));
        const QString window = MediaJudges::run("xdotool", {"search", "--name", "^Calderwick - dev "}).split('\n').value(0);
        QVERIFY(!window.isEmpty());
        const QString folder = home.path + "/dev/";

        QCOMPARE(control("set Accelerometer 9.8|0|0"), QByteArray("ok"));
        QTest::qWait(1000); // the turn reaches the window
        sendKeys(window, "ctrl+shift+s");
        QVERIFY(QTest::qWaitFor([&] { return !files(folder, "screenshot-*.png").isEmpty(); }, 5000));
        QTest::qWait(200);
        const QImage saved(folder + files(folder, "screenshot-*.png").value(0));
        QCOMPARE(control("screenshot " + scratch.filePath("device.png").toUtf8()), QByteArray("ok"));
        const QImage expected = QImage(scratch.filePath("device.png")).transformed(QTransform().rotate(-90));
        QCOMPARE(saved.size(), QSize(1280, 720));
        int differing = 0;
        for (int y = 0; y < saved.height(); y += 4)
            for (int x = 0; x < saved.width(); x += 4)
                differing += saved.pixel(x, y) != expected.pixel(x, y);
        QVERIFY2(differing < 576, qPrintable(QString::number(differing))); // under 1% of the samples

        sendKeys(window, "ctrl+shift+v");
        QTest::qWait(2500);
        QVERIFY(sim.powerOff(home, "dev", player.data()));
        const QString video = folder + files(folder, "screencast-Calderwick-*.webm").value(0);
        int status = -1;
        const QByteArray info = MediaJudges::run("mkvinfo", {"-v", video}, &status);
        QVERIFY2(status == 0 && info.contains("Cues") && info.contains("Duration"), info.constData());
        QVERIFY2(info.contains("V_VP8") && info.contains("A_VORBIS"), info.constData());
    }
};

CALDERWICK_TEST_MAIN(TestCapturePlayer)
#include "tst_captureplayer.moc"
