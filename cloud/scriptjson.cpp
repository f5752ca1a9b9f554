#include "scriptjson.h"

#include <QDebug>
#include <QScriptEngine>
#include <QTimer>

namespace ScriptJson {

QString replyText(const QByteArray &body)
{
    const int nul = body.indexOf('\0');
    return QString::fromLatin1(nul < 0 ? body : body.left(nul));
}

bool evaluate(const QString &content, QVariant &value, int limitMs)
{
    QScriptEngine engine;
    // The engine turns the event loop while it runs, so the guard timer can stop it.
    engine.setProcessEventsInterval(qMax(1, limitMs / 10));
    QTimer guard;
    guard.setSingleShot(true);
    bool aborted = false;
    QObject::connect(&guard, &QTimer::timeout, &engine, [&engine, &aborted] {
        if (engine.isEvaluating()) {
            aborted = true;
            engine.abortEvaluation();
        }
    });
    guard.start(limitMs);
    const QScriptValue result = engine.evaluate(QLatin1Char('(') + content + QLatin1Char(')'));
    guard.stop();
    if (aborted) {
        qWarning() << "[ScriptJson] Reply evaluation aborted after" << limitMs << "ms";
        return false;
    }
    if (engine.hasUncaughtException() || !result.isObject())
        return false;
    value = result.toVariant();
    return true;
}

} // namespace ScriptJson
