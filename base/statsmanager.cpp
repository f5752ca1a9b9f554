#include "statsmanager.h"

#include "processsingleton.h"

#include "playeroptions.h"
#include "settings.h"
#include "statsrequest.h"
#include "statsthread.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDeadlineTimer>
#include <QDebug>
#include <QMutex>
#include <QMutexLocker>

namespace {


const char TableName[] = "stats";

bool isInteger(const QVariant &value)
{
    switch (value.userType()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
        return true;
    default:
        return false;
    }
}

} // namespace

StatsManager::StatsManager() : m_thread(new StatsThread(databasePath(), this))
{
}

StatsManager::~StatsManager() = default; // the child thread joins in its own destructor

StatsManager *StatsManager::instance()
{
    return ProcessSingleton<StatsManager>::instance();
}

void StatsManager::destroy()
{
    ProcessSingleton<StatsManager>::destroy();
}

int StatsManager::reportEvent(const QString &name, const QMap<QString, QVariant> &infos, bool wait)
{
    StatsRequest *request = insertRecord(name, infos);
    int state = StatsRequest::Pending;
    if (wait)
        state = request->startAndWait();
    else
        request->start();
    // Reporters run on any thread, with or without an event loop; after a wait that ran
    // out the request is still queued and only the statistics thread may delete it.
    request->release();
    return state;
}

int StatsManager::reportEvent(const QString &name, bool wait)
{
    return reportEvent(name, QMap<QString, QVariant>(), wait);
}

bool StatsManager::waitUntilIdle(int limitMs)
{
    // The thread ends as soon as its queue is empty.
    if (m_thread->wait(QDeadlineTimer(limitMs)))
        return true;
    qWarning() << "[Stats]" << "Statistics store did not answer in time";
    return false;
}

StatsRequest *StatsManager::insertRecord(const QString &name, const QMap<QString, QVariant> &infos)
{
    const qint64 installDate = settingsValue(QStringLiteral("stats.installation.date"), QStringLiteral("0")).toLongLong();
    const QString record = buildRecord(name, infos, QDateTime::currentSecsSinceEpoch(), installDate);
    // Base64 keeps any quote of the record out of the statement.
    const QString data = QString::fromLatin1(record.toUtf8().toBase64());
    return new StatsRequest(QStringLiteral("INSERT INTO %1 (data) VALUES ('%2')").arg(QLatin1String(TableName), data),
                            m_thread);
}

StatsRequest *StatsManager::selectRecords(int limit)
{
    return new StatsRequest(
        QStringLiteral("SELECT data, id FROM %1 ORDER BY id ASC LIMIT %2").arg(QLatin1String(TableName)).arg(limit),
        m_thread);
}

StatsRequest *StatsManager::deleteRecords(quint64 lastId)
{
    return new StatsRequest(QStringLiteral("DELETE FROM %1 WHERE id <= %2").arg(QLatin1String(TableName)).arg(lastId),
                            m_thread);
}

QString StatsManager::infosToJson(const QMap<QString, QVariant> &infos)
{
    QString text = QStringLiteral("{");
    for (auto it = infos.cbegin(); it != infos.cend(); ++it) {
        if (it != infos.cbegin())
            text += QLatin1Char(',');
        text += QLatin1Char('"') + it.key() + QStringLiteral("\":");
        if (isInteger(it.value()))
            text += it.value().toString();
        else
            text += QLatin1Char('"') + it.value().toString() + QLatin1Char('"');
    }
    text += QLatin1Char('}');
    return text;
}

QString StatsManager::buildRecord(const QString &name, const QMap<QString, QVariant> &infos, qint64 timestamp,
                                  qint64 installDate)
{
    // One multi-argument arg(): a '%' inside a name or value is never taken for a marker.
    return QStringLiteral("{\"timestamp\":%1,\"version\":\"%2\",\"installdate\":%3,\"event\":\"%4\",\"infos\":%5}")
        .arg(QString::number(timestamp), QLatin1String(PlayerVersion), QString::number(installDate), name,
             infosToJson(infos));
}

QString StatsManager::databasePath()
{
    return brackenleaDirectory() + QStringLiteral("/stats.db");
}
