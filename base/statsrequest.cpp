#include "statsrequest.h"

#include "settings.h"
#include "statsthread.h"

#include <QDebug>
#include <QEventLoop>
#include <QTimer>

std::atomic<int> StatsRequest::s_live{0};

StatsRequest::StatsRequest(const QString &sql, StatsThread *thread, QObject *parent)
    : QObject(parent), m_sql(sql), m_thread(thread)
{
    ++s_live;
}

StatsRequest::~StatsRequest()
{
    --s_live;
    // The result belongs to the SQLite connection that the statistics thread is using.
    if (m_thread && m_state != Pending)
        m_thread->retire(m_query);
}

void StatsRequest::start()
{
    if (!settingsValue(QStringLiteral("stats.send.stats"), true).toBool() || !m_thread) {
        emit finished();
        return;
    }
    m_queued = true;
    m_thread->enqueue(this);
}

int StatsRequest::startAndWait(int limitMs)
{
    if (!settingsValue(QStringLiteral("stats.send.stats"), true).toBool() || !m_thread) {
        start();
        return m_state;
    }
    // The window must keep painting meanwhile; the caller only goes on once the thread is
    // done or the limit is over.
    QEventLoop loop;
    QTimer limit;
    limit.setSingleShot(true);
    connect(&limit, &QTimer::timeout, &loop, &QEventLoop::quit);
    connect(this, &StatsRequest::finished, &loop, &QEventLoop::quit, Qt::QueuedConnection);
    // finished() goes out just before the thread marks the request done (after that the
    // owner may delete it), so the wake-up can come too early: look again shortly after.
    QTimer recheck;
    recheck.setInterval(5);
    connect(&recheck, &QTimer::timeout, &loop, [this, &loop] {
        if (isDone())
            loop.quit();
    });
    start();
    limit.start(limitMs);
    recheck.start();
    // The loop may also end early, by an exit() of the application: the result is then unknown.
    while (!isDone() && limit.isActive()) {
        if (loop.exec() < 0)
            break;
    }
    if (!isDone()) {
        qWarning() << "[Stats]" << "Statistics store did not answer in time";
        return Pending;
    }
    return m_state;
}

bool StatsRequest::isDone() const
{
    QMutexLocker lock(&m_completion->mutex);
    return m_completion->done;
}

bool StatsRequest::isQueued() const
{
    QMutexLocker lock(&m_completion->mutex);
    return m_queued && !m_completion->done;
}

void StatsRequest::release()
{
    {
        QMutexLocker lock(&m_completion->mutex);
        if (m_queued && !m_completion->done) {
            // Still the thread's: it deletes the request once done. A deleteLater() instead
            // would need an event loop on the reporter's thread, which many never run.
            m_completion->released = true;
            return;
        }
    }
    delete this;
}

int StatsRequest::liveCount()
{
    return s_live;
}

bool StatsRequest::Completion::set()
{
    QMutexLocker lock(&mutex);
    done = true;
    condition.wakeAll();
    return released;
}
