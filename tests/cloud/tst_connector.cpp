#include "testenvironment.h"

#include "authenticator.h"
#include "connector.h"
#include "fakecloudserver.h"
#include "nginxserver.h"
#include "replylimit.h"
#include "scriptjson.h"
#include "settings.h"

#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QElapsedTimer>
#include <QThread>

using Answer = FakeCloudServer::Answer;

class TestConnector : public QObject
{
    Q_OBJECT

    FakeCloudServer server;
    NginxServer nginx; // started by the first case that needs it
    bool nginxStarted = false;

    // A fresh connector reading the settings of now.
    Connector *renew()
    {
        Connector::destroy();
        return Connector::instance();
    }

    // The root address for one request, with a connector made for it.
    int requestAt(const QString &root, const QString &path)
    {
        const QVariant saved = settingsValue(QStringLiteral("cloud.root.url"));
        setSettingsValue(QStringLiteral("cloud.root.url"), root);
        const int code = renew()->request(path);
        setSettingsValue(QStringLiteral("cloud.root.url"), saved);
        return code;
    }

private slots:
    void initTestCase()
    {
        const QString root = server.start();
        QVERIFY(!root.isEmpty());
        setSettingsValue(QStringLiteral("cloud.root.url"), root + QStringLiteral("/"));
        setSettingsValue(QStringLiteral("stats.send.stats"), false);
        QCOMPARE(Connector::instance()->baseUrl().toString(), root);
    }

    void init()
    {
        server.reset();
        Authenticator::storeUsername(QString());
        Authenticator::storePassword(QString());
        Connector::instance()->setRequestTimeout(4000);
    }

    void resultCodes_data()
    {
        QTest::addColumn<Answer>("answer");
        QTest::addColumn<int>("code");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("content");
        QTest::newRow("200") << Answer::json(200, "{\"a\":1}") << 1 << 200 << "" << "{\"a\":1}";
        QTest::newRow("201") << Answer::json(201, "{}") << 1 << 201 << "" << "{}";
        QTest::newRow("503") << Answer::json(503, "busy") << 2 << 503 << "Server temporarily unavailable" << "busy";
        QTest::newRow("403 desc") << Answer::json(403, "{\"desc\":\"Account locked\"}") << 4 << 403
                                  << "Account locked" << "{\"desc\":\"Account locked\"}";
        QTest::newRow("403 plain") << Answer::json(403, "no") << 4 << 403 << "Access to server forbidden" << "no";
        QTest::newRow("403 data desc") << Answer::json(403, "{\"data\":{\"desc\":\"Inner\"}}") << 4 << 403 << "Inner"
                                       << "{\"data\":{\"desc\":\"Inner\"}}";
        QTest::newRow("404 desc") << Answer::json(404, "{\"desc\":\"Gone\"}") << 5 << 404 << "Gone"
                                  << "{\"desc\":\"Gone\"}";
        QTest::newRow("500 plain") << Answer::json(500, "oops") << 5 << 500 << "Invalid reply from server" << "oops";
        QTest::newRow("302 to login") << Answer::redirect(302, "/launchpad/login/?next=/x") << 4 << 302
                                      << "Access to server forbidden" << "";
        QTest::newRow("302 elsewhere") << Answer::redirect(302, "/elsewhere/") << 5 << 302
                                       << "Invalid reply from server" << "";
        QTest::newRow("NUL cuts body") << Answer::json(200, QByteArray("{\"v\":\"1\"}\0tail", 14)) << 1 << 200 << ""
                                       << "{\"v\":\"1\"}";
        QTest::newRow("garbage") << Answer::garbage() << 5 << 0 << "Invalid reply from server" << "";
    }

    void resultCodes()
    {
        QFETCH(Answer, answer);
        QFETCH(int, code);
        QFETCH(int, status);
        server.script("/r/", {answer});
        QString content;
        int httpStatus = -1;
        QCOMPARE(Connector::instance()->request(QStringLiteral("/r/"), QString(), content, httpStatus, true), code);
        QCOMPARE(httpStatus, status);
        QTEST(Connector::instance()->lastError(), "message");
        QTEST(content, "content");
    }

