// The version gate and the device updater in the whole player, over simulated machines, the
// fake cloud and nginx as the download server: an older device system shows the gate once
// per process; the update logs in, resumes a partial OVA byte-exact, checks it, upgrades the
// machine and restarts into the new system; each failure ends on its message with the device
// and the template folder untouched, and the player keeps running.

#include "authenticator.h"
#include "fakecloudserver.h"
#include "nginxserver.h"
#include "simulatedplayer.h"
#include "testenvironment.h"

#include <QCryptographicHash>
#include <QLocalSocket>
#include <QScopeGuard>
#include <QScopedPointer>
#include <QSettings>

namespace {

using Home = SimulatedPlayer::Home;
const QString Gate = QStringLiteral("[Debug] [checkVersion] System version lower than software versions");

// The visible windows of that title (its key, untranslated), newest last.
QStringList windowIds(const QString &title)
{
    QProcess search;
    search.start(QStringLiteral("xdotool"), {"search", "--onlyvisible", "--name", "^" + title + "$"});
    if (!search.waitForFinished(5000)) {
        search.kill();
        search.waitForFinished();
        return {};
    }
    return QString::fromLatin1(search.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
}

QString windowId(const QString &title)
{
    return windowIds(title).value(windowIds(title).size() - 1);
}

// Without a window manager keys reach windows unreliably: clicks the button in the bottom
// right corner of the window instead (the offer, "start.device", or "No" of a question).
bool clickCorner(const QString &title)
{
    const QString id = windowId(title);
    if (id.isEmpty())
        return false;
    QProcess geometry;
    geometry.start(QStringLiteral("xdotool"), {"getwindowgeometry", "--shell", id});
    if (!geometry.waitForFinished(5000))
        return false;
    const QString out = QString::fromLatin1(geometry.readAllStandardOutput());
    const int width = QRegularExpression("WIDTH=(\\d+)").match(out).captured(1).toInt();
    const int height = QRegularExpression("HEIGHT=(\\d+)").match(out).captured(1).toInt();
    return width > 40 && height > 40
           && QProcess::execute(QStringLiteral("xdotool"), {"mousemove", "--window", id, QString::number(width - 20),
                                                           QString::number(height - 20), "click", "1"}) == 0;
}

// The last lines of the player's log, for a failure's message.
QByteArray tail(const Home &home, const QString &vm)
{
    QStringList lines = SimulatedPlayer::log(home, vm);
    lines.erase(std::remove_if(lines.begin(), lines.end(), [](const QString &l) {
                                   return !QRegularExpression("checkVersion|Update|login|ownload|doRequest|Error|Warning|Fatal").match(l).hasMatch();
                               }),
                lines.end());
    return lines.mid(qMax(0, lines.size() - 12)).join('\n').toUtf8();
}

bool whenShown(const std::function<bool(const QString &)> &press, const QString &title)
{
    return QTest::qWaitFor([&] { return press(title); }, 30000);
}

bool waitForLogStart(const Home &home, const QString &vm, const QString &start, int ms)
{
    return QTest::qWaitFor(
        [&] {
            const QStringList log = SimulatedPlayer::log(home, vm);
            return std::any_of(log.begin(), log.end(), [&](const QString &line) { return line.startsWith(start); });
        },
        ms);
}

// One command to the machine's running devicesim, through its control socket.
QByteArray control(const Home &home, const QString &vm, const QByteArray &command)
{
    QLocalSocket socket;
    socket.connectToServer(SimulatedPlayer::machineDir(home, vm) + "/control");
    if (!socket.waitForConnected(5000))
        return socket.errorString().toUtf8();
    socket.write(command + '\n');
    while (!socket.canReadLine() && socket.waitForReadyRead(5000)) {
    }
    return socket.readLine().trimmed();
}

} // namespace

class TestDeviceUpdate : public QObject
{
    Q_OBJECT

