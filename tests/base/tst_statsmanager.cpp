#include "testenvironment.h"

#include "settings.h"
#include "statsmanager.h"
#include "statsrequest.h"

#include <QFile>
#include <QProcess>
#include <QThread>
#include <QTimer>

#include <memory>
#include <thread>
#include <vector>

using Infos = QMap<QString, QVariant>;

class TestStatsManager : public QObject
{
    Q_OBJECT

private:
    // Rows as the sqlite3 tool sees them: (id, data), in id order.
    QList<QPair<qint64, QByteArray>> rows()
    {
        QProcess sqlite;
        sqlite.start(QStringLiteral("sqlite3"),
                     {StatsManager::databasePath(), QStringLiteral("SELECT id || '|' || data FROM stats ORDER BY id;")});
        if (!sqlite.waitForFinished(10000) || sqlite.exitCode() != 0) {
            qWarning() << "sqlite3 failed:" << sqlite.readAllStandardError();
            return {};
        }
        QList<QPair<qint64, QByteArray>> result;
        for (const QByteArray &line : sqlite.readAllStandardOutput().split('\n')) {
            const int bar = line.indexOf('|');
            if (bar > 0)
                result.append({line.left(bar).toLongLong(), QByteArray::fromBase64(line.mid(bar + 1))});
        }
        return result;
    }

    int waitForReport(const QString &name, const Infos &infos = Infos())
    {
        StatsRequest *request = StatsManager::instance()->insertRecord(name, infos);
        const int state = request->startAndWait();
        delete request;
        return state;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(!QStandardPaths::findExecutable(QStringLiteral("sqlite3")).isEmpty());
        setSettingsValue(QStringLiteral("stats.installation.date"), QStringLiteral("1500000000"));
        StatsManager::instance(); // creates the store
    }

    void init() { setSettingsValue(QStringLiteral("stats.send.stats"), true); }

    // Each record byte for byte as stored: infos in key order, integers bare and everything
    // else quoted; quotes, SQL text and placeholders stay plain data.
    void storedRecord_data()
    {
        QTest::addColumn<QString>("event");
        QTest::addColumn<Infos>("infos");
        QTest::addColumn<QString>("tail");
        QTest::newRow("numbers") << "player_stop" << Infos{{"runtime", 12}, {"exit-code", QVariant(qlonglong(-1))}}
                                 << "\"event\":\"player_stop\",\"infos\":{\"exit-code\":-1,\"runtime\":12}}";
        QTest::newRow("quotes") << "widget_network" << Infos{{"profile", "it's \"fast\"'); --"}}
                                << "\"event\":\"widget_network\",\"infos\":{\"profile\":\"it's \"fast\"'); --\"}}";
        QTest::newRow("utf8") << "baseband" << Infos{{"kind", QString::fromUtf8("sms é✓")}}
                              << QString::fromUtf8("\"event\":\"baseband\",\"infos\":{\"kind\":\"sms é✓\"}}");
        QTest::newRow("no infos") << "screenshot" << Infos() << "\"event\":\"screenshot\",\"infos\":{}}";
        QTest::newRow("bool and double quoted") << "widget_gps" << Infos{{"random", true}, {"ratio", 1.5}}
                                                << "\"event\":\"widget_gps\",\"infos\":{\"random\":\"true\",\"ratio\":\"1.5\"}}";
        // Texts that look like placeholders are not filled in.
        QTest::newRow("percent") << "%1 odd" << Infos{{"kind", "%2"}} << "\"event\":\"%1 odd\",\"infos\":{\"kind\":\"%2\"}}";
    }

