#include "statssender.h"

#include "connector.h"
#include "settings.h"
#include "statsmanager.h"
#include "statsrequest.h"

#include <QDateTime>
#include <QDebug>

namespace {
const qint64 DeliveryIntervalSecs = 86400;
const int BatchLimit = 1500;
}

StatsSender::StatsSender(QObject *parent) : QObject(parent)
{
}

QString StatsSender::batchText(const QStringList &values)
{
    QString batch = QStringLiteral("[");
    for (const QString &value : values)
        batch += QStringLiteral("\"%1\",").arg(value);
    batch += QLatin1Char(']');
    return batch;
}

void StatsSender::retrieveSomeStats()
{
    const qint64 now = QDateTime::currentDateTimeUtc().toSecsSinceEpoch();
    const qint64 last = settingsValue(QStringLiteral("stats.last"), 0).toLongLong();
    if (now - last <= DeliveryIntervalSecs) {
        deleteLater();
        return;
    }
    m_request = StatsManager::instance()->selectRecords(BatchLimit);
    m_request->setParent(this);
    connect(m_request, &StatsRequest::finished, this, &StatsSender::localStatsRetrieved);
    m_request->start();
}

void StatsSender::localStatsRetrieved()
{
    if (!m_request || m_request->state() != StatsRequest::Done) {
        qWarning().noquote() << "[Stats]" << "Can't retrieve stats:"
                             << (m_request ? m_request->errorText() : QString());
        deleteLater();
        return;
    }
    QStringList values;
    quint64 lastId = 0;
    QSqlQuery &query = m_request->query();
    while (query.next()) {
        values.append(query.value(0).toString());
        lastId = query.value(1).toULongLong();
    }
    if (values.isEmpty()) {
        deleteLater();
        return;
    }

    if (Connector::instance()->sendStats(batchText(values)) != 1) {
        // Refused or unanswered: the rows stay and the day is not counted, so the next good
        // login delivers them; one delivery per login keeps a failing cloud from being pressed.
        qWarning() << "[Stats]" << "Batch not delivered, kept for the next delivery";
        deleteLater();
        return;
    }

    // Delivered: these rows go, and the next batch comes a day later.
    StatsRequest *cleanUp = StatsManager::instance()->deleteRecords(lastId);
    setSettingsValue(QStringLiteral("stats.last"), QDateTime::currentDateTimeUtc().toSecsSinceEpoch());
    cleanUp->start();
    cleanUp->release();
    deleteLater();
}
