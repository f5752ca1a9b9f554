#include "vboxmanageengine.h"

#include "guestproperties.h"
#include "vboxmanagemachine.h"
#include "vboxoutputparser.h"

#include <QDebug>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QMutexLocker>
#include <QStandardPaths>
#include <QThread>

namespace {

bool isExecutableFile(const QString &path)
{
    const QFileInfo info(path);
    return info.isFile() && info.isExecutable();
}

VBoxManageMachine *vboxMachine(VMToolsMachine *machine, const char *operation)
{
    auto *own = dynamic_cast<VBoxManageMachine *>(machine);
    if (!own)
        qWarning() << "[VBoxManageEngine]" << operation << "needs a machine of this engine";
    return own;
}

} // namespace

VBoxManageEngine::VBoxManageEngine() : runner(std::make_shared<ProcessRunner>())
{
}

VBoxManageEngine::~VBoxManageEngine() = default;

QString VBoxManageEngine::findTool()
{
    const QString configured = qEnvironmentVariable("CALDERWICK_VBOXMANAGE");
    if (!configured.isEmpty()) {
        if (isExecutableFile(configured))
            return QFileInfo(configured).absoluteFilePath();
        qWarning().noquote() << "[VBoxManageEngine] CALDERWICK_VBOXMANAGE names no executable file:" << configured;
        return QString();
    }
    const QString onPath = QStandardPaths::findExecutable(QStringLiteral("VBoxManage"));
    if (!onPath.isEmpty())
        return onPath;
    static const char *const places[] = {"/usr/bin/VBoxManage", "/usr/local/bin/VBoxManage",
                                         "/opt/VirtualBox/VBoxManage", "/usr/lib/virtualbox/VBoxManage"};
    for (const char *place : places) {
        if (isExecutableFile(QLatin1String(place)))
            return QLatin1String(place);
    }
    return QString();
}

bool VBoxManageEngine::init()
{
    const QString tool = findTool();
    if (tool.isEmpty()) {
        qCritical() << "[VBoxManageEngine][init] VBoxManage not found on PATH nor where VirtualBox installs it";
        return false;
    }
    runner->setProgram(tool);
    const ProcessRunner::Result result = runner->run({QStringLiteral("--version")}, VBoxLimits::QueryMs);
    const QString firstLine = QString::fromUtf8(result.standardOutput).section(QLatin1Char('\n'), 0, 0).trimmed();
    if (!result.ok() || firstLine.isEmpty() || !firstLine.at(0).isDigit()) {
        qCritical().noquote() << "[VBoxManageEngine][init]" << tool << "does not answer as VBoxManage:"
                              << VBoxOutputParser::errorText(result.allOutput());
        return false;
    }
    toolVersion = firstLine;
    qDebug().noquote() << "[VBoxManageEngine][init] using" << tool << "version" << toolVersion;
    return true;
}

void VBoxManageEngine::shutdown()
{
    qDebug() << "[VBoxManageEngine][shutdown]";
}

QString VBoxManageEngine::version()
{
    return toolVersion;
}

bool VBoxManageEngine::configure()
{
    // The device is reached over a host-only network: make sure VirtualBox has one.
    const QString name = hostOnlyInterface();
    if (name.isEmpty()) {
        qCritical() << "[VBoxManageEngine][configure] no host-only interface available";
        return false;
    }
    return true;
}

VMToolsMachine *VBoxManageEngine::machine(const QString &vmName)
{
    if (vmName.isEmpty())
        return nullptr;
    // VBoxManage would read such a name as one of its options.
    if (vmName.startsWith(QLatin1Char('-'))) {
        qWarning().noquote() << "[VBoxManageEngine][machine] refusing the machine name" << vmName;
        return nullptr;
    }
    ProcessRunner::Result info;
    if (!runner->runLogged({QStringLiteral("showvminfo"), vmName, QStringLiteral("--machinereadable")},
                           VBoxLimits::QueryMs, QStringLiteral("[VBoxManageEngine][machine] no machine %1:").arg(vmName),
                           &info))
        return nullptr;
    const QMap<QString, QString> values = VBoxOutputParser::machineReadable(info.standardOutput);
    if (values.value(QStringLiteral("UUID")).isEmpty()) {
        qWarning().noquote() << "[VBoxManageEngine][machine] no UUID in the description of" << vmName;
        return nullptr;
    }
    // Without its values the device still starts; the getters then log what is missing.
    ProcessRunner::Result properties;
    // No pattern argument: its syntax changed between VirtualBox 6.1 and 7.0; the device's
    // own properties are picked by their prefix instead.
    runner->runLogged({QStringLiteral("guestproperty"), QStringLiteral("enumerate"),
                       values.value(QStringLiteral("UUID"))},
                      VBoxLimits::QueryMs,
                      QStringLiteral("[VBoxManageEngine][machine] cannot read the device values of %1:").arg(vmName),
                      &properties);
    QMap<QString, QString> deviceValues = VBoxOutputParser::guestPropertyList(properties.standardOutput);
    for (auto it = deviceValues.begin(); it != deviceValues.end();) {
        if (it.key().startsWith(QLatin1String(GuestProperty::DevicePrefix)))
            ++it;
        else
            it = deviceValues.erase(it);
    }
    return new VBoxManageMachine(runner, values, deviceValues);
}

QString VBoxManageEngine::existingHostOnlyInterface()
{
    ProcessRunner::Result result;
    if (!runner->runLogged({QStringLiteral("list"), QStringLiteral("hostonlyifs")}, VBoxLimits::QueryMs,
                           QStringLiteral("[VBoxManageEngine] cannot list host-only interfaces:"), &result))
        return QString();
    const QList<QMap<QString, QString>> interfaces = VBoxOutputParser::hostOnlyInterfaces(result.standardOutput);
    for (const QMap<QString, QString> &candidate : interfaces) {
        if (candidate.value(QStringLiteral("Status")) == QLatin1String("Up"))
            return candidate.value(QStringLiteral("Name"));
    }
    return interfaces.isEmpty() ? QString() : interfaces.first().value(QStringLiteral("Name"));
}