    SimulatedPlayer sim;
    FakeCloudServer cloud;
    NginxServer nginx;
    QString program;
    QByteArray ova;
    int hosts = 2;
    QString vm; // each test its own machine name: a player's single-instance identity outlives it briefly

    // A machine vm whose device runs system 2.5.0, with stored credentials and the cloud.
    Home prepare(const QString &cloudRoot, bool statistics = false)
    {
        Home home = sim.newHome(statistics);
        const QString address = TestEnvironment::loopback(++hosts);
        vm = QStringLiteral("dev%1").arg(hosts);
        [&] { QCOMPARE(sim.createMachine(home, vm, address), 0); }();
        sim.vboxManage(home, {"guestproperty", "set", vm, "/Calderwick/SystemVersion", "2.5.0"});
        // An aapt, so that no warning box stands over the gate's dialog.
        QDir().mkpath(home.path + "/sdk/build-tools/30.0.0");
        QFile aapt(home.path + "/sdk/build-tools/30.0.0/aapt");
        aapt.open(QIODevice::WriteOnly);
        aapt.write("#!/bin/sh\nexit 0\n");
        aapt.setPermissions(aapt.permissions() | QFileDevice::ExeOwner);
        aapt.close();
        QSettings settings(home.path + "/.config/Brackenlea/Calderwick.conf", QSettings::IniFormat);
        settings.setValue("cloud.root.url", cloudRoot);
        settings.setValue("credentials.username", "ada");
        settings.setValue("credentials.password", Authenticator::scramble("secret"));
        return home;
    }

    QString ovaPath(const Home &home) const { return home.path + "/.Brackenlea/Calderwick/ova/sys-2.6.1.ova"; }
    QString systemVersion(const Home &home) const
    {
        QByteArray out;
        sim.vboxManage(home, {"guestproperty", "get", vm, "/Calderwick/SystemVersion"}, &out);
        return QString::fromUtf8(out).trimmed();
    }

    void scriptCloud(const QByteArray &hash, int loginStatus, const QString &ovaUrl)
    {
        cloud.reset();
        cloud.script("/launchpad/last_version/linux/x64/",
                     {FakeCloudServer::Answer::json(200, "{\"version\":\"2.6.0\",\"url\":\"http://example.invalid/player\"}")});
        cloud.script("/launchpad/login/",
                     {FakeCloudServer::Answer::json(loginStatus, "{\"email\":\"ada@example.org\",\"customer_uuid\":\"c1\",\"desc\":\"no\"}")});
        const QByteArray system = "{\"uuid\":\"s1\",\"platform\":\"p\",\"aosp_version\":\"9.0\",\"version_number\":\"2.6.1\","
                                  "\"ova_name\":\"sys-2.6.1.ova\",\"ova_size\":" + QByteArray::number(ova.size())
                                  + ",\"ova_hash\":\"" + hash + "\"}";
        cloud.script("/vmtemplate/getall",
                     {FakeCloudServer::Answer::json(200, "[{\"vmtemplate_uuid\":\"t-old\",\"name\":\"old\",\"system_version\":{\"platform\":\"p\","
                                                           "\"aosp_version\":\"9.0\",\"version_number\":\"2.4.0\"}},"
                                                           "{\"vmtemplate_uuid\":\"t1\",\"name\":\"Phone\",\"system_version\":" + system + "}]")});
        cloud.script("/vmtemplate/t1/getova", {FakeCloudServer::Answer::json(
                                                  200, "[{\"url\":\"" + ovaUrl.toUtf8() + "\",\"size\":\""
                                                           + QByteArray::number(ova.size()) + "\"}]")});
        cloud.script("", {FakeCloudServer::Answer::json(200, "<html><body>slides</body></html>")});
    }

    QProcess *startPlayer(const Home &home)
    {
        return sim.startPlayer(home, {"-n", vm}, program);
    }