    void requestHeadersAndBody()
    {
        server.script("/p/", {Answer::json(200, "{}")});
        QCOMPARE(Connector::instance()->request(QStringLiteral("/p/"), QString::fromUtf8("k=\xc3\xa9")), 1);
        QCOMPARE(Connector::instance()->request(QStringLiteral("/p/"), QString()), 1);
        QCOMPARE(server.received.size(), 2);
        const auto post = server.received.at(0);
        QCOMPARE(post.method, QByteArray("POST"));
        QCOMPARE(post.body, QByteArray("k=\xc3\xa9"));
        QCOMPARE(post.headers.value("user-agent"), QByteArray("Brackenlea Calderwick 2.6.0 - Linux"));
        QCOMPARE(post.headers.value("content-type"), QByteArray("application/x-www-form-urlencoded"));
        QCOMPARE(server.received.at(1).method, QByteArray("GET"));

        server.script("/stats/report/calderwick/", {Answer::json(200, "{}")});
        QCOMPARE(Connector::instance()->sendStats(QStringLiteral("[\"YQ==\",]")), 1);
        QCOMPARE(server.received.last().body, QByteArray("events=%5B%22YQ%3D%3D%22%2C%5D"));
    }

    // On the main thread the connector's time-out aborts a silent server (8, a time-out and
    // not a reply not understood); from another thread the caller's own limit governs (0).
    // A zero time-out still waits one slice.
    void timeouts_data()
    {
        QTest::addColumn<Answer>("answer");
        QTest::addColumn<int>("timeout");
        QTest::addColumn<bool>("otherThread");
        QTest::addColumn<int>("code");
        Answer late = Answer::json(200, "{}");
        late.delayMs = 60;
        QTest::newRow("silence") << Answer::silence() << 300 << false << 8;
        QTest::newRow("zero waits a slice") << late << 0 << false << 1;
        QTest::newRow("other thread, silence") << Answer::silence() << 300 << true << 0;
        QTest::newRow("other thread, 201") << Answer::json(201, "{}") << 300 << true << 1;
    }

    void timeouts()
    {
        QFETCH(Answer, answer);
        QFETCH(int, timeout);
        QFETCH(bool, otherThread);
        server.script("/t/", {answer});
        QVERIFY(Connector::instance()->setRequestTimeout(timeout));
        int code = -1;
        const auto call = [&code] { code = Connector::instance()->request(QStringLiteral("/t/")); };
        if (otherThread) {
            std::unique_ptr<QThread> caller(QThread::create(call));
            caller->start();
            QTRY_VERIFY_WITH_TIMEOUT(caller->isFinished(), 5000);
        } else {
            call();
        }
        QTEST(code, "code");
        if (code == 8)
            QCOMPARE(Connector::instance()->lastError(), QStringLiteral("Network timeout error"));
    }

