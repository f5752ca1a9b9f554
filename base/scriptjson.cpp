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

namespace {

bool isWordChar(ushort c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '$';
}

bool isDigit(ushort c)
{
    return (c >= '0' && c <= '9') || c == '.';
}

} // namespace

QString refusal(const QString &content)
{
    if (content.size() > MaxTextChars)
        return QStringLiteral("longer than %1 characters").arg(MaxTextChars);
    const ushort *text = content.utf16();
    const int size = content.size();
    int depth = 0;
    int values = 0;
    for (int i = 0; i < size;) {
        const ushort c = text[i];
        if (c == '"' || c == '\'') {
            // Inside a string anything goes; a backslash takes the next character with it.
            for (++i; i < size && text[i] != c; ++i) {
                if (text[i] == '\\')
                    ++i;
            }
            if (i >= size)
                return QStringLiteral("unterminated string");
            ++i;
        } else if (c == '[' || c == '{') {
            if (++depth > MaxNesting)
                return QStringLiteral("nested deeper than %1").arg(MaxNesting);
            if (++values > MaxValues)
                return QStringLiteral("more than %1 values").arg(MaxValues);
            ++i;
        } else if (c == ']' || c == '}') {
            --depth; // a mismatch is the parser's to report
            ++i;
        } else if (c == ',') {
            if (++values > MaxValues)
                return QStringLiteral("more than %1 values").arg(MaxValues);
            ++i;
        } else if (c == ':' || c == ' ' || c == '\t' || c == '\r' || c == '\n') {
            ++i;
        } else if (isDigit(c) || ((c == '-' || c == '+') && i + 1 < size && isDigit(text[i + 1]))) {
            // A number with its sign; an exponent's sign belongs to it too ("1e-5").
            for (++i; i < size; ++i) {
                const bool exponentSign = (text[i] == '-' || text[i] == '+') && (text[i - 1] == 'e' || text[i - 1] == 'E');
                if (!isWordChar(text[i]) && text[i] != '.' && !exponentSign)
                    break;
            }
        } else if (isWordChar(c)) {
            const int start = i;
            while (i < size && isWordChar(text[i]))
                ++i;
            const QStringRef word = content.midRef(start, i - start);
            if (word != QLatin1String("true") && word != QLatin1String("false") && word != QLatin1String("null"))
                return QStringLiteral("name \"%1\"").arg(word.left(32));
        } else {
            return QStringLiteral("character \"%1\" at %2").arg(QChar(c)).arg(i);
        }
    }
    return QString();
}

bool evaluate(const QString &content, QVariant &value, int limitMs)
{
    const QString refused = refusal(content);
    if (!refused.isEmpty()) {
        qWarning().noquote() << "[ScriptJson] Reply refused, not plain data:" << refused;
        return false;
    }
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
