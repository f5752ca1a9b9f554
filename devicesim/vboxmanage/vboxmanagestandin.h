#pragma once

#include "machinestore.h"

#include <QString>
#include <QStringList>

// The VBoxManage stand-in: answers the commands the engine plug-in uses, in VirtualBox's
// output formats, over the machines of a MachineStore. A started machine is a devicesim
// serving on the machine's loopback address, detached so it outlives this process.
// Faults are read from each machine's fault file (see devicesim/README.md).
class VBoxManageStandIn
{
public:
    explicit VBoxManageStandIn(const QString &devicesimProgram);

    // Runs one command (the arguments after the program name); returns the exit code.
    int run(const QStringList &arguments);

    // VirtualBox's exit codes: 1 for a failed command, 2 for a syntax error.
    enum ExitCode { Success = 0, Failure = 1, SyntaxError = 2 };

private:
    int version();
    int list(const QStringList &arguments);
    int showVmInfo(const QStringList &arguments);
    int guestProperty(const QStringList &arguments);
    int startVm(const QStringList &arguments);
    int controlVm(const QStringList &arguments);
    int modifyVm(const QStringList &arguments);
    int hostOnlyInterface(const QStringList &arguments);

    // Loads the machine, brings its state up to date with its devicesim, and applies the
    // "hang" fault for this command. False (with VirtualBox's message) if unknown.
    bool findMachine(const QString &nameOrUuid, const QString &command, SimulatedMachine *machine);
    // The state word showvminfo reports: a "state" fault wins over the real one.
    QString reportedState(const SimulatedMachine &machine) const;
    // The guest properties as the guest shows them, the address included once it is up.
    QMap<QString, QString> visibleProperties(const SimulatedMachine &machine) const;
    bool deviceReady(const SimulatedMachine &machine) const;
    void setState(SimulatedMachine &machine, const QString &state);
    bool stopDevice(SimulatedMachine &machine);
    bool save(const SimulatedMachine &machine);

    int syntaxError(const QString &text);
    int failure(const QString &text);
    int lockedFailure(const SimulatedMachine &machine);

    MachineStore store;
    QString devicesimProgram;
};
