#pragma once

#include <QByteArray>
#include <QtGlobal>

// One process, told apart from any later one that reuses its pid by the moment the kernel
// started it. Exec does not change that moment, so a process is recognised also in the
// instant between fork and exec, when its command line is still its parent's.
class ProcessIdentity
{
public:
    ProcessIdentity() = default;
    ProcessIdentity(qint64 pid, quint64 startTicks) : processId(pid), ticks(startTicks) {}

    // The process that has pid now; invalid when there is none.
    static ProcessIdentity of(qint64 pid);
    // Reads the state letter and the start time (clock ticks after boot) from the text of
    // /proc/PID/stat; false when the text is not of that form.
    static bool parseStat(const QByteArray &stat, char *state, quint64 *startTicks);

    qint64 pid() const { return processId; }
    quint64 startTicks() const { return ticks; }
    bool isValid() const { return processId > 0 && ticks > 0; }
    // True while this very process runs: not ended, not a zombie, not a successor.
    bool isRunning() const;

private:
    qint64 processId = 0;
    quint64 ticks = 0;
};
