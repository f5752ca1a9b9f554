// Adb with Debian's real adb and its own server on a private port: the device list as
// the real tool prints it, with an address:port device that never answers the
// handshake (listed "offline"), and the tool's failure texts.

#include "adb.h"
#include "logreader.h"
#include "settings.h"
#include "testenvironment.h"

#include <QProcess>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>
#include <memory>

namespace {

quint16 freePort()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost);
    return probe.serverPort();
}

QStringList serials(const QList<Adb *> &devices)
{
    QStringList result;
    for (Adb *device : devices)
        result << device->serial();
    qDeleteAll(devices);
    return result;
}

} // namespace

class TestAdbServer : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_sdk;
    QString m_real;
    std::unique_ptr<LogReader> m_logReader;
    LogReader &log() { return *m_logReader; }

    void runServerCommand(const char *command)
    {
        QProcess adb;
        adb.start(m_real, {QString::fromLatin1(command)});
        adb.waitForFinished(30000);
    }

private slots:
    void initTestCase()
    {
        m_real = QStandardPaths::findExecutable(QStringLiteral("adb"));
        if (m_real.isEmpty())
            QSKIP("Debian's adb is not installed");
        m_logReader = std::make_unique<LogReader>();
        // A server of our own: parallel tests and a developer's server stay untouched.
        qputenv("ANDROID_ADB_SERVER_PORT", QByteArray::number(freePort()));
        QVERIFY(QDir().mkpath(m_sdk.filePath(QStringLiteral("platform-tools"))));
        QVERIFY(QFile::link(m_real, m_sdk.filePath(QStringLiteral("platform-tools/adb"))));
        setSettingsValue(QStringLiteral("android.sdk.use"), true);
        setSettingsValue(QStringLiteral("android.sdk.path"), m_sdk.path());
        QCOMPARE(Adb::adbPath(), m_sdk.filePath(QStringLiteral("platform-tools/adb")));
    }

    void cleanupTestCase()
    {
        if (!m_real.isEmpty())
            runServerCommand("kill-server");
    }

    void listsNothingAtFirst()
    {
        // The first call also starts the server, which talks on standard error only.
        QCOMPARE(serials(Adb::devices(Adb::AllDevices)), QStringList());
    }

    void offlineNetworkDevice()
    {
        // Accepts adb's connection and never answers: the device stays "offline".
        QTcpServer silent;
        QVERIFY(silent.listen(QHostAddress::LocalHost));
        QList<QTcpSocket *> held;
        connect(&silent, &QTcpServer::newConnection, this, [&] {
            while (QTcpSocket *socket = silent.nextPendingConnection())
                held << socket;
        });
        const QString serial = QStringLiteral("127.0.0.1:%1").arg(silent.serverPort());
        Adb device(serial);
        QProcess connecting;
        device.connectAsync(&connecting);

        QTRY_VERIFY_WITH_TIMEOUT(serials(Adb::devices(Adb::AllDevices)).contains(serial), 10000);
        // No "caldd" property can be read from it: it counts as someone else's device.
        QCOMPARE(serials(Adb::devices(Adb::OtherDevices)), QStringList{serial});
        QCOMPARE(serials(Adb::devices(Adb::CalderwickDevices)), QStringList());

        log().clear();
        QCOMPARE(device.getState(), QString());
        QVERIFY2(log().contains(QStringLiteral("[Adb][getState] ") + serial
                                + QStringLiteral(" : error with get-state command: error: device offline")),
                 qPrintable(log().messages().join('\n')));
        QCOMPARE(device.lastError().trimmed(), QStringLiteral("error: device offline")); // no bracket: the whole text
        QCOMPARE(device.getProp(QStringLiteral("ro.build.product"), QStringLiteral("unknown")), QStringLiteral("unknown"));
        QVERIFY(!device.install(QStringLiteral("/nonexistent/a.apk"), false));

        QVERIFY(device.disconnect());
        QVERIFY(log().contains(QStringLiteral("[Adb][disconnect] ") + serial + QStringLiteral(" : disconnected")));
        QTRY_VERIFY_WITH_TIMEOUT(!serials(Adb::devices(Adb::AllDevices)).contains(serial), 10000);

        connecting.kill();
        connecting.waitForFinished(5000);
        qDeleteAll(held);
    }
};

CALDERWICK_TEST_MAIN(TestAdbServer)
#include "tst_adbserver.moc"
