#include "cameracommand.h"

#include <QRegularExpression>

namespace {

bool matches(const QRegularExpression &pattern, const QString &text, QRegularExpressionMatch *match)
{
    *match = pattern.match(text);
    return match->hasMatch();
}

void parseStart(const QString &part, quint32 maximumDimension, CameraCommand &command)
{
    static const QRegularExpression pixPattern(QStringLiteral("^pix=(\\d+)$"));
    static const QRegularExpression dimPattern(QStringLiteral("^dim=(\\d+)x(\\d+)$"));
    QRegularExpressionMatch match;
    bool ok = false;
    if (matches(pixPattern, part, &match)) {
        const quint32 value = match.captured(1).toUInt(&ok);
        if (ok) {
            command.hasFormat = true;
            command.format = value;
            return;
        }
    } else if (matches(dimPattern, part, &match)) {
        bool heightOk = false;
        const quint32 w = match.captured(1).toUInt(&ok);
        const quint32 h = match.captured(2).toUInt(&heightOk);
        if (ok && heightOk && w > 0 && h > 0 && w <= maximumDimension && h <= maximumDimension) {
            command.hasSize = true;
            command.width = w;
            command.height = h;
            return;
        }
    }
    command.skipped << part;
}

void parseFrame(const QString &part, CameraCommand &command)
{
    static const QRegularExpression whitePattern(
        QStringLiteral("^whiteb=([\\d|\\.]+),([\\d|\\.]+),([\\d|\\.]+)$"));
    static const QRegularExpression exposurePattern(QStringLiteral("^expcomp=([\\d|\\.]+)$"));
    static const QRegularExpression previewPattern(QStringLiteral("^preview=(\\d+)$"));
    static const QRegularExpression videoPattern(QStringLiteral("^video=(\\d+)$"));
    QRegularExpressionMatch match;
    bool ok = true;
    if (matches(whitePattern, part, &match)) {
        command.red = match.captured(1).toFloat();
        command.green = match.captured(2).toFloat();
        command.blue = match.captured(3).toFloat();
    } else if (matches(exposurePattern, part, &match)) {
        command.exposure = match.captured(1).toFloat();
    } else if (matches(previewPattern, part, &match)) {
        command.previewSize = match.captured(1).toULongLong(&ok);
    } else if (matches(videoPattern, part, &match)) {
        command.videoSize = match.captured(1).toULongLong(&ok);
    } else {
        ok = false;
    }
    if (!ok)
        command.skipped << part;
}

} // namespace

CameraCommand CameraCommand::parse(const QString &text, quint32 maximumDimension)
{
    CameraCommand command;
    // Tested in this order on the whole text, case-sensitively.
    const std::pair<const char *, Kind> kinds[] = {{"connect", Connect}, {"disconnect", Disconnect},
                                                   {"start", Start},     {"infos", Infos},
                                                   {"stop", Stop},       {"frame", Frame}};
    for (const auto &kind : kinds) {
        if (text.startsWith(QLatin1String(kind.first))) {
            command.kind = kind.second;
            break;
        }
    }
    if (command.kind != Start && command.kind != Frame)
        return command;
    // Parts without "=" (the command's own word among them) are passed over silently.
    for (const QString &part : text.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        if (!part.contains(QLatin1Char('=')))
            continue;
        if (command.kind == Start)
            parseStart(part, maximumDimension, command);
        else
            parseFrame(part, command);
    }
    return command;
}
