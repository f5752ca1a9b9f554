#include "capabilities.h"

#include <QDebug>
#include <QScriptEngine>
#include <QScriptValue>

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
    // Parenthesised so that "{...}" is read as an object literal, not as a block.
    QScriptEngine engine;
    const QScriptValue result = engine.evaluate(QStringLiteral("(") + text + QStringLiteral(")"));
    if (!result.isObject() || result.isError()) {
        qCritical() << "Bad capabilities format";
        return false;
    }
    const QVariant converted = result.toVariant();
    if (converted.type() != QVariant::Map) {
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
