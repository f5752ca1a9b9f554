#pragma once

#include <QList>
#include <QMutex>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QThread>

class StatsRequest;

// Runs all SQLite work of the statistics store, in order of arrival. It runs only while
// requests are queued and is started again by the next enqueue().
class StatsThread : public QThread
{
    Q_OBJECT
public:
    // Adds the "STATS_DATABASE" connection on databasePath and creates the table.
    explicit StatsThread(const QString &databasePath, QObject *parent = nullptr);
    // Waits for the queue to drain, then removes the connection.
    ~StatsThread() override;

    // Appends the request and starts the thread if it is idle. Costs one mutex lock.
    void enqueue(StatsRequest *request);
    // Hands a finished query back so that its result is released on this thread, never
    // concurrently with a statement in progress.
    void retire(const QSqlQuery &query);

protected:
    void run() override;

private:
    StatsRequest *takeNext();
    void execute(StatsRequest *request);
    // Tells the request's owner, and deletes a request its owner has released.
    void complete(StatsRequest *request);
    void failPending(const QString &error);

    QMutex m_mutex;
    QList<StatsRequest *> m_pending;  // guarded by m_mutex
    QList<QSqlQuery> m_retired;       // guarded by m_mutex
    bool m_active = false;            // guarded by m_mutex: run() has work or is about to
    QSqlDatabase m_database;          // used by run() only, once constructed
};
