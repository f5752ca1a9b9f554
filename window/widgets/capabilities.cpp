#include "capabilities.h"

#include "scriptjson.h"

#include <QDebug>

quint32 withDisabledReason(quint32 mask, quint32 possible, quint32 reason)
{
    if ((reason & possible) != reason)
        return mask;
    return mask | reason;
}

quint32 withoutDisabledReason(quint32 mask, quint32 reason)
{
    return mask & ~reason;
}

bool parseCapabilities(const QString &text, QVariantMap &map)
{
    // The device writes this text: only plain data is evaluated, within a time limit, so
    // that a script in it can neither run nor hang the player.
    QVariant converted;
    if (!ScriptJson::refusal(text).isEmpty() || !ScriptJson::evaluate(text, converted) ||
        converted.type() != QVariant::Map) {
        qCritical() << "Bad capabilities format";
        return false;
    }
    map = converted.toMap();
    return true;
}

bool capabilityEnabled(const QString &name, const QVariantMap &map)
{
    const auto found = map.constFind(name);
    if (found != map.constEnd()) {
        const QString value = found.value().toString().trimmed().toLower();
        if (value == QLatin1String("on")) {
            qDebug().noquote() << QLatin1Char('"') + name + QLatin1Char('"') << ": capability is:" << value;
            return true;
        }
    }
    qDebug().noquote() << QLatin1Char('"') + name + QLatin1Char('"') << ": capability not found on system";
    return false;
}
