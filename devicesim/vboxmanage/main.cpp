// A VBoxManage stand-in for tests and demonstrations: simulated machines whose guest is a
// devicesim. Put its folder first on PATH to have the engine plug-in drive it.

#include "vboxmanagestandin.h"

#include <QCoreApplication>
#include <QDir>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    // Installed as bin/simtools/VBoxManage beside bin/devicesim, unless told otherwise.
    QString devicesim = qEnvironmentVariable("DEVICESIM_PROGRAM");
    if (devicesim.isEmpty())
        devicesim = QDir(app.applicationDirPath()).absoluteFilePath(QStringLiteral("../devicesim"));
    VBoxManageStandIn standIn(QDir::cleanPath(devicesim));
    return standIn.run(app.arguments().mid(1));
}
