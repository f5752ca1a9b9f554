#pragma once

#include <QString>

class VMToolsMachine;

// The virtual machine engine, implemented by a plug-in library in
// "<application directory>/plugins/" whose C entry point is getVMToolsEngine().
// The player owns the engine it gets and calls init() once, shutdown() once before delete.
//
// ABI: plug-ins are built against this header, so the virtual functions stay in this
// order; the reserved ones hold the places of operations the player never calls.
class VMToolsEngine
{
public:
    // Results of start().
    enum StartResult : int { Started = 1, VmxUnsupported = 2 };

    // Reads the processor's vendor and its virtualization feature (CPUID).
    VMToolsEngine();
    virtual ~VMToolsEngine() = default;

    // True if the engine can work on this host.
    virtual bool init() = 0;
    virtual void shutdown() = 0;
    virtual void reserved0() {}
    // Version text of the engine, for the log.
    virtual QString version() = 0;
    // Prepares VirtualBox itself before a start.
    virtual bool configure() = 0;
    virtual void reserved1() {}
    // The machine of that name, or null; the caller owns it.
    virtual VMToolsMachine *machine(const QString &vmName) = 0;
    virtual void reserved2() {}
    // Name of the host-only interface to attach the device to.
    virtual QString hostOnlyInterface() = 0;
    virtual void reserved3() {}
    // Blocking. The player passes mode 2. Returns Started, VmxUnsupported, or anything else
    // when the machine did not start.
    virtual int start(VMToolsMachine *machine, int mode) = 0;
    // Blocking.
    virtual bool stop(VMToolsMachine *machine) = 0;
    // Runs a machine stuck in the transient "process" state through a full start and stop.
    virtual bool startAndStop(VMToolsMachine *machine) = 0;
    virtual void reserved4() {}
    virtual void reserved5() {}
    virtual void reserved6() {}
    virtual void reserved7() {}
    virtual void reserved8() {}
    virtual void reserved9() {}
    virtual void reserved10() {}
    virtual void reserved11() {}
    // Restores the connection to VirtualBox if it was lost; called every two seconds.
    virtual void checkInterface() = 0;

    // The processor's 12-character vendor text, such as "GenuineIntel".
    QString cpuVendor() const { return m_cpuVendor; }
    // The processor offers VMX (Intel) or SVM (every other vendor).
    bool virtualizationSupported() const { return m_virtualizationSupported; }

    // Executes CPUID for a leaf: regs receives EAX, EBX, ECX, EDX.
    using CpuidFunction = void (*)(unsigned leaf, unsigned regs[4]);

protected:
    // For tests of the host check: uses the given CPUID instead of the processor's.
    explicit VMToolsEngine(CpuidFunction cpuid);

private:
    void inspectHost(CpuidFunction cpuid);

    QString m_cpuVendor;
    bool m_virtualizationSupported = false;
};

extern "C" {
// The plug-in's entry point; null when the engine cannot be created.
typedef VMToolsEngine *(*GetVMToolsEngineFunction)();
}