    void stop(const Home &home, QProcess *player)
    {
        sim.run(home, program, {"-n", vm, "--poweroff"});
        if (!player->waitForFinished(20000))
            player->kill();
        player->waitForFinished(5000);
    }

private slots:
    void initTestCase()
    {
        QVERIFY2(!qEnvironmentVariableIsEmpty("DISPLAY"), "runs under xvfb-run");
        sim.extra.insert("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent"); // no keyring: scrambled password
        program = sim.install("player", SimulatedPlayer::bin() + "/plugins/libvboxmanage.so");
        QVERIFY(!program.isEmpty());
        QVERIFY(QFile::copy(SimulatedPlayer::bin() + "/simtools/device-upgrade", QFileInfo(program).path() + "/device-upgrade"));
        QVERIFY(!cloud.start().isEmpty());
        QVERIFY(nginx.isValid());
        QDir(nginx.root()).mkpath("files");
        QVERIFY(NginxServer::writePattern(nginx.root() + "/files/pattern", 3 * 1024 * 1024 + 17));
        QFile pattern(nginx.root() + "/files/pattern");
        QVERIFY(pattern.open(QIODevice::ReadOnly));
        ova = "calderwick-ova\nsystem-version=2.6.1\nandroid-version=9.0\n" + pattern.readAll();
        QFile file(nginx.root() + "/files/sys.ova");
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(ova) == ova.size());
        file.close();
        QVERIFY(nginx.enableTls() && nginx.start());
    }

    void cleanupTestCase() { sim.powerOffAll(); }

    void olderSystemShowsTheGateOncePerProcess()
    {
        const Home home = prepare(cloud.start());
        QScopedPointer<QProcess> player(startPlayer(home));
        // Also after a failed check: a killed player would leave its device and windows behind.
        const auto guard = qScopeGuard([&] { stop(home, player.data()); });
        QVERIFY2(SimulatedPlayer::waitForLog(home, vm, Gate), tail(home, vm));
        const QStringList log = SimulatedPlayer::log(home, vm);
        QVERIFY(log.contains("[Debug] [CalderwickClient] Using persistant connection with virtual device"));
        QVERIFY(log.contains("[Debug] [compareVersions] System version: \"2.5.0\""));
        QTRY_VERIFY_WITH_TIMEOUT(!windowId("difference.of.versions.detected").isEmpty(), 10000);
        // The device drops the event channel: the player reconnects and asks for the
        // capabilities again, and the answer leaves the gate alone.
        const auto count = [&](const QString &message) { return SimulatedPlayer::log(home, vm).count(message); };
        const QString connected = QStringLiteral("[Debug] Events Manager connected");
        const QString answered = QStringLiteral("[Debug] Got ok from capabilities request");
        QTest::qWait(3000); // the requests of the start are answered
        const int answers = count(answered);
        QCOMPARE(count(connected), 1);
        QCOMPARE(control(home, vm, "close event"), QByteArray("ok"));
        QTRY_COMPARE_WITH_TIMEOUT(count(connected), 2, 20000);
        QTRY_VERIFY_WITH_TIMEOUT(count(answered) > answers, 20000);
        QTest::qWait(500);
        QCOMPARE(count(Gate), 1);
        QCOMPARE(windowIds("difference.of.versions.detected").size(), 1);
    }

