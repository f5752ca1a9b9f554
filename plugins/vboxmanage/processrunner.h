#pragma once

#include <QByteArray>
#include <QMutex>
#include <QString>
#include <QStringList>

// Runs one command-line tool (VBoxManage) and waits for it within a time limit, so that a
// hung tool can never hang the caller: past the limit the tool is killed and the run fails.
// Safe to use from several threads at once: each run has a QProcess of its own.
class ProcessRunner
{
public:
    struct Result
    {
        bool started = false;  // the program could be executed
        bool timedOut = false; // killed at the limit
        int exitCode = -1;     // valid when started, not timed out and not crashed
        bool crashed = false;
        QByteArray standardOutput;
        QByteArray standardError;

        // Ran to its end with exit code 0.
        bool ok() const { return started && !timedOut && !crashed && exitCode == 0; }
        // Both streams, for messages that VBoxManage writes to either.
        QByteArray allOutput() const { return standardOutput + standardError; }
    };

    // Output beyond this many bytes per stream is dropped: nothing we read is that long.
    static constexpr int MaxOutputBytes = 4 * 1024 * 1024;

    explicit ProcessRunner(const QString &program = QString());

    QString program() const;
    void setProgram(const QString &program);

    // Runs the program with the arguments and waits at most timeoutMs for its end.
    // Logs a clear line when it cannot start, times out (and is killed) or crashes.
    Result run(const QStringList &arguments, int timeoutMs) const;
    // As run(), and when the tool ran to its end but failed, logs the context and the
    // tool's error lines. True when it succeeded.
    bool runLogged(const QStringList &arguments, int timeoutMs, const QString &context,
                   Result *result = nullptr) const;

private:
    mutable QMutex mutex;
    QString programPath;
};