    void storedRecord()
    {
        QFETCH(QString, event);
        QFETCH(Infos, infos);
        QFETCH(QString, tail);
        const int count = rows().size();
        const qint64 before = QDateTime::currentSecsSinceEpoch();
        QCOMPARE(waitForReport(event, infos), int(StatsRequest::Done));
        const qint64 after = QDateTime::currentSecsSinceEpoch();
        const auto all = rows();
        QCOMPARE(all.size(), count + 1);
        const QString record = QString::fromUtf8(all.last().second);
        const qint64 timestamp = record.section(QLatin1Char(','), 0, 0).section(QLatin1Char(':'), 1).toLongLong();
        QVERIFY(timestamp >= before && timestamp <= after);
        QCOMPARE(record, QStringLiteral("{\"timestamp\":%1,\"version\":\"2.6.0\",\"installdate\":1500000000,").arg(timestamp)
                             + tail);
    }

    void disabledWritesNothing()
    {
        const int count = rows().size();
        setSettingsValue(QStringLiteral("stats.send.stats"), false);

        std::unique_ptr<StatsRequest> request(StatsManager::instance()->insertRecord(QStringLiteral("screenshot"), {}));
        QSignalSpy finished(request.get(), &StatsRequest::finished);
        // No event loop runs here: finished() must already have come, synchronously.
        QCOMPARE(request->startAndWait(), int(StatsRequest::Pending));
        QCOMPARE(finished.count(), 1);

        StatsManager::instance()->reportEvent(QStringLiteral("player_stop"), true);
        StatsManager::instance()->reportEvent(QStringLiteral("widget_gps"));
        setSettingsValue(QStringLiteral("stats.send.stats"), true);
        QCOMPARE(waitForReport(QStringLiteral("marker")), int(StatsRequest::Done));
        const auto all = rows();
        QCOMPARE(all.size(), count + 1);
        QVERIFY(all.last().second.contains("\"event\":\"marker\""));
    }

    // Reporters on threads that never run an event loop (a QThread without exec(), a plain
    // std::thread): every row arrives and no request is left behind.
    void reportsFromManyThreads()
    {
        const int count = rows().size();
        const int live = StatsRequest::liveCount();
        const auto report = [](int t) {
            for (int i = 0; i < 50; ++i)
                StatsManager::instance()->reportEvent(QStringLiteral("ratio1-1"), Infos{{"t", t}, {"i", i}}, i % 10 == 0);
        };
        std::vector<std::unique_ptr<QThread>> threads;
        for (int t = 0; t < 2; ++t) {
            threads.emplace_back(QThread::create(report, t));
            threads.back()->start();
        }
        std::thread plain(report, 2), other(report, 3);
        plain.join();
        other.join();
        for (auto &thread : threads)
            QVERIFY(thread->wait(20000));
        // Requests run in order of arrival: once this one is done, all the others are.
        QCOMPARE(waitForReport(QStringLiteral("marker")), int(StatsRequest::Done));
        QCOMPARE(rows().size(), count + 201);
        QCOMPARE(StatsRequest::liveCount(), live);
    }

    // Another process holds the store: a wait ends at its limit while the event loop keeps
    // turning, and the request, still queued, is left to the statistics thread, which writes
    // and frees it once the store is back (deleting it here instead is a use after free).
    void slowStoreWaitIsBoundedAndSafe()
    {
        const int count = rows().size();
        const int live = StatsRequest::liveCount();
        QProcess holder;
        const QString locked = TestEnvironment::home().filePath(QStringLiteral("locked"));
        holder.start(QStringLiteral("sqlite3"), {StatsManager::databasePath()});
        holder.write("BEGIN EXCLUSIVE;\n.system touch " + locked.toUtf8() + "\n");
        QTRY_VERIFY(QFile::exists(locked));

        bool turned = false;
        QTimer::singleShot(20, this, [&turned] { turned = true; });
        QTest::ignoreMessage(QtWarningMsg, "[Stats] Statistics store did not answer in time");
        StatsRequest *request = StatsManager::instance()->insertRecord(QStringLiteral("api_calls"), Infos{{"calls_count", 5}});
        QCOMPARE(request->startAndWait(300), int(StatsRequest::Pending));
        QVERIFY(turned);
        QVERIFY(request->isQueued());
        request->release();
        // The end of the process waits once, bounded too.
        StatsManager::instance()->reportEvent(QStringLiteral("player_stop"));
        QTest::ignoreMessage(QtWarningMsg, "[Stats] Statistics store did not answer in time");
        QVERIFY(!StatsManager::instance()->waitUntilIdle(100));

        holder.write("COMMIT;\n");
        holder.closeWriteChannel();
        QVERIFY(holder.waitForFinished(5000));
        QVERIFY(StatsManager::instance()->waitUntilIdle(5000));
        const auto all = rows();
        QCOMPARE(all.size(), count + 2);
        QVERIFY(all.at(all.size() - 2).second.contains("\"calls_count\":5"));
        QVERIFY(all.last().second.contains("\"event\":\"player_stop\""));
        QCOMPARE(StatsRequest::liveCount(), live);
    }