    void updateResumesChecksUpgradesAndRestarts()
    {
        const Home home = prepare(cloud.start(), true);
        scriptCloud(QCryptographicHash::hash(ova, QCryptographicHash::Sha1).toHex(), 200, nginx.url("/files/sys.ova"));
        // A transfer broken after its first megabyte.
        QDir().mkpath(QFileInfo(ovaPath(home)).path());
        QFile partial(ovaPath(home));
        QVERIFY(partial.open(QIODevice::WriteOnly) && partial.write(ova.left(1024 * 1024)) == 1024 * 1024);
        partial.close();

        QScopedPointer<QProcess> player(startPlayer(home));
        // Also after a failed check: a killed player would leave its device and windows behind.
        const auto guard = qScopeGuard([&] { stop(home, player.data()); });
        QVERIFY2(SimulatedPlayer::waitForLog(home, vm, Gate), tail(home, vm));
        QVERIFY(whenShown(clickCorner, "difference.of.versions.detected"));
        QVERIFY2(SimulatedPlayer::waitForLog(home, vm, "[Debug] [DeviceUpdate] Updater done: 0", 60000), tail(home, vm));
        const QStringList log = SimulatedPlayer::log(home, vm);
        QVERIFY(log.contains("[Debug] [login] User authenticated: ada"));
        QVERIFY(log.contains("[Debug] Resume download mode: available"));
        QFile local(ovaPath(home));
        QVERIFY(local.open(QIODevice::ReadOnly));
        QVERIFY(local.readAll() == ova);
        QVERIFY(QFile::exists(home.path + "/.Brackenlea/Calderwick/templates/t1.bin"));
        QCOMPARE(systemVersion(home), QStringLiteral("Value: 2.6.1"));
        // The login delivered the day's statistics, this start among them, and they left the store.
        QStringList delivered;
        for (const FakeCloudServer::Received &request : qAsConst(cloud.received)) {
            if (request.path == "/stats/report/calderwick/" && request.body.startsWith("events=")) {
                const QByteArray batch = QByteArray::fromPercentEncoding(request.body.mid(7));
                QRegularExpressionMatchIterator row = QRegularExpression("\"([A-Za-z0-9+/=]+)\",").globalMatch(QString::fromLatin1(batch));
                while (row.hasNext())
                    delivered << QString::fromUtf8(QByteArray::fromBase64(row.next().captured(1).toLatin1()));
            }
        }
        QCOMPARE(delivered.filter("\"event\":\"player_start\"").filter("\"vm-version\":\"2.5.0\"").size(), 1);
        QVERIFY(SimulatedPlayer::statsEvents(home, "player_start").filter("\"vm-version\":\"2.5.0\"").isEmpty());

        QVERIFY(whenShown(clickCorner, "virtual.device.update.wizard"));
        QVERIFY(player->waitForFinished(30000));
        // The new player runs the device's new system: no gate any more.
        QVERIFY2(SimulatedPlayer::waitForLog(home, vm, "[Debug] [compareVersions] System version: \"2.6.1\"", 60000), tail(home, vm));
    }

    void olderPlayerIsUpdatedFirst()
    {
        scriptCloud("unused", 200, nginx.url("/files/sys.ova"));
        cloud.script("/launchpad/last_version/linux/x64/",
                     {FakeCloudServer::Answer::json(200, "{\"version\":\"2.7.0\",\"url\":\"http://example.invalid/player\"}")});
        const Home home = prepare(cloud.start());
        QScopedPointer<QProcess> player(startPlayer(home));
        const auto guard = qScopeGuard([&] { stop(home, player.data()); });
        QVERIFY2(SimulatedPlayer::waitForLog(home, vm, Gate), tail(home, vm));
        QVERIFY(whenShown(clickCorner, "difference.of.versions.detected"));
        // The gate comes back as the offer of the newer player, without the status box.
        QTRY_VERIFY_WITH_TIMEOUT(!windowId("calderwick.update.required").isEmpty(), 20000);
        QVERIFY(windowId("virtual.device.update.preparation").isEmpty());
        QVERIFY(!SimulatedPlayer::log(home, vm).contains("[Debug] [login] User authenticated: ada"));
        QCOMPARE(systemVersion(home), QStringLiteral("Value: 2.5.0"));
    }

