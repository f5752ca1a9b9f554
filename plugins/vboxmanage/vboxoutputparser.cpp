#include "vboxoutputparser.h"

#include "vmtoolsmachine.h"

#include <QRegularExpression>
#include <QStringList>

namespace {

QStringList outputLines(const QByteArray &output)
{
    QStringList lines = QString::fromUtf8(output).split(QLatin1Char('\n'));
    for (QString &line : lines) {
        if (line.endsWith(QLatin1Char('\r')))
            line.chop(1);
    }
    return lines;
}

// Reads a quoted text starting at text[*position] == '"'; leaves *position behind the
// closing quote. False when the quote is never closed.
bool readQuoted(const QString &text, int *position, QString *value)
{
    value->clear();
    int i = *position + 1;
    while (i < text.size()) {
        const QChar c = text.at(i);
        if (c == QLatin1Char('\\') && i + 1 < text.size()) {
            const QChar next = text.at(i + 1);
            value->append(next == QLatin1Char('n') ? QChar(QLatin1Char('\n')) : next);
            i += 2;
            continue;
        }
        if (c == QLatin1Char('"')) {
            *position = i + 1;
            return true;
        }
        value->append(c);
        ++i;
    }
    return false;
}

} // namespace

QMap<QString, QString> VBoxOutputParser::machineReadable(const QByteArray &output)
{
    QMap<QString, QString> values;
    for (const QString &line : outputLines(output)) {
        if (line.isEmpty())
            continue;
        QString key;
        int position = 0;
        if (line.startsWith(QLatin1Char('"'))) {
            if (!readQuoted(line, &position, &key))
                continue;
        } else {
            position = line.indexOf(QLatin1Char('='));
            if (position <= 0)
                continue;
            key = line.left(position);
        }
        if (position >= line.size() || line.at(position) != QLatin1Char('='))
            continue;
        ++position;
        QString value;
        if (position < line.size() && line.at(position) == QLatin1Char('"')) {
            if (!readQuoted(line, &position, &value))
                continue;
        } else {
            value = line.mid(position);
        }
        values.insert(key, value);
    }
    return values;
}

bool VBoxOutputParser::guestPropertyValue(const QByteArray &output, QString *value)
{
    static const QLatin1String prefix("Value: ");
    for (const QString &line : outputLines(output)) {
        if (line.startsWith(prefix)) {
            if (value)
                *value = line.mid(prefix.size());
            return true;
        }
    }
    return false;
}

QMap<QString, QString> VBoxOutputParser::guestPropertyList(const QByteArray &output)
{
    // The value may itself hold ", " or " @ ", so the field after it anchors each form.
    static const QRegularExpression older(
        QStringLiteral("^Name: (.+?), value: (.*), timestamp: \\d+, flags: ?.*$"));
    static const QRegularExpression newer(QStringLiteral("^\\s*(\\S+)\\s+=\\s+'(.*)' @ [^\\s,]+(, .*)?$"));
    QMap<QString, QString> properties;
    for (const QString &line : outputLines(output)) {
        QRegularExpressionMatch match = older.match(line);
        if (!match.hasMatch())
            match = newer.match(line);
        if (match.hasMatch())
            properties.insert(match.captured(1), match.captured(2));
    }
    return properties;
}

QList<VBoxOutputParser::VmEntry> VBoxOutputParser::vmList(const QByteArray &output)
{
    // The name may hold quotes or braces itself; the uuid is always the last braces.
    static const QRegularExpression entry(QStringLiteral("^\"(.*)\" \\{([0-9a-fA-F-]{36})\\}$"));
    QList<VmEntry> machines;
    for (const QString &line : outputLines(output)) {
        const QRegularExpressionMatch match = entry.match(line);
        if (match.hasMatch())
            machines.append({match.captured(1), match.captured(2)});
    }
    return machines;
}

QList<QMap<QString, QString>> VBoxOutputParser::hostOnlyInterfaces(const QByteArray &output)
{
    QList<QMap<QString, QString>> interfaces;
    QMap<QString, QString> current;
    const auto flush = [&]() {
        if (current.contains(QStringLiteral("Name")))
            interfaces.append(current);
        current.clear();
    };
    for (const QString &line : outputLines(output)) {
        if (line.trimmed().isEmpty()) {
            flush();
            continue;
        }
        const int colon = line.indexOf(QLatin1Char(':'));
        if (colon <= 0)
            continue;
        const QString key = line.left(colon).trimmed();
        // A second "Name" without a blank line between still starts a new interface.
        if (key == QLatin1String("Name"))
            flush();
        current.insert(key, line.mid(colon + 1).trimmed());
    }
    flush();
    return interfaces;
}

QString VBoxOutputParser::createdInterfaceName(const QByteArray &output)
{
    static const QRegularExpression created(QStringLiteral("Interface '([^']+)' was successfully created"));
    const QRegularExpressionMatch match = created.match(QString::fromUtf8(output));
    return match.hasMatch() ? match.captured(1) : QString();
}

int VBoxOutputParser::machineState(const QString &vmState)
{
    const QString word = vmState.trimmed().toLower();
    if (word == QLatin1String("running") || word == QLatin1String("teleporting")
        || word == QLatin1String("livesnapshotting"))
        return MachineState::On;
    // A saved machine starts again from its saved state, as a powered-off one starts anew.
    if (word == QLatin1String("poweroff") || word == QLatin1String("saved") || word == QLatin1String("teleported"))
        return MachineState::Off;
    if (word == QLatin1String("paused"))
        return MachineState::Paused;
    if (word == QLatin1String("aborted") || word == QLatin1String("aborted-saved"))
        return MachineState::Aborted;
    if (word == QLatin1String("starting") || word == QLatin1String("stopping") || word == QLatin1String("saving")
        || word == QLatin1String("restoring") || word == QLatin1String("settingup")
        || word == QLatin1String("onlinesnapshotting") || word == QLatin1String("snapshotting")
        || word == QLatin1String("restoringsnapshot") || word.startsWith(QLatin1String("deletingsnapshot")))
        return MachineState::Process;
    // "gurumeditation", "stuck", "inaccessible" and anything new.
    return MachineState::Undefined;
}

bool VBoxOutputParser::isVirtualizationMissing(const QByteArray &output)
{
    return output.contains("VERR_VMX_NO_VMX") || output.contains("VERR_SVM_NO_SVM")
           || output.contains("VT-x is not available") || output.contains("AMD-V is not available");
}

QString VBoxOutputParser::errorText(const QByteArray &output)
{
    static const QLatin1String prefix("VBoxManage: error: ");
    QStringList errors;
    for (const QString &line : outputLines(output)) {
        if (line.startsWith(prefix))
            errors << line.mid(prefix.size()).trimmed();
    }
    if (errors.isEmpty())
        return QString::fromUtf8(output).simplified().left(500);
    return errors.join(QStringLiteral("; "));
}
