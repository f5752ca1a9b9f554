#include "statsrequest.h"

#include "settings.h"
#include "statsthread.h"

#include <QEventLoop>

StatsRequest::StatsRequest(const QString &sql, StatsThread *thread, QObject *parent)
    : QObject(parent), m_sql(sql), m_thread(thread)
{
}

StatsRequest::~StatsRequest()
{
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
    m_thread->enqueue(this);
}

int StatsRequest::startAndWait()
{
    if (!settingsValue(QStringLiteral("stats.send.stats"), true).toBool()) {
        start();
        return m_state;
    }
    // The state is taken in the slot: a finished() -> deleteLater() connection made earlier
    // may delete this object before the loop returns.
    int result = Pending;
    QEventLoop loop;
    connect(this, &StatsRequest::finished, &loop, [this, &result, &loop] {
        result = m_state;
        loop.quit();
    }, Qt::QueuedConnection);
    start();
    loop.exec();
    return result;
}
