#include "adbreconnect.h"

#include "adb.h"
#include "vmtoolsmachine.h"

#include <QDebug>
#include <QDir>
#include <QMutex>
#include <QMutexLocker>
#include <QTimer>

namespace {
// The pause before every new attempt, whatever ended the last one.
const int RetryPauseMs = 1000;
}

AdbReconnect::AdbReconnect(VMToolsMachine *machine, QObject *parent)
    : QObject(parent), machine(machine), mutex(new QMutex), connectProcess(this), shellProcess(this)
{
    if (machine)
        ip = machine->ip();
    // Nobody reads these processes. Closing the read channels alone would not last:
    // every start() opens them again. Sending both to the null device keeps any output
    // from piling up, for as long as the shell lives.
    for (QProcess *process : {&connectProcess, &shellProcess}) {
        process->setStandardOutputFile(QProcess::nullDevice());
        process->setStandardErrorFile(QProcess::nullDevice());
        process->closeReadChannel(QProcess::StandardOutput);
        process->closeReadChannel(QProcess::StandardError);
        QObject::connect(process, &QProcess::errorOccurred, this, &AdbReconnect::error);
    }
    QObject::connect(&connectProcess, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
                     &AdbReconnect::connected);
    QObject::connect(&shellProcess, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
                     &AdbReconnect::disconnected);
}

AdbReconnect::~AdbReconnect()
{
    stop();
    delete mutex;
}

void AdbReconnect::start()
{
    running = true;
    connectProcess.start(Adb::adbPath(), {QStringLiteral("connect"), ip}, QIODevice::ReadWrite);
}

void AdbReconnect::connected(int status)
{
    if (status != 0) {
        qCritical() << "[AdbReconnect]" << "[error]" << "`adb connect` returns" << status;
        if (running)
            QTimer::singleShot(RetryPauseMs, this, &AdbReconnect::start);
        return;
    }
    // Nothing is ever written: the remote shell waits for input as long as the link lives.
    shellProcess.start(Adb::adbPath(),
                       {QStringLiteral("-s"), ip + QLatin1Char(':') + QString::number(5555), QStringLiteral("shell")},
                       QIODevice::ReadWrite);
    startLogcat();
}

void AdbReconnect::startLogcat()
{
    if (logcatProcess && logcatProcess->state() != QProcess::NotRunning)
        return;
    if (!machine) {
        qDebug() << "[AdbReconnect]" << "[logcat]" << "No device, no capture";
        return;
    }
    if (logcatProcess) {
        // Ended, but its finished() has not been seen yet.
        logcatProcess->disconnect(this);
        logcatProcess->deleteLater();
    }
    const QString file = machine->logDirectory() + QDir::separator() + QStringLiteral("logcat.txt");
    Adb adb(ip);
    logcatProcess = adb.logcat(file);
    QObject::connect(logcatProcess, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
                     &AdbReconnect::logcatFinished);
}

void AdbReconnect::disconnected(int status)
{
    QMutexLocker lock(mutex);
    if (!running)
        return;
    // A clean end means the device went away and adb said so. Either way the next attempt
    // waits: a shell that ends at once (no device, a broken adb) would otherwise restart
    // the cycle as fast as processes can be made.
    if (status != 0)
        qCritical() << "[AdbReconnect]" << "[error]" << "`adb shell` returns" << status;
    QTimer::singleShot(RetryPauseMs, this, &AdbReconnect::start);
}

void AdbReconnect::error()
{
    if (auto *process = qobject_cast<QProcess *>(sender()))
        qCritical() << "[AdbReconnect]" << "[error]" << process->errorString();
}

void AdbReconnect::logcatFinished(int result)
{
    if (result != 0)
        qWarning() << "[AdbReconnect]" << "[logcat]" << "Process exited with result" << result;
    else
        qDebug() << "[AdbReconnect]" << "[logcat]" << "Process exited normally";
    if (logcatProcess) {
        logcatProcess->deleteLater();
        logcatProcess = nullptr;
    }
}

void AdbReconnect::stop()
{
    QMutexLocker lock(mutex);
    running = false;
    // With the signals gone, no late finished() can restart the cycle.
    shellProcess.disconnect();
    connectProcess.disconnect();
    shellProcess.kill();
    connectProcess.kill();
    shellProcess.waitForFinished(-1);
    connectProcess.waitForFinished(-1);
    if (logcatProcess) {
        logcatProcess->disconnect();
        logcatProcess->kill();
        logcatProcess->waitForFinished(-1);
        logcatProcess->deleteLater();
        logcatProcess = nullptr;
    }
}
