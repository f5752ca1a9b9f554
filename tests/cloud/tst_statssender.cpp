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
        // The clean-up of a delivery may still hold the store: wait for it, don't fail.
        process.start(QStringLiteral("sqlite3"), {"-cmd", ".timeout 5000", StatsManager::databasePath(), sql});
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
    }

    void init()
    {
        server.reset();
        server.script("/stats/report/calderwick/", {Answer::json(200, "{}")});
    }

    // Values joined as the cloud expects them, trailing comma and all (see batchOf1500);
    // nothing at all is an empty list.
    void emptyBatchText() { QCOMPARE(StatsSender::batchText({}), QStringLiteral("[]")); }

    // Rows in the store, seconds since the last delivery, the server's status: how many
    // requests go out and how many rows stay. A refused batch is dropped all the same.
    void delivery_data()
    {
        QTest::addColumn<int>("rows");
        QTest::addColumn<qint64>("age");
        QTest::addColumn<int>("status");
        QTest::addColumn<int>("sent");
        QTest::addColumn<QString>("left");
        QTest::newRow("one day more") << 1 << qint64(86401) << 200 << 1 << "0";
        QTest::newRow("refused, kept") << 2 << qint64(100000) << 503 << 1 << "2";
        QTest::newRow("empty store") << 0 << qint64(90000) << 200 << 0 << "0";
        QTest::newRow("exactly one day") << 3 << qint64(86400) << 200 << 0 << "3";
    }

    void delivery()
    {
        QFETCH(int, rows);
        QFETCH(qint64, age);
        QFETCH(int, status);
        QFETCH(QString, left);
        // The clock may pass a second boundary during the call: then try again.
        qint64 before = 0;
        for (int attempt = 0; attempt < 3; ++attempt) {
            server.reset();
            server.script("/stats/report/calderwick/", {Answer::json(status, "{}")});
            fill(rows);
            before = QDateTime::currentDateTimeUtc().toSecsSinceEpoch();
            deliver(age);
            if (QDateTime::currentDateTimeUtc().toSecsSinceEpoch() == before)
                break;
        }
        QTEST(int(server.received.size()), "sent");
        QTRY_COMPARE(sqlite("SELECT count(*) FROM stats;"), left);
        if (status != 200) // not counted as the day's delivery: the next login sends them again
            QVERIFY(settingsValue(QStringLiteral("stats.last")).toLongLong() < before);
        if (rows == 1) {
            QCOMPARE(server.received.last().path, QByteArray("/stats/report/calderwick/"));
            QCOMPARE(sentBatch(), QByteArray("[\"r1\",]"));
            QVERIFY(settingsValue(QStringLiteral("stats.last")).toLongLong() >= before);
        }
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
