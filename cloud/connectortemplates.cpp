// Connector: the template list with its one-day cache, single templates and their OVA downloads.
#include "connector.h"

#include "download.h"
#include "vmtemplate.h"

#include <QDateTime>
#include <QDebug>
#include <QSettings>

namespace {
const qint64 CacheLifetimeMs = 86400000; // one full day still counts as fresh
}

int Connector::getVmTemplates(QList<VmTemplate> &list, bool forceRefresh)
{
    const qint64 stamp = m_templatesCache->value(QStringLiteral("templates.timestamp"), 0).toLongLong();
    QVariantList json = m_templatesCache->value(QStringLiteral("templates.json")).toList();
    const qint64 now = QDateTime::currentMSecsSinceEpoch();

    if (forceRefresh || json.isEmpty() || now - stamp > CacheLifetimeMs) {
        QVariantList fresh;
        const int code = retrieveJsonList(QStringLiteral("/vmtemplate/getall"), fresh);
        if (code != 1)
            return code; // a stale cache is no fallback
        json = fresh;
        m_templatesCache->setValue(QStringLiteral("templates.timestamp"), now);
        m_templatesCache->setValue(QStringLiteral("templates.json"), json);
        m_templatesCache->sync();
    }

    list.clear();
    for (const QVariant &element : qAsConst(json))
        list.append(VmTemplate(element.toMap()));
    return 1;
}

int Connector::getVmTemplate(const QString &uuid, VmTemplate &vmTemplate)
{
    qDebug().noquote() << "get vm template " + uuid;
    QVariantList list;
    const int code = retrieveJsonList(QStringLiteral("/vmtemplate/%1/getvm").arg(uuid), list);
    if (code != 1)
        return code;
    if (list.size() != 1) {
        qCritical() << "Retrieved content is not a list of one VM Template";
        return 5;
    }
    vmTemplate = VmTemplate(list.first().toMap());
    return vmTemplate.writeToDirectory(templatesDirectory());
}

Download *Connector::downloadFile(const QString &destinationPath, const QUrl &url, const QString &downloadId)
{
    qDebug().noquote() << "[downloadFile]" << url.toString() << "->" << destinationPath;
    return new Download(destinationPath, url, downloadId, m_networkAccessManager);
}

Download *Connector::downloadOva(const VmTemplate &systemTemplate)
{
    const QUrl url(m_baseUrl.toString() + QStringLiteral("/vmtemplate/") + systemTemplate.uuid + QStringLiteral("/getova"));
    return downloadFile(systemTemplate.systemVersion.localOvaPath(), url, QStringLiteral("ova_") + systemTemplate.uuid);
}