    void selectAndDelete()
    {
        QCOMPARE(StatsManager::instance()->deleteRecords(std::numeric_limits<qint64>::max())->startAndWait(),
                 int(StatsRequest::Done));
        for (int i = 0; i < 5; ++i)
            QCOMPARE(waitForReport(QStringLiteral("e%1").arg(i)), int(StatsRequest::Done));
        const auto all = rows();
        QCOMPARE(all.size(), 5);

        std::unique_ptr<StatsRequest> select(StatsManager::instance()->selectRecords(3));
        QCOMPARE(select->startAndWait(), int(StatsRequest::Done));
        // More work on the thread must not disturb the rows already selected.
        QCOMPARE(waitForReport(QStringLiteral("e5")), int(StatsRequest::Done));
        QList<qint64> ids;
        QSqlQuery &query = select->query();
        while (query.next()) {
            QCOMPARE(QByteArray::fromBase64(query.value(0).toByteArray()), all.at(ids.size()).second);
            ids.append(query.value(1).toLongLong());
        }
        QCOMPARE(ids, (QList<qint64>{all.at(0).first, all.at(1).first, all.at(2).first}));

        std::unique_ptr<StatsRequest> remove(StatsManager::instance()->deleteRecords(quint64(ids.last())));
        QCOMPARE(remove->startAndWait(), int(StatsRequest::Done));
        const auto left = rows();
        QCOMPARE(left.size(), 3);
        QCOMPARE(left.first().first, all.at(3).first);
    }

    void sqlErrorFailsRequest()
    {
        StatsManager::instance();
        QCOMPARE(QProcess::execute(QStringLiteral("sqlite3"), {StatsManager::databasePath(), QStringLiteral("DROP TABLE stats;")}), 0);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^\\[Stats\\] SQLite error: no such table")));
        std::unique_ptr<StatsRequest> select(StatsManager::instance()->selectRecords(10));
        QCOMPARE(select->startAndWait(), int(StatsRequest::Failed));
        QVERIFY(select->errorText().contains(QStringLiteral("no such table")));

        // A new store creates the table again.
        StatsManager::destroy();
        QCOMPARE(waitForReport(QStringLiteral("after")), int(StatsRequest::Done));
        QCOMPARE(rows().size(), 1);
    }

    // Last: replaces the store's folder with a file.
    void unopenableDatabase()
    {
        StatsManager::destroy();
        const QString folder = brackenleaDirectory();
        QVERIFY(QDir(folder).removeRecursively());
        QFile blocker(folder);
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        blocker.close();

        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^\\[Stats\\] SQLite error: ")));
        QTest::ignoreMessage(QtCriticalMsg, QRegularExpression(QStringLiteral("^\\[Stats\\] Can't open database: ")));
        QCOMPARE(waitForReport(QStringLiteral("player_stop")), int(StatsRequest::Failed));
        StatsManager::destroy();
        QVERIFY(QFileInfo(folder).isFile());
    }
};

CALDERWICK_TEST_MAIN(TestStatsManager)
#include "tst_statsmanager.moc"