    void failuresLeaveTheDeviceAlone_data()
    {
        QTest::addColumn<QByteArray>("hash");
        QTest::addColumn<int>("loginStatus");
        QTest::addColumn<bool>("cloudDown");
        QTest::addColumn<bool>("tls"); // the OVA from a server whose certificate nobody trusts
        QTest::addColumn<QByteArray>("faults");
        QTest::addColumn<QString>("question"); // a window that comes and is answered by its corner button
        QTest::addColumn<QString>("expected");
        QTest::addColumn<bool>("statusBox"); // the gate's status box ends with the reason
        const QByteArray good = "good";
        QTest::newRow("bad SHA-1") << QByteArray("0000") << 200 << false << false << QByteArray()
                                   << "checking.file.integrity" // "No": no second download
                                   << "[Debug] [DeviceUpdate] Update failed: downloaded.file.is.corrupted" << false;
        QTest::newRow("login refused") << good << 403 << false << false << QByteArray()
                                       << "connect.to.hub" // the login dialog, cancelled
                                       << "[Debug] [checkVersion] you.must.be.logged.to.update.your.device" << true;
        QTest::newRow("cloud unreachable") << good << 200 << true << false << QByteArray() << QString()
                                           << "[Debug] [checkVersion] no.internet.access" << true;
        QTest::newRow("certificate refused")
            << good << 200 << false << true << QByteArray() << QString()
            << "[Debug] [DeviceUpdate] Update failed: unable.to.retrieve.latest.update.for.device:server.certificate.refused ("
            << false;
        QTest::newRow("device-upgrade fails") << good << 200 << false << false << QByteArray("upgrade-exit 5\n") << QString()
                                              << "[Debug] [DeviceUpdate] Update failed: unable.to.migrate.your.data" << false;
    }

    void failuresLeaveTheDeviceAlone()
    {
        QFETCH(QByteArray, hash);
        QFETCH(int, loginStatus);
        QFETCH(bool, cloudDown);
        QFETCH(bool, tls);
        QFETCH(QByteArray, faults);
        QFETCH(QString, question);
        QFETCH(QString, expected);
        QFETCH(bool, statusBox);
        if (hash == "good")
            hash = QCryptographicHash::hash(ova, QCryptographicHash::Sha1).toHex();
        scriptCloud(hash, loginStatus, tls ? nginx.tlsUrl("/files/sys.ova") : nginx.url("/files/sys.ova"));
        // A port nothing listens on: the cloud is down.
        const Home home = prepare(cloudDown ? "http://" + TestEnvironment::loopback(1) + ":9" : cloud.start());
        QVERIFY(SimulatedPlayer::writeFaults(home, vm, faults));
        QScopedPointer<QProcess> player(startPlayer(home));
        // Also after a failed check: a killed player would leave its device and windows behind.
        const auto guard = qScopeGuard([&] { stop(home, player.data()); });
        QVERIFY2(SimulatedPlayer::waitForLog(home, vm, Gate), tail(home, vm));
        QVERIFY(whenShown(clickCorner, "difference.of.versions.detected"));
        if (!question.isEmpty())
            QVERIFY(whenShown(clickCorner, question));
        QVERIFY2(waitForLogStart(home, vm, expected, 60000), tail(home, vm));
        QCOMPARE(systemVersion(home), QStringLiteral("Value: 2.5.0"));
        QVERIFY(!QFile::exists(home.path + "/.Brackenlea/Calderwick/templates/t1.bin") || !faults.isEmpty());
        if (tls)
            QVERIFY(QFileInfo(ovaPath(home)).size() == 0);
        if (statusBox) {
            // The reason stands in the status box until the user goes on with the device as it is.
            QVERIFY(whenShown(clickCorner, "virtual.device.update.preparation"));
            QTRY_VERIFY_WITH_TIMEOUT(windowId("virtual.device.update.preparation").isEmpty(), 10000);
            QVERIFY(windowId("difference.of.versions.detected").isEmpty());
            QCOMPARE(player->state(), QProcess::Running);
        }
    }
};

CALDERWICK_TEST_MAIN(TestDeviceUpdate)
#include "tst_deviceupdate.moc"
