#pragma once

#include <QMap>
#include <QObject>
#include <QString>
#include <QVariant>

class StatsRequest;
class StatsThread;

// The usage statistics store: each event becomes one Base64 JSON row of the "stats" table
// in "<home>/.Brackenlea/stats.db", written by StatsThread so that reporting never blocks.
//
// Process-wide singleton, created on first use. Lifetime: the thread must be joined and the
// SQL connection removed while QCoreApplication still exists, so instance() registers
// destroy() as a post routine of the application (run by ~QCoreApplication); the owner may
// also call destroy() earlier, e.g. at the end of exitPlayer. A later instance() makes a new one.
template <typename> class ProcessSingleton;

class StatsManager : public QObject
{
    Q_OBJECT
public:
    static StatsManager *instance();
    // Joins the thread and deletes the singleton; harmless when none exists.
    static void destroy();

    // The call for all reporters. With wait, a local event loop runs until the row is written
    // or StatsRequest::WaitLimitMs is over; the result is then the request's state, Pending
    // if the store did not answer in time (the row may still come) or statistics are off.
    // The player's stop records don't wait here: see waitUntilIdle.
    int reportEvent(const QString &name, const QMap<QString, QVariant> &infos, bool wait = false);
    int reportEvent(const QString &name, bool wait = false);

    // Blocks until every queued request has run, for at most limitMs; false if the store
    // did not get there in time. For the very end of the process, once nothing is on screen.
    bool waitUntilIdle(int limitMs);

    // Requests handed back not started; the caller owns them.
    StatsRequest *insertRecord(const QString &name, const QMap<QString, QVariant> &infos);
    StatsRequest *selectRecords(int limit);
    StatsRequest *deleteRecords(quint64 lastId);

    // "{"k":v,...}" in key order; integers bare, anything else quoted; nothing escaped.
    static QString infosToJson(const QMap<QString, QVariant> &infos);
    // The JSON record of one event.
    static QString buildRecord(const QString &name, const QMap<QString, QVariant> &infos,
                               qint64 timestamp, qint64 installDate);
    static QString databasePath();

private:
    template <typename> friend class ProcessSingleton;
    StatsManager();
    ~StatsManager() override;

    StatsThread *m_thread; // child
};
