#include "processidentity.h"

#include <QFile>
#include <QList>

namespace {

// Fields after the command name, counted from the state (field 3 of the stat line).
constexpr int StartTimeIndex = 22 - 3;

} // namespace

bool ProcessIdentity::parseStat(const QByteArray &stat, char *state, quint64 *startTicks)
{
    // The command name in parentheses may itself hold blanks and parentheses.
    const int close = stat.lastIndexOf(')');
    if (close < 0)
        return false;
    const QList<QByteArray> fields = stat.mid(close + 1).simplified().split(' ');
    if (fields.size() <= StartTimeIndex || fields.at(0).size() != 1)
        return false;
    bool ok = false;
    const quint64 ticks = fields.at(StartTimeIndex).toULongLong(&ok);
    if (!ok)
        return false;
    *state = fields.at(0).at(0);
    *startTicks = ticks;
    return true;
}

ProcessIdentity ProcessIdentity::of(qint64 pid)
{
    if (pid <= 0)
        return ProcessIdentity();
    QFile file(QStringLiteral("/proc/%1/stat").arg(pid));
    char state = 0;
    quint64 ticks = 0;
    if (!file.open(QIODevice::ReadOnly) || !parseStat(file.read(4096), &state, &ticks) || state == 'Z'
        || state == 'X')
        return ProcessIdentity();
    return ProcessIdentity(pid, ticks);
}

bool ProcessIdentity::isRunning() const
{
    return isValid() && of(processId).startTicks() == ticks;
}
