#pragma once

#include "processrunner.h"
#include "vmtoolsengine.h"

#include <QMutex>
#include <QString>

#include <memory>

class VBoxManageMachine;

// The engine on top of VirtualBox's command-line tool VBoxManage. The tool is the file
// named by $CALDERWICK_VBOXMANAGE if set, else "VBoxManage" on PATH, else one of the
// places VirtualBox installs it (see README.md). Every command runs with a time limit.
class VBoxManageEngine : public VMToolsEngine
{
public:
    VBoxManageEngine();
    ~VBoxManageEngine() override;

    bool init() override;
    void shutdown() override;
    QString version() override;
    bool configure() override;
    VMToolsMachine *machine(const QString &vmName) override;
    QString hostOnlyInterface() override;
    // Modes: 1 with a window, 2 headless (what the player asks for), 3 detached window.
    int start(VMToolsMachine *machine, int mode) override;
    bool stop(VMToolsMachine *machine) override;
    bool startAndStop(VMToolsMachine *machine) override;
    // Cheap enough for a two-second watchdog: looks only at the tool's file.
    void checkInterface() override;

    // The VBoxManage to use, empty if none is found.
    static QString findTool();

private:
    // The machine's state after polling until it leaves the transient states, or the limit.
    int settledState(VBoxManageMachine *machine, int limitMs);
    bool powerOff(VBoxManageMachine *machine);
    // An existing host-only interface, preferring one that is up; empty if none.
    QString existingHostOnlyInterface();

    std::shared_ptr<ProcessRunner> runner;
    QString toolVersion;
    QMutex interfaceMutex;
    QString interfaceName;
    bool toolLost = false;
};
