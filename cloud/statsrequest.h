#pragma once

#include <QObject>
#include <QPointer>
#include <QSqlQuery>
#include <QString>

class StatsThread;

// One SQL statement for the statistics thread. Made by StatsManager, not started; the owner
// deletes it after finished() (never while queued), usually by connecting finished() to deleteLater().
class StatsRequest : public QObject
{
    Q_OBJECT
public:
    enum State { Pending = 0, Failed = 3, Done = 4 };

    StatsRequest(const QString &sql, StatsThread *thread, QObject *parent = nullptr);
    ~StatsRequest() override;

    // Queues the statement; with "stats.send.stats" false it emits finished() at once instead.
    void start();
    // Queues and runs a local event loop until finished(); returns state(). Returns at once
    // (state Pending) when statistics are off.
    int startAndWait();

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

    QString m_sql;
    QPointer<StatsThread> m_thread; // null once the store is gone: start() then just finishes
    int m_state = Pending;
    QString m_errorText;
    QSqlQuery m_query;
};