    void reloginOnceOn302()
    {
        // Without credentials a 302 to the login page is final at once.
        server.script("/customer/me/", {Answer::redirect(302, "/launchpad/login/")});
        QCOMPARE(Connector::instance()->request(QStringLiteral("/customer/me/")), 4);
        QCOMPARE(server.received.size(), 1);
        server.reset();

        Authenticator::storeUsername(QStringLiteral("alice"));
        Authenticator::storePassword(QStringLiteral("secret"));
        server.script("/customer/me/", {Answer::redirect(302, "/launchpad/login/"),
                                        Answer::json(200, "{\"validated\":true}")});
        server.script("/launchpad/login/", {Answer::json(200, "{\"email\":\"a@b.c\",\"signature\":\"sig\",\"customer_uuid\":\"u-1\"}")});
        QCOMPARE(Connector::instance()->request(QStringLiteral("/customer/me/")), 1);
        QCOMPARE(server.received.size(), 3);
        QCOMPARE(server.received.at(1).path, QByteArray("/launchpad/login/"));
        QCOMPARE(server.received.at(1).body, QByteArray("username=alice&password=secret"));
        QCOMPARE(server.received.at(2).path, QByteArray("/customer/me/"));
        QVERIFY(Connector::instance()->isUserAuthenticated());
        QCOMPARE(settingsValue("customer.email").toString(), QStringLiteral("a@b.c"));
        QCOMPARE(settingsValue("customer.uuid").toString(), QStringLiteral("u-1"));

        // A 302 again after the re-login is final.
        server.reset();
        server.script("/customer/me/", {Answer::redirect(302, "/launchpad/login/")});
        server.script("/launchpad/login/", {Answer::json(200, "{}")});
        QCOMPARE(Connector::instance()->request(QStringLiteral("/customer/me/")), 4);
        QCOMPARE(server.received.size(), 3);
    }

    void loginEncodesAndStores()
    {
        server.script("/launchpad/login/", {Answer::json(200, "{\"data\":{\"email\":\"x@y.z\"}}")});
        QSignalSpy changed(Connector::instance(), &Connector::userAuthenticationChanged);
        QCOMPARE(Connector::instance()->login(QStringLiteral("bob@y.z"), QStringLiteral("p&ss=w rd%")), 1);
        QCOMPARE(server.received.last().body, QByteArray("username=bob%40y.z&password=p%26ss%3Dw%20rd%25"));
        QCOMPARE(changed.last().at(0).toString(), QStringLiteral("bob@y.z"));
        QCOMPARE(settingsValue("customer.email").toString(), QStringLiteral("x@y.z"));
        QCOMPARE(Connector::instance()->currentUser(false), QStringLiteral("bob@y.z"));

        server.script("/launchpad/login/", {Answer::json(403, "{\"desc\":\"Bad password\"}")});
        QCOMPARE(Connector::instance()->login(QStringLiteral("bob@y.z"), QStringLiteral("wrong")), 4);
        QCOMPARE(Connector::instance()->lastError(), QStringLiteral("Failed to authenticate user"));
        QVERIFY(!Connector::instance()->isUserAuthenticated());
    }

