#include "tooloutput.h"

#include <QDebug>
#include <QList>
#include <QRegExp>
#include <QRegularExpression>

namespace ToolOutput {

QStringList deviceSerials(const QByteArray &output)
{
    static const QRegularExpression deviceLine(QStringLiteral("^(\\S+)\\s+(\\S+)$"));
    QList<QByteArray> lines = output.split('\n');
    if (!lines.isEmpty())
        lines.removeFirst(); // "List of devices attached"
    QStringList serials;
    for (const QByteArray &raw : qAsConst(lines)) {
        const QRegularExpressionMatch match = deviceLine.match(QString::fromLocal8Bit(raw).trimmed());
        if (!match.hasMatch())
            continue;
        if (serials.size() >= MaxDevices) {
            qWarning() << "[Adb] more than" << MaxDevices << "devices listed, the rest is ignored";
            break;
        }
        serials << match.captured(1);
    }
    return serials;
}

bool isNetworkSerial(const QString &serial)
{
    static const QRegularExpression form(QStringLiteral("^\\d+\\.\\d+\\.\\d+\\.\\d+\\:\\d+$"));
    return form.match(serial).hasMatch();
}

namespace {

bool anyLineMatches(const QByteArray &properties, const QRegularExpression &pattern)
{
    for (const QByteArray &line : properties.split('\n')) {
        if (pattern.match(QString::fromLocal8Bit(line).trimmed()).hasMatch())
            return true;
    }
    return false;
}

} // namespace

bool mentionsCalderwick(const QByteArray &properties)
{
    static const QRegularExpression pattern(QStringLiteral("caldd"));
    return anyLineMatches(properties, pattern);
}

bool hasCalderwickProperty(const QByteArray &properties)
{
    static const QRegularExpression pattern(QStringLiteral("^\\[caldd\\."));
    return anyLineMatches(properties, pattern);
}

QString errorWord(const QString &output)
{
    // Minimal matching: "[A] and [B]" gives "A", not "A] and [B".
    QRegExp bracket(QStringLiteral("\\[(.*)\\]"), Qt::CaseSensitive, QRegExp::RegExp2);
    bracket.setMinimal(true);
    for (const QString &line : output.split(QLatin1Char('\n'))) {
        // A bracket at the very start is a tool's own prefix, not an error word.
        if (bracket.indexIn(line) > 0)
            return bracket.cap(1);
    }
    return output;
}

QString quotedName(const QString &line)
{
    // Minimal, so that a line with several names gives the first one.
    QRegExp name(QStringLiteral("name='(.*)'"));
    name.setMinimal(true);
    return name.indexIn(line) >= 0 ? name.cap(1) : QString();
}

ApkBadging parseBadging(const QByteArray &output)
{
    ApkBadging badging;
    for (const QByteArray &raw : output.split('\n')) {
        const QString line = QString::fromUtf8(raw);
        if (line.startsWith(QLatin1String("package:"))) {
            qDebug() << "[Aapt]" << "Package found";
            badging.packageName = quotedName(line);
        } else if (line.startsWith(QLatin1String("launchable-activity:"))) {
            qDebug() << "[Aapt]" << "Launchable Activity found";
            badging.launchableActivity = quotedName(line);
        }
    }
    return badging;
}

} // namespace ToolOutput

int ToolOutput::pushPercent(const QByteArray &output)
{
    int found = -1;
    for (int open = output.indexOf('['); open >= 0; open = output.indexOf('[', open + 1)) {
        int at = open + 1;
        while (at < output.size() && output.at(at) == ' ')
            ++at;
        int value = 0;
        int digits = 0;
        while (at < output.size() && digits < 4 && output.at(at) >= '0' && output.at(at) <= '9') {
            value = value * 10 + (output.at(at) - '0');
            ++digits;
            ++at;
        }
        if (digits > 0 && value <= 100 && output.mid(at, 2) == "%]")
            found = value;
    }
    return found;
}
