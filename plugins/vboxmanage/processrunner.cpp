#include "processrunner.h"

#include "vboxoutputparser.h"

#include <QDebug>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QMutexLocker>
#include <QProcess>

namespace {

// Short enough to notice the end of a quick command at once, long enough not to spin.
constexpr int PollMs = 50;

void appendBounded(QByteArray &buffer, const QByteArray &chunk)
{
    const int room = ProcessRunner::MaxOutputBytes - buffer.size();
    if (room > 0)
        buffer.append(chunk.left(room));
}

QString commandText(const QString &program, const QStringList &arguments)
{
    return QFileInfo(program).fileName() + QLatin1Char(' ') + arguments.join(QLatin1Char(' '));
}

} // namespace

ProcessRunner::ProcessRunner(const QString &program) : programPath(program)
{
}

QString ProcessRunner::program() const
{
    QMutexLocker lock(&mutex);
    return programPath;
}

void ProcessRunner::setProgram(const QString &program)
{
    QMutexLocker lock(&mutex);
    programPath = program;
}

ProcessRunner::Result ProcessRunner::run(const QStringList &arguments, int timeoutMs) const
{
    Result result;
    const QString path = program();
    if (path.isEmpty()) {
        qWarning().noquote() << "[VBoxManage] no VBoxManage program to run" << arguments.join(QLatin1Char(' '));
        return result;
    }

    QProcess process;
    process.setProgram(path);
    process.setArguments(arguments);
    // The tool never reads its input; a closed channel keeps it from waiting for some.
    process.setStandardInputFile(QProcess::nullDevice());
    process.start();
    if (!process.waitForStarted(qMin(timeoutMs, 10000))) {
        qWarning().noquote() << "[VBoxManage] cannot run" << commandText(path, arguments) << ":"
                             << process.errorString();
        if (process.state() != QProcess::NotRunning) {
            process.kill();
            process.waitForFinished(1000);
        }
        return result;
    }
    result.started = true;

    // Reading while waiting keeps a talkative tool from blocking on a full pipe.
    QElapsedTimer clock;
    clock.start();
    while (process.state() != QProcess::NotRunning) {
        const qint64 left = timeoutMs - clock.elapsed();
        if (left <= 0) {
            result.timedOut = true;
            break;
        }
        process.waitForFinished(int(qMin<qint64>(left, PollMs)));
        appendBounded(result.standardOutput, process.readAllStandardOutput());
        appendBounded(result.standardError, process.readAllStandardError());
    }

    if (result.timedOut) {
        process.kill();
        process.waitForFinished(2000);
        qWarning().noquote() << "[VBoxManage]" << commandText(path, arguments) << "did not finish within"
                             << timeoutMs << "ms and was killed";
        return result;
    }
    appendBounded(result.standardOutput, process.readAllStandardOutput());
    appendBounded(result.standardError, process.readAllStandardError());
    if (process.exitStatus() == QProcess::CrashExit) {
        result.crashed = true;
        qWarning().noquote() << "[VBoxManage]" << commandText(path, arguments) << "crashed";
        return result;
    }
    result.exitCode = process.exitCode();
    return result;
}

bool ProcessRunner::runLogged(const QStringList &arguments, int timeoutMs, const QString &context,
                              Result *result) const
{
    const Result outcome = run(arguments, timeoutMs);
    // Failures to start, time-outs and crashes were logged by run() already.
    if (!outcome.ok() && outcome.started && !outcome.timedOut && !outcome.crashed)
        qWarning().noquote() << context << VBoxOutputParser::errorText(outcome.allOutput());
    if (result)
        *result = outcome;
    return outcome.ok();
}
