#include "statsrequest.h"

#include "settings.h"
#include "statsthread.h"

#include <QDebug>
#include <QDeadlineTimer>

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

int StatsRequest::startAndWait()
{
    if (!settingsValue(QStringLiteral("stats.send.stats"), true).toBool() || !m_thread) {
        start();
        return m_state;
    }
    // A plain wait, not a local event loop: the caller is on its way out (the player's last
    // record) and nothing else should run meanwhile, this request's own deleteLater() included.
    const std::shared_ptr<Completion> completion = m_completion;
    QMutexLocker lock(&completion->mutex);
    m_queued = true;
    m_thread->enqueue(this);
    QDeadlineTimer deadline(WaitLimitMs);
    while (!completion->done) {
        if (!completion->condition.wait(&completion->mutex, deadline)) {
            qWarning() << "[Stats]" << "Statistics store did not answer in time";
            break;
        }
    }
    return m_state;
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
