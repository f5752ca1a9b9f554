// A device-upgrade stand-in for tests and demonstrations, over the simulated machines of the
// VBoxManage stand-in's store ($DEVICESIM_HOME).

#include "deviceupgradestandin.h"
#include "machinestore.h"

#include <QCoreApplication>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    MachineStore store;
    DeviceUpgradeStandIn standIn(store);
    return standIn.run(app.arguments().mid(1));
}
