#include "journal.h"

#include <QJsonDocument>

Journal::Journal(QObject *parent)
    : QObject(parent)
{
    clock.start();
}

bool Journal::open(const QString &path)
{
    file.close();
    file.setFileName(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Append);
}

void Journal::record(const QString &channel, QJsonObject fields)
{
    fields.insert(QStringLiteral("t"), static_cast<double>(clock.nsecsElapsed() / 1000) / 1000.0);
    fields.insert(QStringLiteral("channel"), channel);
    if (file.isOpen()) {
        file.write(QJsonDocument(fields).toJson(QJsonDocument::Compact) + '\n');
        file.flush();
    }
    kept << fields;
    if (kept.size() > KeptInMemory)
        kept.removeFirst();
    emit recorded(fields);
}

QList<QJsonObject> Journal::entries(const QString &channel) const
{
    QList<QJsonObject> result;
    for (const QJsonObject &entry : kept) {
        if (entry.value(QStringLiteral("channel")).toString() == channel)
            result << entry;
    }
    return result;
}
