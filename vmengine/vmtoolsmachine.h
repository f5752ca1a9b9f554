#pragma once

#include <QPair>
#include <QString>

// Machine states as reported by VMToolsMachine::state(). Values from 6 up are undefined.
namespace MachineState {
enum : int { Undefined = 0, On = 1, Off = 2, Paused = 3, Process = 4, Aborted = 5 };
}

// Network adapter modes of VMToolsMachine::networkAdapterMode().
namespace AdapterMode {
enum : int { None = 0, Unknown = 1, HostOnly = 2 };
}

// One virtual device, as the engine plug-in sees it. The player owns the pointer it
// gets from VMToolsEngine::machine() and never derives from this class.
//
// ABI: plug-ins are built against this header, so the virtual functions stay in this
// order; the reserved ones hold the places of operations the player never calls.
class VMToolsMachine
{
public:
    virtual ~VMToolsMachine() = default;

    virtual void reserved0() {}
    // Directory in which this device keeps its log files.
    virtual QString logDirectory() = 0;
    // Readies the start values (addresses included); false means no address can come.
    virtual bool prepareStart() = 0;
    virtual void reserved1() {}
    virtual void reserved2() {}
    virtual void reserved3() {}
    // The hardware-acceleration guest property is on.
    virtual bool isHardwareAccelerated() = 0;
    virtual void reserved4() {}
    virtual void reserved5() {}
    virtual int processorCount() = 0;
    virtual bool setProcessorCount(int count) = 0;
    // Success is read back with isHardwareAccelerated().
    virtual void setHardwareAccelerated(bool on) = 0;
    virtual void reserved6() {}
    // Display name of the device.
    virtual QString name() = 0;
    virtual void reserved7() {}
    virtual void reserved8() {}
    // Blocks until the device has an address; "0.0.0.0" if none came.
    virtual QString waitForIp() = 0;
    // One of MachineState.
    virtual int state() = 0;
    virtual void reserved9() {}
    // Dotted Android version.
    virtual QString androidVersion() = 0;
    virtual void reserved10() {}
    // Version of the device image.
    virtual QString systemVersion() = 0;
    virtual void reserved11() {}
    // Platform word of the image.
    virtual QString platform() = 0;
    virtual void reserved12() {}
    // Density as decimal text.
    virtual QString dpi() = 0;
    virtual void reserved13() {}
    virtual void reserved14() {}
    virtual void reserved15() {}
    // Screen size in device pixels, width first.
    virtual QPair<int, int> size() = 0;
    virtual void reserved16() {}
    virtual bool startsFullScreen() = 0;
    virtual void reserved17() {}
    // The two device flags of the Android navigation bar.
    virtual bool navigationBarShown() = 0;
    virtual void setNavigationBarShown(bool on) = 0;
    virtual bool navigationBarConfigured() = 0;
    virtual void setNavigationBarConfigured(bool on) = 0;
    virtual void reserved18() {}
    virtual void reserved19() {}
    // The address as known, without waiting; empty if none.
    virtual QString ip() = 0;
    // One of AdapterMode.
    virtual int networkAdapterMode(int index) = 0;
    // Non-zero on success.
    virtual int setNetworkAdapter(int index, int mode, const QString &interfaceName) = 0;
};
