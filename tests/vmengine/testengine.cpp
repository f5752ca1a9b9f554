// A stand-in engine plug-in for the loader tests, built in several variants (one per
// folder, each named "vboxmanage" as the loader looks for it):
//   TEST_ENGINE_GOOD        a working engine with the machines "Known Device" and "Old CPU"
//   TEST_ENGINE_NO_ENTRY    no getVMToolsEngine symbol
//   TEST_ENGINE_NULL_ENTRY  getVMToolsEngine returns null
//   TEST_ENGINE_INIT_FAILS  init() returns false
// Every value differs from the others, so a call that lands on the wrong virtual shows.
// Destructors leave a "[TestEngine]" log line, so tests can see what the loader deleted.

#include "testmachine.h"
#include "vmtoolsengine.h"

#include <QDebug>

namespace {

class EngineMachine : public TestMachine
{
public:
    explicit EngineMachine(const QString &name)
    {
        machineName = name;
        logs = QStringLiteral("/var/log/test-machines/") + name;
        address = QStringLiteral("192.168.56.101");
        machineState = MachineState::Paused;
    }
    ~EngineMachine() override { qDebug() << "[TestEngine] machine destroyed" << machineName; }

    bool isHardwareAccelerated() override { return false; }
    bool setProcessorCount(int count) override { return count >= 1; }
    QString ip() override { return QStringLiteral("192.168.56.102"); }
    QString androidVersion() override { return QStringLiteral("6.0.1"); }
    QString systemVersion() override { return QStringLiteral("2.6.3"); }
    QString platform() override { return QStringLiteral("phone"); }
    QString dpi() override { return QStringLiteral("420"); }
    QPair<int, int> size() override { return qMakePair(1080, 1920); }
    bool startsFullScreen() override { return true; }
    bool navigationBarShown() override { return false; }
    int networkAdapterMode(int index) override { return index == 1 ? AdapterMode::Unknown : AdapterMode::None; }
    int setNetworkAdapter(int index, int, const QString &interfaceName) override
    {
        return index >= 0 && index < 4 && !interfaceName.isEmpty() ? 1 : 0;
    }
};

class TestEngine : public VMToolsEngine
{
public:
    ~TestEngine() override { qDebug() << "[TestEngine] engine destroyed"; }

    bool init() override
    {
#ifdef TEST_ENGINE_INIT_FAILS
        return false;
#else
        return true;
#endif
    }
    void shutdown() override { qDebug() << "[TestEngine] shutdown"; }
    QString version() override { return QStringLiteral("test-engine 1.2.3"); }
    bool configure() override { return true; }
    VMToolsMachine *machine(const QString &vmName) override
    {
        if (vmName == QLatin1String("Known Device") || vmName == QLatin1String("Old CPU"))
            return new EngineMachine(vmName);
        return nullptr;
    }
    QString hostOnlyInterface() override { return QStringLiteral("vboxnet7"); }
    int start(VMToolsMachine *machine, int mode) override
    {
        if (!machine || mode != 2)
            return 0;
        return machine->name() == QLatin1String("Old CPU") ? VmxUnsupported : Started;
    }
    bool stop(VMToolsMachine *machine) override { return machine != nullptr; }
    bool startAndStop(VMToolsMachine *) override { return false; }
    void checkInterface() override { qDebug() << "[TestEngine] checkInterface"; }
};

} // namespace

#ifndef TEST_ENGINE_NO_ENTRY
extern "C" Q_DECL_EXPORT VMToolsEngine *getVMToolsEngine()
{
#ifdef TEST_ENGINE_NULL_ENTRY
    return nullptr;
#else
    return new TestEngine;
#endif
}
#else
// Keeps the engine in the library, so only the entry point is missing.
extern "C" Q_DECL_EXPORT VMToolsEngine *makeEngineUnderAnotherName()
{
    return new TestEngine;
}
#endif
