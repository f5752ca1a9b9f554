#include "testenvironment.h"

#include "authenticator.h"
#include "settings.h"

#include <QProcess>
#include <QSettings>

// The cloud password in a real keyring: a private session bus (no service activation) with
// gnome-keyring unlocked by an empty password; then the same with the keyring gone.
class TestPasswordKeyring : public QObject
{
    Q_OBJECT

    QProcess bus, keyring;

    static QByteArray settingsFile()
    {
        QSettings settings;
        settings.sync();
        QFile file(settings.fileName());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    static bool secretServiceUp()
    {
        QProcess ask;
        ask.start(QStringLiteral("dbus-send"), {"--session", "--print-reply", "--dest=org.freedesktop.DBus", "/org/freedesktop/DBus",
                                                "org.freedesktop.DBus.NameHasOwner", "string:org.freedesktop.secrets"});
        return ask.waitForFinished(3000) && ask.readAllStandardOutput().contains("boolean true");
    }

private slots:
    void initTestCase()
    {
        if (QStandardPaths::findExecutable(QStringLiteral("gnome-keyring-daemon")).isEmpty())
            QSKIP("gnome-keyring is not installed");
        const QString home = TestEnvironment::home().path();
        QFile config(home + QStringLiteral("/bus.conf"));
        QVERIFY(config.open(QIODevice::WriteOnly));
        config.write("<busconfig><type>session</type><listen>unix:path=" + home.toUtf8()
                     + "/bus</listen><auth>EXTERNAL</auth><policy context=\"default\">"
                       "<allow send_destination=\"*\" eavesdrop=\"true\"/><allow eavesdrop=\"true\"/>"
                       "<allow own=\"*\"/></policy></busconfig>");
        config.close();
        bus.start(QStringLiteral("dbus-daemon"), {"--nofork", "--print-address", "--config-file=" + config.fileName()});
        QTRY_VERIFY(bus.canReadLine());
        qputenv("DBUS_SESSION_BUS_ADDRESS", bus.readLine().trimmed());
        keyring.start(QStringLiteral("gnome-keyring-daemon"), {"--foreground", "--unlock", "--components=secrets"});
        QVERIFY(keyring.waitForStarted());
        keyring.write("\n"); // the empty password: the login keyring is made and unlocked
        keyring.closeWriteChannel();
        QTRY_VERIFY_WITH_TIMEOUT(secretServiceUp(), 10000);
    }

    void cleanupTestCase()
    {
        for (QProcess *process : {&keyring, &bus}) {
            process->kill();
            process->waitForFinished();
        }
    }

    void keyringHoldsThePassword()
    {
        QTest::ignoreMessage(QtDebugMsg, "[Authenticator] Cloud password kept in the desktop keyring");
        Authenticator::storePassword(QStringLiteral("s3cr&t"));
        QCOMPARE(settingsValue(QStringLiteral("credentials.password")).toByteArray(), QByteArray());
        QCOMPARE(Authenticator::storedPassword(), QStringLiteral("s3cr&t"));
    }

    // Last: the keyring goes away.
    void withoutKeyringTheSettingsHoldItScrambled()
    {
        keyring.kill();
        QVERIFY(keyring.waitForFinished());
        QTRY_VERIFY(!secretServiceUp());
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^\\[Authenticator\\] No desktop keyring answers .*"
                                                              "cloud password kept scrambled in the settings$"));
        QCOMPARE(Authenticator::storedPassword(), QString()); // it was never in the file
        Authenticator::storePassword(QStringLiteral("pl41n"));
        QVERIFY(!settingsValue(QStringLiteral("credentials.password")).toByteArray().isEmpty());
        QVERIFY(!settingsFile().contains("pl41n"));
        QCOMPARE(Authenticator::storedPassword(), QStringLiteral("pl41n"));
    }
};

CALDERWICK_TEST_MAIN(TestPasswordKeyring)
#include "tst_passwordkeyring.moc"
