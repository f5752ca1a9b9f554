#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>

// A child process whose standard output and error are a pseudo-terminal, read in chunks as
// they come. Tools such as adb print their progress only to a terminal; this is how the
// player sees it. Blocking: call it from a worker thread.
class TerminalProcess
{
public:
    // Called with each chunk of output; returning false ends the child (SIGTERM, then
    // SIGKILL). Called at least every 200 ms even without output, with an empty chunk.
    using Reader = std::function<bool(const QByteArray &chunk)>;

    enum Result { NotStarted = -1, Stopped = -2 };

    // The exit code, NotStarted when the program could not be run, Stopped when the reader
    // ended it, or -3 when a signal ended it. The terminal is as wide as the widest line
    // adb could print, so nothing it says is shortened.
    static int run(const QString &program, const QStringList &arguments, const Reader &reader);
};
