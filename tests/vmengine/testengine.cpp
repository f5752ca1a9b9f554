// A stand-in engine plug-in for the loader tests, built in several variants (one per
// folder, each named "vboxmanage" as the loader looks for it):
//   TEST_ENGINE_GOOD        a working engine with the machines "Known Device" and "Old CPU"
//   TEST_ENGINE_NO_ENTRY    no getVMToolsEngine symbol
//   TEST_ENGINE_NULL_ENTRY  getVMToolsEngine returns null
//   TEST_ENGINE_INIT_FAILS  init() returns false
// Every value differs from the others, so a call that lands on the wrong virtual shows.
// Destructors leave a "[TestEngine]" log line, so tests can see what the loader deleted.

#include "vmtoolsengine.h"
#include "vmtoolsmachine.h"

#include <QDebug>

namespace {

class TestMachine : public VMToolsMachine
{
public:
    explicit TestMachine(const QString &name) : m_name(name) {}
    ~TestMachine() override { qDebug() << "[TestEngine] machine destroyed" << m_name; }

    QString logDirectory() override { return QStringLiteral("/var/log/test-machines/") + m_name; }
    bool prepareStart() override { return true; }
    bool isHardwareAccelerated() override { return m_accelerated; }
    int processorCount() override { return m_processors; }
    bool setProcessorCount(int count) override
    {
        if (count < 1)
            return false;
        m_processors = count;
        return true;
    }
    void setHardwareAccelerated(bool on) override { m_accelerated = on; }
    QString name() override { return m_name; }
    QString waitForIp() override { return QStringLiteral("192.168.56.101"); }
    int state() override { return MachineState::Paused; }
    QString androidVersion() override { return QStringLiteral("6.0.1"); }
    QString systemVersion() override { return QStringLiteral("2.6.3"); }
    QString platform() override { return QStringLiteral("phone"); }
    QString dpi() override { return QStringLiteral("420"); }
    QPair<int, int> size() override { return qMakePair(1080, 1920); }
    bool startsFullScreen() override { return true; }
    bool navigationBarShown() override { return m_navigationShown; }
    void setNavigationBarShown(bool on) override { m_navigationShown = on; }
    bool navigationBarConfigured() override { return m_navigationConfigured; }
    void setNavigationBarConfigured(bool on) override { m_navigationConfigured = on; }
    QString ip() override { return QStringLiteral("192.168.56.102"); }
    int networkAdapterMode(int index) override
    {
        return index >= 0 && index < 4 ? m_adapterModes[index] : AdapterMode::None;
    }
    int setNetworkAdapter(int index, int mode, const QString &interfaceName) override
    {
        if (index < 0 || index >= 4 || interfaceName.isEmpty())
            return 0;
        m_adapterModes[index] = mode;
        return 1;
    }

private:
    QString m_name;
    int m_processors = 2;
    bool m_accelerated = false;
    bool m_navigationShown = false;
    bool m_navigationConfigured = true;
    int m_adapterModes[4] = {AdapterMode::None, AdapterMode::Unknown, AdapterMode::None, AdapterMode::None};
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
            return new TestMachine(vmName);
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