    void currentUserFromServer_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("user");
        QTest::addColumn<QString>("uuid");
        QTest::newRow("validated") << QByteArray("{\"customer_uuid\":\"c-9\",\"validated\":true,\"user\":{\"username\":\"carol\"},"
                                                 "\"role\":{\"type\":\"Administrator\"}}")
                                   << "carol" << "c-9";
        QTest::newRow("not validated") << QByteArray("{\"customer_uuid\":\"c-8\",\"validated\":false,\"user\":{\"username\":\"dan\"}}")
                                       << "" << "c-8";
        QTest::newRow("empty") << QByteArray("{}") << "" << "";
    }

    void currentUserFromServer()
    {
        QFETCH(QByteArray, body);
        server.script("/customer/me/", {Answer::json(200, body)});
        QTEST(Connector::instance()->currentUser(true), "user");
        QTEST(settingsValue("customer.uuid").toString(), "uuid");
        QCOMPARE(Connector::instance()->isUserAuthenticated(), !QString(QTest::currentDataTag()).startsWith("n")
                                                                   && QByteArray(QTest::currentDataTag()) != "empty");
    }

    void retrieveJson_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("code");
        QTest::newRow("object") << QByteArray("{\"a\":[1,2]}") << 1;
        QTest::newRow("array") << QByteArray("[{\"a\":1}]") << 1;
        QTest::newRow("number") << QByteArray("42") << 5;
        QTest::newRow("syntax") << QByteArray("{\"a\":") << 5;
        QTest::newRow("deep but allowed") << QByteArray(256, '[') + QByteArray(256, ']') << 1;
        QTest::newRow("too deep") << QByteArray(257, '[') + QByteArray(257, ']') << 5;
    }

    void retrieveJson()
    {
        QFETCH(QByteArray, body);
        server.script("/j/", {Answer::json(200, body)});
        QVariant value;
        QTEST(Connector::instance()->retrieveJson(QStringLiteral("/j/"), value), "code");
    }

    // Bodies that would stall or exhaust the player: each fails as not understood, with its
    // log line, well inside the evaluation limit.
    void hostileReplies_data()
    {
        QTest::addColumn<Answer>("answer");
        QTest::addColumn<QString>("line");
        QTest::newRow("past the cap") << Answer::stream(ReplyLimit::MaxBodyBytes + 4 * 1024 * 1024)
                                      << "^\\[doRequest\\] Reply body over 8388608 bytes, aborted: http";
        QTest::newRow("array bomb") << Answer::json(200, "[" + QByteArray("[],").repeated(2700000) + "0]")
                                    << "^\\[ScriptJson\\] Reply refused, not plain data: more than 100000 values";
        QTest::newRow("native call") << Answer::json(200, "{\"a\":new Array(20000000).join(\"x\")}")
                                     << "^\\[ScriptJson\\] Reply refused, not plain data: name \"new\"";
        QTest::newRow("endless loop") << Answer::json(200, "1);while(true){};(1")
                                      << "^\\[ScriptJson\\] Reply refused, not plain data: character";
    }

    void hostileReplies()
    {
        QFETCH(Answer, answer);
        QFETCH(QString, line);
        server.script("/j/", {answer});
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(line));
        QElapsedTimer clock;
        clock.start();
        QVariant value;
        QCOMPARE(Connector::instance()->retrieveJson(QStringLiteral("/j/"), value), 5);
        QVERIFY2(clock.elapsed() < 2 * ScriptJson::EvaluationLimitMs, qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(Connector::instance()->lastError(), QStringLiteral("Invalid reply from server"));
    }

    void lastVersion()
    {
        server.script("/launchpad/last_version/linux/x64/", {Answer::json(200, "{\"version\":\"2.7.0\",\"url\":\"http://d/\"}")});
        QString version, url;
        QCOMPARE(Connector::instance()->getCalderwickLastVersion(version, url), 1);
        QCOMPARE(version, QStringLiteral("2.7.0"));
        QCOMPARE(url, QStringLiteral("http://d/"));
        server.script("/launchpad/last_version/linux/x64/", {Answer::json(200, "{\"version\":\"2.7.0\"}")});
        QCOMPARE(Connector::instance()->getCalderwickLastVersion(version, url), 5);
        QCOMPARE(Connector::instance()->lastError(), QStringLiteral("Invalid reply from server"));
    }

    void proxySettings()
    {
        setSettingsValue(QStringLiteral("proxy.enabled"), true);
        setSettingsValue(QStringLiteral("proxy.host"), QStringLiteral("127.0.0.1"));
        setSettingsValue(QStringLiteral("proxy.port"), QString::number(server.serverPort()));
        setSettingsValue(QStringLiteral("proxy.authentication"), true);
        setSettingsValue(QStringLiteral("proxy.authentication.username"), QStringLiteral("pu"));
        setSettingsValue(QStringLiteral("proxy.authentication.password"), QStringLiteral("pp"));
        QNetworkAccessManager manager;
        Connector::configureProxy(&manager);
        QCOMPARE(manager.proxy().user(), QStringLiteral("pu"));

        // The fake server now acts as the proxy (so host and port were taken) and wants
        // credentials of its own.
        server.script("", {Answer{Answer::Http, 407, "{}", {{"Proxy-Authenticate", "Basic realm=\"p\""}}, 0}});
        const int code = requestAt(QStringLiteral("http://cloud.invalid"), QStringLiteral("/x/"));
        setSettingsValue(QStringLiteral("proxy.enabled"), false);
        renew();
        QCOMPARE(code, 6);
        QCOMPARE(server.received.first().path, QByteArray("http://cloud.invalid/x/"));
    }

    // nginx, with a certificate made here: a certificate that nothing vouches for is refused
    // and said so; its authority named in the settings or the explicit ignore setting let the
    // request through; plain HTTP and the proxy settings reach the same files; a port where
    // nothing listens refuses the connection.
    void certificatesAndProxy_data()
    {
        QTest::addColumn<QString>("root");
        QTest::addColumn<QString>("setting");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("log");
        QTest::newRow("refused by default") << "https" << "" << 16 << "Certificate of \\S+ refused: .*self.signed";
        QTest::newRow("authority trusted") << "https" << "cloud.ssl.ca.file" << 1 << "";
        QTest::newRow("errors ignored") << "https" << "cloud.ssl.ignore.errors" << 1
                                        << "Certificate errors of \\S+ ignored \\(cloud.ssl.ignore.errors\\)";
        QTest::newRow("plain http") << "http" << "" << 1 << "";
        QTest::newRow("through the proxy") << "http://cloud.invalid" << "proxy." << 1 << "";
        QTest::newRow("connection refused") << "closed" << "" << 9 << "";
    }

    void certificatesAndProxy()
    {
        QFETCH(QString, root);
        QFETCH(QString, setting);
        QFETCH(QString, log);
        if (NginxServer::executable().isEmpty())
            QSKIP("nginx is not installed");
        if (!nginxStarted) {
            QVERIFY(nginx.enableTls() && nginx.start());
            nginxStarted = true;
            QDir(nginx.root()).mkpath(QStringLiteral("api"));
            QFile file(nginx.root() + QStringLiteral("/api/v.json"));
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write("{\"v\":1}") > 0);
        }
        const QMap<QString, QVariant> values{{"cloud.ssl.ca.file", nginx.certificatePath()},
                                             {"cloud.ssl.ignore.errors", true},
                                             {"proxy.enabled", true},
                                             {"proxy.host", nginx.host()},
                                             {"proxy.port", QString::number(nginx.proxyPort())}};
        for (auto it = values.cbegin(); it != values.cend(); ++it) {
            if (!setting.isEmpty() && it.key().startsWith(setting))
                setSettingsValue(it.key(), it.value());
        }
        if (root == QLatin1String("https"))
            root = nginx.tlsUrl(QString());
        else if (root == QLatin1String("http"))
            root = nginx.url(QString());
        else if (root == QLatin1String("closed"))
            root = QStringLiteral("http://%1:9").arg(TestEnvironment::loopback(3)); // this test's own, unused
        if (!log.isEmpty())
            QTest::ignoreMessage(setting.isEmpty() ? QtCriticalMsg : QtWarningMsg,
                                 QRegularExpression(QStringLiteral("^\\[Connector\\] ") + log));
        const int code = requestAt(root, QStringLiteral("/api/v.json"));
        const QString message = Connector::instance()->lastError();
        for (auto it = values.cbegin(); it != values.cend(); ++it)
            removeSettingsValue(it.key());
        renew();
        QTEST(code, "code");
        QCOMPARE(message, Connector::resultMessage(code));
    }

    // The HTTPS port is fixed: it is bound on this test's own loopback address, so that
    // two runs on one machine never meet.
    void reachability()
    {
        const QString host = TestEnvironment::loopback(1);
        QTcpServer https;
        if (!https.listen(QHostAddress(host), 443))
            QSKIP("port 443 needs privileges here");
        const QVariant saved = settingsValue(QStringLiteral("cloud.root.url"));
        setSettingsValue(QStringLiteral("cloud.root.url"), QStringLiteral("http://") + host);
        const bool up = renew()->isCloudReachable();
        https.close();
        const bool down = Connector::instance()->isCloudReachable();
        setSettingsValue(QStringLiteral("cloud.root.url"), saved);
        renew();
        QVERIFY(up);
        QVERIFY(!down);
    }
};

CALDERWICK_TEST_MAIN(TestConnector)
#include "tst_connector.moc"
