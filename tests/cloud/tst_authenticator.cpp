#include "testenvironment.h"

#include "authenticator.h"
#include "connector.h"
#include "fakecloudserver.h"
#include "settings.h"

#include <QSettings>

using Answer = FakeCloudServer::Answer;

class TestAuthenticator : public QObject
{
    Q_OBJECT

    FakeCloudServer server;

private slots:
    void initTestCase()
    {
        const QString root = server.start();
        QVERIFY(!root.isEmpty());
        setSettingsValue(QStringLiteral("cloud.root.url"), root);
        setSettingsValue(QStringLiteral("stats.send.stats"), false);
    }

    void init()
    {
        server.reset();
        Authenticator::storeUsername(QString());
        Authenticator::storePassword(QString());
    }

    void passwordRoundTrip_data()
    {
        QTest::addColumn<QString>("password");
        QTest::newRow("plain") << "secret";
        QTest::newRow("longer than the key") << "a password of more than sixteen bytes & symbols";
        QTest::newRow("utf8") << QString::fromUtf8("p\xc3\xa4ss\xe2\x9c\x93");
        QTest::newRow("empty") << "";
    }

    void passwordRoundTrip()
    {
        QFETCH(QString, password);
        Authenticator::storePassword(password);
        QCOMPARE(Authenticator::storedPassword(), password);
        const QByteArray stored = settingsValue(QStringLiteral("credentials.password")).toByteArray();
        QCOMPARE(stored.size(), password.toUtf8().size());
        if (!password.isEmpty()) {
            QVERIFY(!stored.contains(password.toUtf8().left(3)));
            QFile file(QSettings(QStringLiteral("Brackenlea"), QStringLiteral("Calderwick")).fileName());
            QVERIFY(file.open(QIODevice::ReadOnly));
            QVERIFY(!file.readAll().contains(password.toUtf8().left(6)));
        }
        QCOMPARE(Authenticator::scramble(Authenticator::scramble(stored)), stored);
    }

    void noCredentialsNoRequest()
    {
        setSettingsValue(QStringLiteral("customer.uuid"), QStringLiteral("u"));
        Authenticator::storeUsername(QString());
        QCOMPARE(settingsValue(QStringLiteral("customer.uuid")).toString(), QString());
        Authenticator authenticator;
        QCOMPARE(authenticator.authenticate(false), 1);
        QVERIFY(server.received.isEmpty());
    }

    void results_data()
    {
        QTest::addColumn<Answer>("answer");
        QTest::addColumn<int>("result");
        QTest::newRow("good") << Answer::json(200, "{\"customer_uuid\":\"c\"}") << 0;
        QTest::newRow("refused") << Answer::json(403, "{}") << 2;
        QTest::newRow("maintenance") << Answer::json(503, "") << 3;
    }

    void results()
    {
        QFETCH(Answer, answer);
        QFETCH(int, result);
        server.script("/launchpad/login/", {answer});
        Authenticator authenticator;
        QCOMPARE(authenticator.authenticate(false, QStringLiteral("eve"), QStringLiteral("a&b")), result);
        QCOMPARE(server.received.last().body, QByteArray("username=eve&password=a%26b"));
        // Credentials are kept only after a good login.
        QCOMPARE(Authenticator::storedUsername(), result == 0 ? QStringLiteral("eve") : QString());
        QCOMPARE(Authenticator::storedPassword(), result == 0 ? QStringLiteral("a&b") : QString());
        QCOMPARE(Authenticator::isAuthenticated(), result == 0);
        if (result == 0) {
            // The kept credentials serve the next login without asking.
            QCOMPARE(authenticator.authenticate(false), 0);
            QCOMPARE(server.received.last().body, QByteArray("username=eve&password=a%26b"));
        }
    }

    void withoutStatsRestoresSetting()
    {
        server.script("/launchpad/login/", {Answer::json(200, "{}")});
        for (const bool statsOn : {true, false}) {
            setSettingsValue(QStringLiteral("stats.send.stats"), statsOn);
            Authenticator authenticator;
            QCOMPARE(authenticator.authenticateWithoutStats(false, QStringLiteral("gil"), QStringLiteral("x")), 0);
            QCOMPARE(settingsValue(QStringLiteral("stats.send.stats")).toBool(), statsOn);
        }
    }

    // The texts themselves are translation keys; what matters is the empty success text,
    // the fallback for codes nobody knows, and the help link of a reply not understood.
    void errorTexts()
    {
        QCOMPARE(Authenticator::errorText(1), QString());
        QCOMPARE(Authenticator::errorText(99), QStringLiteral("unknown.generic.error"));
        setSettingsValue(QStringLiteral("cloud.proxy.help.url"), QStringLiteral("http://help/"));
        QCOMPARE(Authenticator::errorText(5), QStringLiteral("invalid.reply.from.server <a href=\"http://help/\">here</a>."));
    }
};

CALDERWICK_TEST_MAIN(TestAuthenticator)
#include "tst_authenticator.moc"
