#pragma once

#include <QMutex>
#include <QObject>
#include <QPointer>
#include <QSqlQuery>
#include <QString>
#include <QWaitCondition>

#include <atomic>
#include <memory>

class StatsThread;

// One SQL statement for the statistics thread. Made by StatsManager, not started. The owner
// either deletes it after finished() (never while queued) or hands it over with release(),
// which works from any thread, one without an event loop included.
class StatsRequest : public QObject
{
    Q_OBJECT
public:
    enum State { Pending = 0, Failed = 3, Done = 4 };

    StatsRequest(const QString &sql, StatsThread *thread, QObject *parent = nullptr);
    ~StatsRequest() override;

    // Queues the statement; with "stats.send.stats" false it emits finished() at once instead.
    void start();
    // Queues and waits, with a local event loop so that the window stays alive, until the
    // statistics thread has run the statement or limitMs has passed; returns state(), or
    // Pending when the store did not answer in time or statistics are off. After a Pending
    // the request may still be queued: hand it over with release(), never delete it.
    int startAndWait(int limitMs = WaitLimitMs);
    static constexpr int WaitLimitMs = 10000;
    // True from start() until the statistics thread is done with the request.
    bool isQueued() const;
    // Gives the request up: deleted at once when the statistics thread is done with it (or
    // never had it), else by that thread right after finished(). Not to be touched afterwards.
    void release();
    // Requests in existence in the process, for leak checks.
    static int liveCount();

    QString sql() const { return m_sql; }
    int state() const { return m_state; }
    // Error text of the last failure, empty after success.
    QString errorText() const { return m_errorText; }
    // The result for the reader after finished(). Rows are fully fetched by the statistics
    // thread, so reading them never touches the database. Use by reference: the thread
    // releases the query itself when the request goes.
    QSqlQuery &query() { return m_query; }

signals:
    void finished();

private:
    friend class StatsThread;
    bool isDone() const;

    QString m_sql;
    QPointer<StatsThread> m_thread; // null once the store is gone: start() then just finishes
    // Told by the statistics thread once it is done with the request. Shared, because the
    // request's owner may delete the request as soon as finished() is out.
    struct Completion
    {
        QMutex mutex;
        QWaitCondition condition;
        bool done = false;
        bool released = false; // the owner let go: the statistics thread deletes the request
        // Marks the request done; true when it was released and must now be deleted.
        bool set();
    };

    int m_state = Pending;
    bool m_queued = false;
    QString m_errorText;
    QSqlQuery m_query;
    std::shared_ptr<Completion> m_completion = std::make_shared<Completion>();
    static std::atomic<int> s_live;
};
