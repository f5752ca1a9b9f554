#include "testenvironment.h"

#include "connector.h"
#include "fakecloudserver.h"
#include "settings.h"
#include "statsmanager.h"
#include "statsrequest.h"
#include "statssender.h"

#include <QDateTime>
#include <QProcess>

using Answer = FakeCloudServer::Answer;

class TestStatsSender : public QObject
{
    Q_OBJECT

    FakeCloudServer server;

    QString sqlite(const QString &sql)
    {
        QProcess process;
        process.start(QStringLiteral("sqlite3"), {StatsManager::databasePath(), sql});
        process.waitForFinished(20000);
        return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
    }

    // Rows data values "r1".."rN", written in one transaction.
    void fill(int count)
    {
        QString sql = QStringLiteral("DELETE FROM stats; BEGIN;");
        for (int i = 1; i <= count; ++i)
            sql += QStringLiteral("INSERT INTO stats (data) VALUES ('r%1');").arg(i);
        sql += QStringLiteral("COMMIT;");
        sqlite(sql);
    }

    void deliver(qint64 secondsSinceLast)
    {
        setSettingsValue(QStringLiteral("stats.last"), QDateTime::currentDateTimeUtc().toSecsSinceEpoch() - secondsSinceLast);
        auto *sender = new StatsSender;
        QSignalSpy gone(sender, &QObject::destroyed);
        sender->retrieveSomeStats();
        QVERIFY(gone.wait(10000));
    }

    QByteArray sentBatch()
    {
        if (server.received.isEmpty())
            return QByteArray();
        const QByteArray body = server.received.last().body;
        return body.startsWith("events=") ? QByteArray::fromPercentEncoding(body.mid(7)) : QByteArray();
    }

private slots:
    void initTestCase()
    {
        const QString root = server.start();
        QVERIFY(!root.isEmpty());
        setSettingsValue(QStringLiteral("cloud.root.url"), root);
        StatsManager::instance(); // creates the table
        QVERIFY(QFileInfo::exists(StatsManager::databasePath()));
    }

    void init()
    {
        server.reset();
        server.script("/stats/report/calderwick/", {Answer::json(200, "{}")});
    }

    void batchText_data()
    {
        QTest::addColumn<QStringList>("values");
        QTest::addColumn<QString>("batch");
        QTest::newRow("one") << QStringList{"eyJh"} << "[\"eyJh\",]";
        QTest::newRow("two") << QStringList{"YQ==", "Yg=="} << "[\"YQ==\",\"Yg==\",]";
        QTest::newRow("none") << QStringList{} << "[]";
    }

    void batchText()
    {
        QFETCH(QStringList, values);
        QTEST(StatsSender::batchText(values), "batch");
    }

    void exactlyOneDayIsTooSoon()
    {
        // The clock may pass a second boundary during the call: then try again.
        for (int attempt = 0; attempt < 3; ++attempt) {
            server.reset();
            fill(3);
            const qint64 start = QDateTime::currentDateTimeUtc().toSecsSinceEpoch();
            deliver(86400);
            if (QDateTime::currentDateTimeUtc().toSecsSinceEpoch() == start)
                break;
        }
        QVERIFY(server.received.isEmpty());
        QCOMPARE(sqlite("SELECT count(*) FROM stats;"), QStringLiteral("3"));
    }

    void oneSecondMoreSends()
    {
        fill(1);
        const qint64 before = QDateTime::currentDateTimeUtc().toSecsSinceEpoch();
        deliver(86401);
        QCOMPARE(server.received.size(), 1);
        QCOMPARE(server.received.last().path, QByteArray("/stats/report/calderwick/"));
        QCOMPARE(sentBatch(), QByteArray("[\"r1\",]"));
        QTRY_COMPARE(sqlite("SELECT count(*) FROM stats;"), QStringLiteral("0"));
        QVERIFY(settingsValue(QStringLiteral("stats.last")).toLongLong() >= before);
    }

    void refusedBatchIsLostAnyway()
    {
        server.script("/stats/report/calderwick/", {Answer::json(503, "")});
        fill(2);
        deliver(100000);
        QCOMPARE(server.received.size(), 1);
        QTRY_COMPARE(sqlite("SELECT count(*) FROM stats;"), QStringLiteral("0"));
    }

    void batchOf1500()
    {
        fill(1600);
        deliver(90000);
        const QList<QByteArray> values = sentBatch().mid(1).split(',');
        QCOMPARE(values.size(), 1501); // the trailing comma leaves "]" last
        QCOMPARE(values.first(), QByteArray("\"r1\""));
        QCOMPARE(values.at(1499), QByteArray("\"r1500\""));
        QCOMPARE(values.last(), QByteArray("]"));
        QTRY_COMPARE(sqlite("SELECT count(*) || ' ' || min(data) FROM stats;"), QStringLiteral("100 r1501"));
    }

    void emptyStoreSendsNothing()
    {
        fill(0);
        deliver(90000);
        QVERIFY(server.received.isEmpty());
    }

    void failingReadKeepsRows()
    {
        sqlite("DROP TABLE stats;");
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^\\[Stats\\] SQLite error: no such table"));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^\\[Stats\\] Can't retrieve stats: no such table"));
        deliver(90000);
        QVERIFY(server.received.isEmpty());
    }
};

CALDERWICK_TEST_MAIN(TestStatsSender)
#include "tst_statssender.moc"
