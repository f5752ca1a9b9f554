#pragma once

#include <QString>
#include <QStringList>

class MachineStore;

// The device-upgrade stand-in: "device-upgrade --ova FILE --device-src NAME" puts the system
// an OVA describes into a simulated machine of the store, as the real program replaces a
// device's system. A stand-in OVA is text: "calderwick-ova" on its first line, then
// "system-version=X" and optionally "android-version=Y"; anything after its first 64 KiB is
// padding. The machine's fault line "upgrade-exit N" makes the run fail with status N.
class DeviceUpgradeStandIn
{
public:
    // The real program's exit statuses.
    enum ExitCode {
        Success = 0,
        Unexpected = 1,
        EngineError = 2,
        NoSuchDevice = 3,
        DeviceExists = 4,
        MigrationFailed = 5,
        AdbFailed = 7,
        DeleteFailed = 8,
        RenameFailed = 9,
    };

    explicit DeviceUpgradeStandIn(MachineStore &store);

    // Runs with the arguments after the program name; progress goes to standard output.
    int run(const QStringList &arguments);

    // The versions a stand-in OVA names; false if it is not one.
    static bool readOva(const QByteArray &head, QString *systemVersion, QString *androidVersion);

private:
    MachineStore &store;
};
