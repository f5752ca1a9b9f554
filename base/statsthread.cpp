#include "statsthread.h"

#include "statsrequest.h"

#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QMutexLocker>
#include <QSqlDriver>
#include <QSqlError>

namespace {
const char ConnectionName[] = "STATS_DATABASE";
const char TableName[] = "stats";
}

StatsThread::StatsThread(const QString &databasePath, QObject *parent) : QThread(parent)
{
    // The folder may not exist yet on a first start; if it can't be made, open() says why.
    QDir().mkpath(QFileInfo(databasePath).absolutePath());

    m_database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QLatin1String(ConnectionName));
    m_database.setDatabaseName(databasePath);
    bool ok = m_database.open();
    QString error = m_database.lastError().text();
    if (ok) {
        QSqlQuery setup(m_database);
        ok = setup.exec(QStringLiteral("CREATE TABLE IF NOT EXISTS %1 (id INTEGER PRIMARY KEY AUTOINCREMENT, data TEXT)")
                            .arg(QLatin1String(TableName)));
        error = setup.lastError().text();
    }
    if (!ok) {
        qWarning().noquote() << "[Stats]" << "SQLite error:" << error;
        m_database.close();
    }
    // From here on only run() touches the connection.
    if (m_database.driver())
        m_database.driver()->moveToThread(this);
}

StatsThread::~StatsThread()
{
    wait();
    QMutexLocker lock(&m_mutex);
    m_retired.clear();
    m_database = QSqlDatabase();
    QSqlDatabase::removeDatabase(QLatin1String(ConnectionName));
}

void StatsThread::enqueue(StatsRequest *request)
{
    QMutexLocker lock(&m_mutex);
    m_pending.append(request);
    if (!m_active) {
        m_active = true;
        // A run() that found the queue empty has given up under this mutex and only has to
        // return; join it so that start() really starts a new run.
        wait();
        start();
    }
}

void StatsThread::retire(const QSqlQuery &query)
{
    QMutexLocker lock(&m_mutex);
    m_retired.append(query);
}

void StatsThread::run()
{
    if (!m_database.isOpen() && !m_database.open()) {
        const QString error = m_database.lastError().text();
        qCritical().noquote() << "[Stats]" << "Can't open database: " + error;
        // Nobody may wait forever for a request that can't run.
        failPending(error);
        return;
    }
    while (StatsRequest *request = takeNext()) {
        execute(request);
        complete(request);
    }
}

void StatsThread::complete(StatsRequest *request)
{
    // Once finished() is out the owner may delete the request: keep what is left to do.
    const auto completion = request->m_completion;
    emit request->finished();
    if (completion->set())
        delete request; // released by its owner, nobody else holds it
}

StatsRequest *StatsThread::takeNext()
{
    QList<QSqlQuery> retired;
    QMutexLocker lock(&m_mutex);
    retired.swap(m_retired); // released below, outside the lock, on this thread
    if (m_pending.isEmpty()) {
        m_active = false;
        return nullptr;
    }
    return m_pending.takeFirst();
}

void StatsThread::execute(StatsRequest *request)
{
    QSqlQuery query(m_database);
    if (query.exec(request->m_sql)) {
        if (query.isSelect()) {
            // Fetch every row now so that the reader, on another thread, only reads the cache.
            query.last();
            query.seek(-1);
        }
        request->m_state = StatsRequest::Done;
        request->m_errorText.clear();
    } else {
        request->m_errorText = query.lastError().text();
        qWarning().noquote() << "[Stats]" << "SQLite error:" << request->m_errorText;
        request->m_state = StatsRequest::Failed;
    }
    request->m_query = query;
}

void StatsThread::failPending(const QString &error)
{
    QList<StatsRequest *> failed;
    {
        QMutexLocker lock(&m_mutex);
        failed.swap(m_pending);
        m_active = false;
    }
    for (StatsRequest *request : qAsConst(failed)) {
        request->m_errorText = error;
        request->m_state = StatsRequest::Failed;
        complete(request);
    }
}