QString VBoxManageEngine::hostOnlyInterface()
{
    QMutexLocker lock(&interfaceMutex);
    if (!interfaceName.isEmpty())
        return interfaceName;
    interfaceName = existingHostOnlyInterface();
    if (!interfaceName.isEmpty())
        return interfaceName;

    ProcessRunner::Result created;
    if (!runner->runLogged({QStringLiteral("hostonlyif"), QStringLiteral("create")}, VBoxLimits::QueryMs,
                           QStringLiteral("[VBoxManageEngine][hostOnlyInterface] cannot create one:"), &created))
        return QString();
    interfaceName = VBoxOutputParser::createdInterfaceName(created.allOutput());
    if (interfaceName.isEmpty()) {
        qWarning() << "[VBoxManageEngine][hostOnlyInterface] VBoxManage named no created interface";
        return QString();
    }
    qDebug().noquote() << "[VBoxManageEngine][hostOnlyInterface] created" << interfaceName;
    return interfaceName;
}

int VBoxManageEngine::start(VMToolsMachine *machine, int mode)
{
    VBoxManageMachine *own = vboxMachine(machine, "start");
    if (!own)
        return 0;
    static const char *const types[] = {nullptr, "gui", "headless", "separate"};
    if (mode < 1 || mode > 3) {
        qWarning() << "[VBoxManageEngine][start] unknown start mode" << mode;
        return 0;
    }
    const ProcessRunner::Result result =
        runner->run({QStringLiteral("startvm"), own->uuid(), QStringLiteral("--type"), QLatin1String(types[mode])},
                    VBoxLimits::StartMs);
    if (result.ok())
        return Started;
    if (!result.started || result.timedOut)
        return 0;
    const QString reason = VBoxOutputParser::errorText(result.allOutput());
    if (VBoxOutputParser::isVirtualizationMissing(result.allOutput())) {
        qWarning().noquote() << "[VBoxManageEngine][start]" << own->name() << "needs VT-x/AMD-V:" << reason;
        return VmxUnsupported;
    }
    qWarning().noquote() << "[VBoxManageEngine][start]" << own->name() << "did not start:" << reason;
    return 0;
}

int VBoxManageEngine::settledState(VBoxManageMachine *machine, int limitMs)
{
    QElapsedTimer clock;
    clock.start();
    int current = machine->state();
    while ((current == MachineState::Process || current == MachineState::On || current == MachineState::Paused)
           && clock.elapsed() < limitMs) {
        QThread::msleep(200);
        current = machine->state();
    }
    return current;
}

bool VBoxManageEngine::powerOff(VBoxManageMachine *machine)
{
    return runner->runLogged({QStringLiteral("controlvm"), machine->uuid(), QStringLiteral("poweroff")},
                             VBoxLimits::StopMs, QStringLiteral("[VBoxManageEngine][stop] %1:").arg(machine->name()));
}

bool VBoxManageEngine::stop(VMToolsMachine *machine)
{
    VBoxManageMachine *own = vboxMachine(machine, "stop");
    if (!own)
        return false;
    const int before = own->state();
    if (before == MachineState::Off || before == MachineState::Aborted)
        return true;
    if (!powerOff(own))
        return false;
    // "controlvm" may return before the machine has gone down.
    const int after = settledState(own, VBoxLimits::StopMs);
    if (after != MachineState::Off && after != MachineState::Aborted) {
        qWarning().noquote() << "[VBoxManageEngine][stop]" << own->name() << "did not power off, state" << after;
        return false;
    }
    return true;
}

bool VBoxManageEngine::startAndStop(VMToolsMachine *machine)
{
    VBoxManageMachine *own = vboxMachine(machine, "startAndStop");
    if (!own)
        return false;
    // A machine caught half-way gets a full cycle; the start may fail on a machine that
    // is already powering up, and the power-off is what leaves it clean in either case.
    const ProcessRunner::Result started =
        runner->run({QStringLiteral("startvm"), own->uuid(), QStringLiteral("--type"), QStringLiteral("headless")},
                    VBoxLimits::StartMs);
    if (!started.ok() && started.started && !started.timedOut)
        qDebug().noquote() << "[VBoxManageEngine][startAndStop] start of" << own->name() << "said:"
                           << VBoxOutputParser::errorText(started.allOutput());
    // A refused power-off leaves the machine as it was: waiting would not clear it.
    if (!powerOff(own)) {
        const int now = own->state();
        return now == MachineState::Off || now == MachineState::Aborted;
    }
    const int after = settledState(own, VBoxLimits::StopMs);
    if (after != MachineState::Off && after != MachineState::Aborted) {
        qWarning().noquote() << "[VBoxManageEngine][startAndStop]" << own->name() << "is still in state" << after;
        return false;
    }
    return true;
}

void VBoxManageEngine::checkInterface()
{
    const QString current = runner->program();
    if (!current.isEmpty() && isExecutableFile(current)) {
        toolLost = false;
        return;
    }
    // VirtualBox was removed or is being reinstalled: look for the tool again.
    const QString found = findTool();
    if (found.isEmpty()) {
        if (!toolLost)
            qWarning().noquote() << "[VBoxManageEngine][checkInterface] VBoxManage is gone from" << current;
        toolLost = true;
        return;
    }
    runner->setProgram(found);
    toolLost = false;
    qDebug().noquote() << "[VBoxManageEngine][checkInterface] VBoxManage found again at" << found;
}
