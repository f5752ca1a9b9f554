// A stand-in engine plug-in for the player's start chain, scripted by an INI file named
// in $SCRIPTED_ENGINE. Keys (defaults in brackets):
//   engine/configure [true] result of configure()
//   engine/start [1]        results of successive start() calls, comma separated
//   machine/state [2]       state() before any start
//   machine/accelerated [true]  isHardwareAccelerated(), which setHardwareAccelerated() turns on
//   machine/cpus [2], machine/setCpus [true]
//   machine/ip [0.0.0.0]    what waitForIp() returns (tests give an address of their own) ...
//   machine/ipDelayMs [0]   ... after this long, or sooner when stop() is called
// Every operation leaves a "[ScriptedEngine] <operation>" log line, so tests can check
// what the player called and in which order.

#include "testmachine.h"
#include "vmtoolsengine.h"

#include <QDebug>
#include <QDeadlineTimer>
#include <QDir>
#include <QMutex>
#include <QSettings>
#include <QStringList>
#include <QWaitCondition>

namespace {

QSettings &script()
{
    static QSettings s(QString::fromLocal8Bit(qgetenv("SCRIPTED_ENGINE")), QSettings::IniFormat);
    return s;
}

QVariant value(const char *key, const QVariant &fallback)
{
    return script().value(QLatin1String(key), fallback);
}

class ScriptedMachine : public TestMachine
{
public:
    explicit ScriptedMachine(const QString &name)
    {
        machineName = name;
        // Where the simulated machines keep theirs, so the tests read one layout.
        logs = QString::fromLocal8Bit(qgetenv("DEVICESIM_HOME")) + QStringLiteral("/machines/") + name + QStringLiteral("/Logs");
        machineState = value("machine/state", 2).toInt();
        m_accelerated = value("machine/accelerated", true).toBool();
        m_cpus = value("machine/cpus", 2).toInt();
    }

    bool prepareStart() override { return log("prepareStart"), true; }
    bool isHardwareAccelerated() override { return log("isHardwareAccelerated"), m_accelerated; }
    int processorCount() override { return m_cpus; }
    bool setProcessorCount(int count) override
    {
        log("setProcessorCount", count);
        if (!value("machine/setCpus", true).toBool())
            return false;
        m_cpus = count;
        return true;
    }
    void setHardwareAccelerated(bool on) override
    {
        log("setHardwareAccelerated", on);
        m_accelerated = on;
    }
    QString waitForIp() override
    {
        log("waitForIp");
        QMutexLocker lock(&m_mutex);
        QDeadlineTimer deadline(value("machine/ipDelayMs", 0).toInt());
        while (!m_stopped && !deadline.hasExpired())
            m_stoppedCondition.wait(&m_mutex, deadline);
        return m_stopped ? QStringLiteral("0.0.0.0") : value("machine/ip", "0.0.0.0").toString();
    }
    QString androidVersion() override { return QStringLiteral("6.0"); }
    QString systemVersion() override { return QStringLiteral("2.6.0"); }
    QString platform() override { return QStringLiteral("p"); }
    QString dpi() override { return QStringLiteral("320"); }
    QPair<int, int> size() override { return qMakePair(720, 1280); }
    bool navigationBarShown() override { return false; }
    bool navigationBarConfigured() override { return false; }
    QString ip() override { return machineState == MachineState::On ? value("machine/ip", "0.0.0.0").toString() : QString(); }

    void markStarted() { machineState = MachineState::On; }
    void markStopped()
    {
        QMutexLocker lock(&m_mutex);
        m_stopped = true;
        machineState = MachineState::Off;
        m_stoppedCondition.wakeAll();
    }

    static void log(const char *operation, const QVariant &argument = QVariant())
    {
        if (argument.isValid())
            qDebug().noquote() << "[ScriptedEngine]" << operation << argument.toString();
        else
            qDebug().noquote() << "[ScriptedEngine]" << operation;
    }

private:
    bool m_accelerated;
    int m_cpus;
    QMutex m_mutex;
    QWaitCondition m_stoppedCondition;
    bool m_stopped = false;
};

class ScriptedEngine : public VMToolsEngine
{
public:
    bool init() override { return true; }
    void shutdown() override { ScriptedMachine::log("shutdown"); }
    QString version() override { return QStringLiteral("scripted-1"); }
    bool configure() override { return ScriptedMachine::log("configure"), value("engine/configure", true).toBool(); }
    VMToolsMachine *machine(const QString &vmName) override
    {
        ScriptedMachine::log("machine", vmName);
        return vmName == QLatin1String("dev") ? new ScriptedMachine(vmName) : nullptr;
    }
    QString hostOnlyInterface() override { return QStringLiteral("vboxnet0"); }
    int start(VMToolsMachine *machine, int mode) override
    {
        ScriptedMachine::log("start", mode);
        const QStringList results = value("engine/start", "1").toString().split(QLatin1Char(','));
        const int result = results.value(qMin(m_starts++, results.size() - 1)).toInt();
        if (result == 1)
            static_cast<ScriptedMachine *>(machine)->markStarted();
        return result;
    }
    bool stop(VMToolsMachine *machine) override
    {
        ScriptedMachine::log("stop");
        static_cast<ScriptedMachine *>(machine)->markStopped();
        return true;
    }
    bool startAndStop(VMToolsMachine *) override { return ScriptedMachine::log("startAndStop"), true; }
    void checkInterface() override {}

private:
    int m_starts = 0;
};

} // namespace

extern "C" Q_DECL_EXPORT VMToolsEngine *getVMToolsEngine()
{
    return new ScriptedEngine;
}
