#include "vboxmanagestandin.h"

#include "processidentity.h"

#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QThread>

#include <csignal>
#include <cstdio>
#include <sys/types.h>
#include <unistd.h>

namespace {

const char AddressProperty[] = "/VirtualBox/GuestInfo/Net/0/V4/IP";
const char AccelerationProperty[] = "/Calderwick/HardwareAcceleration";
const char Progress[] = "0%...10%...20%...30%...40%...50%...60%...70%...80%...90%...100%\n";
// devicesim prints its ready line well within a second; past this the start has failed.
constexpr int DeviceStartMs = 8000;
constexpr int DeviceStopMs = 5000;

void out(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
}

void err(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stderr);
}

QString quoted(QString value)
{
    value.replace(QLatin1Char('\\'), QStringLiteral("\\\\"));
    value.replace(QLatin1Char('"'), QStringLiteral("\\\""));
    value.replace(QLatin1Char('\n'), QStringLiteral("\\n"));
    return QLatin1Char('"') + value + QLatin1Char('"');
}

// The machine's devicesim, recognised by its pid and start time: a pid reused by another
// program is neither touched nor taken for the machine, and a devicesim that has not yet
// replaced the forked stand-in by exec is already its machine's.
ProcessIdentity deviceProcess(const SimulatedMachine &machine)
{
    return ProcessIdentity(machine.pid, machine.pidStart);
}

bool waitForExit(const ProcessIdentity &process, int limitMs)
{
    QElapsedTimer clock;
    clock.start();
    while (process.isRunning()) {
        if (clock.elapsed() > limitMs)
            return false;
        QThread::msleep(20);
    }
    return true;
}

// VirtualBox's wildcards: * any text, ? one character, | between alternatives.
bool matchesPatterns(const QString &name, const QString &patterns)
{
    if (patterns.isEmpty())
        return true;
    for (const QString &pattern : patterns.split(QLatin1Char('|'))) {
        const QRegularExpression expression(QRegularExpression::wildcardToRegularExpression(pattern));
        if (expression.match(name).hasMatch())
            return true;
    }
    return false;
}

int adapterNumber(const QString &option, const QString &prefix)
{
    if (!option.startsWith(prefix))
        return 0;
    bool ok = false;
    const int number = option.mid(prefix.size()).toInt(&ok);
    return ok && number >= 1 && number <= SimulatedMachine::AdapterCount ? number : 0;
}

bool isStoppedState(const QString &state)
{
    return state == QLatin1String("poweroff") || state == QLatin1String("aborted") || state == QLatin1String("saved");
}

} // namespace

VBoxManageStandIn::VBoxManageStandIn(const QString &devicesimProgram) : devicesimProgram(devicesimProgram)
{
}

int VBoxManageStandIn::run(const QStringList &arguments)
{
    QDir().mkpath(store.home());
    QFile history(store.home() + QStringLiteral("/vboxmanage.log"));
    if (history.open(QIODevice::Append | QIODevice::Text))
        history.write((QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs) + QLatin1Char(' ')
                       + arguments.join(QLatin1Char(' ')) + QLatin1Char('\n'))
                          .toUtf8());
    history.close();

    if (arguments.isEmpty())
        return syntaxError(QStringLiteral("No command given"));
    const QString command = arguments.first();
    if (command == QLatin1String("--version") || command == QLatin1String("-v") || command == QLatin1String("-V"))
        return version();
    // The many short invocations of one player take turns on the machine files.
    if (!store.lock())
        return failure(QStringLiteral("The simulated machine store %1 is locked").arg(store.home()));
    const QStringList rest = arguments.mid(1);
    if (command == QLatin1String("list"))
        return list(rest);
    if (command == QLatin1String("showvminfo"))
        return showVmInfo(rest);
    if (command == QLatin1String("guestproperty"))
        return guestProperty(rest);
    if (command == QLatin1String("startvm"))
        return startVm(rest);
    if (command == QLatin1String("controlvm"))
        return controlVm(rest);
    if (command == QLatin1String("modifyvm"))
        return modifyVm(rest);
    if (command == QLatin1String("hostonlyif"))
        return hostOnlyInterface(rest);
    return syntaxError(QStringLiteral("Invalid command '%1'").arg(command));
}

int VBoxManageStandIn::syntaxError(const QString &text)
{
    err(QStringLiteral("VBoxManage: error: %1\n").arg(text));
    return SyntaxError;
}

int VBoxManageStandIn::failure(const QString &text)
{
    err(QStringLiteral("VBoxManage: error: %1\n").arg(text));
    return Failure;
}

int VBoxManageStandIn::lockedFailure(const SimulatedMachine &machine)
{
    err(QStringLiteral("VBoxManage: error: The machine '%1' is already locked by a session (or being locked or "
                       "unlocked)\nVBoxManage: error: Details: code VBOX_E_INVALID_OBJECT_STATE (0x80bb0007), "
                       "component MachineWrap, interface IMachine\n")
            .arg(machine.name));
    return Failure;
}

bool VBoxManageStandIn::save(const SimulatedMachine &machine)
{
    QString error;
    if (store.save(machine, &error))
        return true;
    err(QStringLiteral("VBoxManage: error: %1\n").arg(error));
    return false;
}

int VBoxManageStandIn::version()
{
    out(QStringLiteral("7.0.14r161095\n"));
    return Success;
}

bool VBoxManageStandIn::findMachine(const QString &nameOrUuid, const QString &command, SimulatedMachine *machine)
{
    if (!store.load(nameOrUuid, machine)) {
        err(QStringLiteral(
                "VBoxManage: error: Could not find a registered machine named '%1'\n"
                "VBoxManage: error: Details: code VBOX_E_OBJECT_NOT_FOUND (0x80bb0001), component VirtualBoxWrap, "
                "interface IVirtualBox, callee nsISupports\n"
                "VBoxManage: error: Context: \"FindMachine(Bstr(VMNameOrUuid).raw(), machine.asOutParam())\" at "
                "line 2835 of file VBoxManageInfo.cpp\n")
                .arg(nameOrUuid));
        return false;
    }
    // The fault "hang COMMAND" (or "hang *") leaves this call hanging, as a wedged
    // VirtualBox service does; its pid is left for tests to see it killed.
    const QString hang = machine->faultArgument(QStringLiteral("hang"));
    if (!hang.isEmpty() && (hang == command || hang == QLatin1String("*"))) {
        QFile pidFile(machine->directory + QStringLiteral("/hung.pid"));
        if (pidFile.open(QIODevice::WriteOnly | QIODevice::Truncate))
            pidFile.write(QByteArray::number(qint64(::getpid())));
        pidFile.close();
        store.unlock();
        for (;;)
            ::pause();
    }
    // A device that went away on its own leaves an aborted machine, as a crashed VM does.
    if ((machine->vmState == QLatin1String("running") || machine->vmState == QLatin1String("paused"))
        && !deviceProcess(*machine).isRunning()) {
        setState(*machine, QStringLiteral("aborted"));
        machine->pid = 0;
        machine->pidStart = 0;
        save(*machine);
    }
    return true;
}

QString VBoxManageStandIn::reportedState(const SimulatedMachine &machine) const
{
    const QString forced = machine.faultArgument(QStringLiteral("state"));
    return forced.isEmpty() ? machine.vmState : forced;
}

void VBoxManageStandIn::setState(SimulatedMachine &machine, const QString &state)
{
    machine.vmState = state;
    machine.stateChangeTime =
        QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss.zzz000000"));
}

bool VBoxManageStandIn::deviceReady(const SimulatedMachine &machine) const
{
    if (machine.vmState != QLatin1String("running"))
        return false;
    QFile output(machine.logDirectory() + QStringLiteral("/devicesim.out"));
    return output.open(QIODevice::ReadOnly) && output.read(64 * 1024).contains("devicesim ready on");
}

QMap<QString, QString> VBoxManageStandIn::visibleProperties(const SimulatedMachine &machine) const
{
    QMap<QString, QString> properties = machine.guestProperties;
    // The guest reports its address once its network is up; "no-ip" keeps it silent and
    // "ip-delay MS" makes it late.
    bool delayOk = false;
    const qint64 delay = machine.faultArgument(QStringLiteral("ip-delay")).toLongLong(&delayOk);
    const bool late = delayOk && QDateTime::currentMSecsSinceEpoch() - machine.startedAtMs < delay;
    if (deviceReady(machine) && !machine.hasFault(QStringLiteral("no-ip")) && !late)
        properties.insert(QLatin1String(AddressProperty), machine.address);
    return properties;
}

int VBoxManageStandIn::list(const QStringList &arguments)
{
    const QString what = arguments.value(0);
    if (what == QLatin1String("vms") || what == QLatin1String("runningvms")) {
        for (const QString &name : store.machineNames()) {
            SimulatedMachine machine;
            if (!findMachine(name, QStringLiteral("list"), &machine))
                continue;
            if (what == QLatin1String("runningvms") && machine.vmState != QLatin1String("running")
                && machine.vmState != QLatin1String("paused"))
                continue;
            out(QStringLiteral("\"%1\" {%2}\n").arg(machine.name, machine.uuid));
        }
        return Success;
    }
    if (what == QLatin1String("hostonlyifs")) {
        const QStringList names = store.hostOnlyInterfaces();
        for (int i = 0; i < names.size(); ++i) {
            if (i > 0)
                out(QStringLiteral("\n"));
            out(QStringLiteral("Name:            %1\n"
                               "GUID:            786f6276-656e-4%2-8000-0a00270000%3\n"
                               "DHCP:            Disabled\n"
                               "IPAddress:       192.168.%4.1\n"
                               "NetworkMask:     255.255.255.0\n"
                               "IPV6Address:     \n"
                               "IPV6NetworkMaskPrefixLength: 0\n"
                               "HardwareAddress: 0a:00:27:00:00:%3\n"
                               "MediumType:      Ethernet\n"
                               "Wireless:        Disabled\n"
                               "Status:          Up\n"
                               "VBoxNetworkName: HostInterfaceNetworking-%1\n")
                    .arg(names.at(i))
                    .arg(i, 3, 10, QLatin1Char('0'))
                    .arg(i % 256, 2, 16, QLatin1Char('0'))
                    .arg(56 + i % 200));
        }
        return Success;
    }
    return syntaxError(QStringLiteral("Unknown list: '%1'").arg(what));
}

int VBoxManageStandIn::showVmInfo(const QStringList &arguments)
{
    if (arguments.size() != 2 || arguments.at(1) != QLatin1String("--machinereadable"))
        return syntaxError(QStringLiteral("This stand-in answers \"showvminfo <vm> --machinereadable\" only"));
    SimulatedMachine machine;
    if (!findMachine(arguments.at(0), QStringLiteral("showvminfo"), &machine))
        return Failure;
    QString text;
    const auto line = [&text](const QString &key, const QString &value) {
        text += key + QLatin1Char('=') + quoted(value) + QLatin1Char('\n');
    };
    line(QStringLiteral("name"), machine.name);
    line(QStringLiteral("groups"), QStringLiteral("/"));
    line(QStringLiteral("ostype"), QStringLiteral("Linux 2.6 / 3.x / 4.x (64-bit)"));
    line(QStringLiteral("UUID"), machine.uuid);
    line(QStringLiteral("CfgFile"), machine.settingsFile());
    line(QStringLiteral("SnapFldr"), machine.directory + QStringLiteral("/Snapshots"));
    line(QStringLiteral("LogFldr"), machine.logDirectory());
    text += QStringLiteral("memory=%1\nvram=16\ncpus=%2\n").arg(machine.memory).arg(machine.cpus);
    line(QStringLiteral("VMState"), reportedState(machine));
    line(QStringLiteral("VMStateChangeTime"), machine.stateChangeTime);
    for (int i = 0; i < SimulatedMachine::AdapterCount; ++i) {
        const QString number = QString::number(i + 1);
        line(QStringLiteral("nic") + number, machine.nics[i]);
        if (machine.nics[i] == QLatin1String("hostonly"))
            line(QStringLiteral("hostonlyadapter") + number, machine.hostOnlyAdapters[i]);
        if (machine.nics[i] != QLatin1String("none"))
            line(QStringLiteral("macaddress") + number, QStringLiteral("080027%1").arg(i + 1, 6, 10, QLatin1Char('0')));
    }
    line(QStringLiteral("GuestOSType"), QStringLiteral("Linux26_64"));
    out(text);
    return Success;
}

int VBoxManageStandIn::guestProperty(const QStringList &arguments)
{
    const QString action = arguments.value(0);
    SimulatedMachine machine;
    if (arguments.size() < 2)
        return syntaxError(QStringLiteral("Incorrect number of parameters"));
    if (!findMachine(arguments.at(1), QStringLiteral("guestproperty"), &machine))
        return Failure;
    const QString property = arguments.value(2);

    if (action == QLatin1String("get")) {
        if (arguments.size() < 3)
            return syntaxError(QStringLiteral("Incorrect number of parameters"));
        const QMap<QString, QString> properties = visibleProperties(machine);
        if (properties.contains(property))
            out(QStringLiteral("Value: %1\n").arg(properties.value(property)));
        else
            out(QStringLiteral("No value set!\n"));
        return Success;
    }
    if (action == QLatin1String("enumerate")) {
        QString patterns;
        for (int i = 2; i < arguments.size(); ++i) {
            if (arguments.at(i) == QLatin1String("--patterns") && i + 1 < arguments.size())
                patterns = arguments.at(++i);
            else
                return syntaxError(QStringLiteral("Invalid parameter '%1'").arg(arguments.at(i)));
        }
        const qint64 timestamp = QDateTime::currentMSecsSinceEpoch() * 1000000;
        const QMap<QString, QString> properties = visibleProperties(machine);
        for (auto it = properties.begin(); it != properties.end(); ++it) {
            if (matchesPatterns(it.key(), patterns))
                out(QStringLiteral("Name: %1, value: %2, timestamp: %3, flags: \n")
                        .arg(it.key(), it.value())
                        .arg(timestamp));
        }
        return Success;
    }
    if (action == QLatin1String("set") || action == QLatin1String("unset") || action == QLatin1String("delete")) {
        if (property.isEmpty())
            return syntaxError(QStringLiteral("Incorrect number of parameters"));
        const bool removing = action != QLatin1String("set") || arguments.size() < 4;
        if (property == QLatin1String(AccelerationProperty) && machine.hasFault(QStringLiteral("hwaccel-refused")))
            return failure(QStringLiteral("Could not set the guest property '%1' (VERR_ACCESS_DENIED)\n"
                                          "VBoxManage: error: Details: code NS_ERROR_FAILURE (0x80004005), "
                                          "component MachineWrap, interface IMachine")
                               .arg(property));
        if (removing)
            machine.guestProperties.remove(property);
        else
            machine.guestProperties.insert(property, arguments.at(3));
        return save(machine) ? Success : Failure;
    }
    return syntaxError(QStringLiteral("Invalid parameter '%1'").arg(action));
}

int VBoxManageStandIn::startVm(const QStringList &arguments)
{
    SimulatedMachine machine;
    if (arguments.isEmpty())
        return syntaxError(QStringLiteral("Incorrect number of parameters"));
    if (!findMachine(arguments.at(0), QStringLiteral("startvm"), &machine))
        return Failure;
    for (int i = 1; i < arguments.size(); ++i) {
        if (arguments.at(i) == QLatin1String("--type") && i + 1 < arguments.size())
            ++i; // every type runs headless here: devicesim has no window of its own
        else
            return syntaxError(QStringLiteral("Invalid parameter '%1'").arg(arguments.at(i)));
    }
    const QString state = reportedState(machine);
    if (!isStoppedState(state))
        return lockedFailure(machine);
    if (machine.hasFault(QStringLiteral("start-refused")))
        return failure(QStringLiteral("The virtual machine '%1' has terminated unexpectedly during startup with "
                                      "exit code 1 (0x1)\n"
                                      "VBoxManage: error: Details: code NS_ERROR_FAILURE (0x80004005), component "
                                      "MachineWrap, interface IMachine")
                           .arg(machine.name));
    if (machine.hasFault(QStringLiteral("vmx-unsupported")) && machine.cpus > 1)
        return failure(QStringLiteral("VT-x is not available (VERR_VMX_NO_VMX)\n"
                                      "VBoxManage: error: Details: code NS_ERROR_FAILURE (0x80004005), component "
                                      "ConsoleWrap, interface IConsole"));
    for (int i = 0; i < SimulatedMachine::AdapterCount; ++i) {
        if (machine.nics[i] == QLatin1String("hostonly")
            && !store.hostOnlyInterfaces().contains(machine.hostOnlyAdapters[i]))
            return failure(QStringLiteral("Nonexistent host networking interface, name '%1' (VERR_INTERNAL_ERROR)\n"
                                          "VBoxManage: error: Details: code NS_ERROR_FAILURE (0x80004005), "
                                          "component ConsoleWrap, interface IConsole")
                               .arg(machine.hostOnlyAdapters[i]));
    }

    out(QStringLiteral("Waiting for VM \"%1\" to power on...\n").arg(machine.name));
    std::fflush(stdout);
    QDir().mkpath(machine.logDirectory());
    const QString outputPath = machine.logDirectory() + QStringLiteral("/devicesim.out");
    const QString errorPath = machine.logDirectory() + QStringLiteral("/devicesim.err");
    QProcess device;
    device.setProgram(devicesimProgram);
    device.setArguments({QStringLiteral("--address"), machine.address, QStringLiteral("--size"),
                         QStringLiteral("%1x%2").arg(machine.width).arg(machine.height), QStringLiteral("--dpi"),
                         QString::number(machine.dpi), QStringLiteral("--journal"),
                         machine.logDirectory() + QStringLiteral("/devicesim-journal.jsonl"),
                         QStringLiteral("--storage"), machine.directory + QStringLiteral("/storage"),
                         QStringLiteral("--camera-app"), QStringLiteral("--android-version"),
                         machine.guestProperties.value(QStringLiteral("/Calderwick/AndroidVersion"), QStringLiteral("9.0")),
                         QStringLiteral("--system-version"),
                         machine.guestProperties.value(QStringLiteral("/Calderwick/SystemVersion"),
                                                       QStringLiteral(CALDERWICK_VERSION))});
    // Tests reach a running machine's device through its control socket, where the path fits
    // in a local socket address.
    const QString controlPath = machine.directory + QStringLiteral("/control");
    if (QFile::encodeName(controlPath).size() < 100)
        device.setArguments(device.arguments() << QStringLiteral("--control") << controlPath);
    device.setStandardInputFile(QProcess::nullDevice());
    device.setStandardOutputFile(outputPath, QIODevice::Truncate);
    device.setStandardErrorFile(errorPath, QIODevice::Truncate);
    qint64 pid = 0;
    if (!device.startDetached(&pid) || pid <= 0)
        return failure(QStringLiteral("Failed to start the VM process for '%1': cannot run %2")
                           .arg(machine.name, devicesimProgram));
    // Taken at once: the start time tells this process apart for as long as it lives.
    const ProcessIdentity started = ProcessIdentity::of(pid);
    setState(machine, QStringLiteral("running"));
    machine.pid = pid;
    machine.pidStart = started.startTicks();
    machine.startedAtMs = QDateTime::currentMSecsSinceEpoch();
    if (!save(machine))
        return Failure;

    // Other invocations may read the machine while its device comes up.
    store.unlock();
    QElapsedTimer clock;
    clock.start();
    while (!deviceReady(machine) && started.isRunning() && clock.elapsed() < DeviceStartMs)
        QThread::msleep(20);
    if (!deviceReady(machine)) {
        if (started.isRunning())
            ::kill(pid_t(pid), SIGKILL);
        // devicesim says why in its own lines; Qt's warnings around them do not matter.
        QFile errors(errorPath);
        QStringList said;
        if (errors.open(QIODevice::ReadOnly))
            said = QString::fromUtf8(errors.read(4096)).split(QLatin1Char('\n')).filter(QStringLiteral("devicesim:"));
        const QString reason = said.join(QStringLiteral("; ")).simplified();
        if (store.lock() && store.load(machine.uuid, &machine)) {
            setState(machine, QStringLiteral("aborted"));
            machine.pid = 0;
            machine.pidStart = 0;
            save(machine);
        }
        return failure(QStringLiteral("The virtual machine '%1' has terminated unexpectedly during startup (%2)\n"
                                      "VBoxManage: error: Details: code NS_ERROR_FAILURE (0x80004005), component "
                                      "MachineWrap, interface IMachine")
                           .arg(machine.name, reason.isEmpty() ? QStringLiteral("no answer") : reason));
    }
    out(QStringLiteral("VM \"%1\" has been successfully started.\n").arg(machine.name));
    return Success;
}

bool VBoxManageStandIn::stopDevice(SimulatedMachine &machine)
{
    const ProcessIdentity device = deviceProcess(machine);
    if (!device.isRunning())
        return true;
    const pid_t pid = pid_t(machine.pid);
    ::kill(pid, SIGCONT); // a paused device must run to end
    ::kill(pid, SIGTERM);
    if (waitForExit(device, DeviceStopMs))
        return true;
    ::kill(pid, SIGKILL);
    return waitForExit(device, 1000);
}

int VBoxManageStandIn::controlVm(const QStringList &arguments)
{
    SimulatedMachine machine;
    if (arguments.size() < 2)
        return syntaxError(QStringLiteral("Not enough parameters"));
    if (!findMachine(arguments.at(0), QStringLiteral("controlvm"), &machine))
        return Failure;
    const QString action = arguments.at(1);
    const QString forced = machine.faultArgument(QStringLiteral("state"));
    if (!forced.isEmpty())
        return failure(QStringLiteral("Invalid machine state: %1 (must be Running, Paused or Stuck)\n"
                                      "VBoxManage: error: Details: code VBOX_E_INVALID_VM_STATE (0x80bb0002), "
                                      "component ConsoleWrap, interface IConsole")
                           .arg(forced));
    if (machine.vmState != QLatin1String("running") && machine.vmState != QLatin1String("paused"))
        return failure(QStringLiteral("Machine '%1' is not currently running").arg(machine.name));

    if (action == QLatin1String("poweroff")) {
        if (!stopDevice(machine))
            return failure(QStringLiteral("The machine '%1' did not power off").arg(machine.name));
        setState(machine, QStringLiteral("poweroff"));
        machine.pid = 0;
        machine.pidStart = 0;
        err(QLatin1String(Progress));
        return save(machine) ? Success : Failure;
    }
    if (action == QLatin1String("pause") || action == QLatin1String("resume")) {
        const bool pausing = action == QLatin1String("pause");
        const QString from = pausing ? QStringLiteral("running") : QStringLiteral("paused");
        if (machine.vmState != from)
            return failure(QStringLiteral("Invalid machine state: %1").arg(machine.vmState));
        if (deviceProcess(machine).isRunning())
            ::kill(pid_t(machine.pid), pausing ? SIGSTOP : SIGCONT);
        setState(machine, pausing ? QStringLiteral("paused") : QStringLiteral("running"));
        return save(machine) ? Success : Failure;
    }
    return syntaxError(QStringLiteral("Invalid parameter '%1'").arg(action));
}

int VBoxManageStandIn::modifyVm(const QStringList &arguments)
{
    SimulatedMachine machine;
    if (arguments.isEmpty())
        return syntaxError(QStringLiteral("Not enough parameters"));
    if (!findMachine(arguments.at(0), QStringLiteral("modifyvm"), &machine))
        return Failure;
    if (!isStoppedState(reportedState(machine)))
        return lockedFailure(machine);
    static const QStringList kinds{QStringLiteral("none"),    QStringLiteral("null"),    QStringLiteral("nat"),
                                   QStringLiteral("bridged"), QStringLiteral("intnet"),  QStringLiteral("hostonly"),
                                   QStringLiteral("generic"), QStringLiteral("natnetwork")};
    for (int i = 1; i < arguments.size(); i += 2) {
        const QString option = arguments.at(i);
        if (i + 1 >= arguments.size())
            return syntaxError(QStringLiteral("Missing argument to '%1'").arg(option));
        const QString value = arguments.at(i + 1);
        bool ok = false;
        if (option == QLatin1String("--cpus")) {
            const int count = value.toInt(&ok);
            if (!ok || count < 1 || count > 64)
                return failure(QStringLiteral("Invalid CPU count %1").arg(value));
            machine.cpus = count;
        } else if (option == QLatin1String("--memory")) {
            const int megabytes = value.toInt(&ok);
            if (!ok || megabytes < 4)
                return failure(QStringLiteral("Invalid RAM size %1").arg(value));
            machine.memory = megabytes;
        } else if (const int nic = adapterNumber(option, QStringLiteral("--nic"))) {
            if (machine.hasFault(QStringLiteral("adapter-refused")))
                return failure(QStringLiteral("Code NS_ERROR_FAILURE (0x80004005) - Operation failed (extended info "
                                              "not available)\nVBoxManage: error: Context: "
                                              "\"COMSETTER(AttachmentType)\" at line 1650 of file VBoxManageModifyVM.cpp"));
            if (!kinds.contains(value))
                return syntaxError(QStringLiteral("Invalid type '%1' specfied for NIC %2").arg(value).arg(nic));
            machine.nics[nic - 1] = value == QLatin1String("null") ? QStringLiteral("none") : value;
        } else if (const int adapter = adapterNumber(option, QStringLiteral("--hostonlyadapter"))) {
            machine.hostOnlyAdapters[adapter - 1] = value;
        } else {
            return syntaxError(QStringLiteral("Invalid parameter '%1'").arg(option));
        }
    }
    return save(machine) ? Success : Failure;
}

int VBoxManageStandIn::hostOnlyInterface(const QStringList &arguments)
{
    if (arguments.value(0) != QLatin1String("create"))
        return syntaxError(QStringLiteral("This stand-in answers \"hostonlyif create\" only"));
    QStringList names = store.hostOnlyInterfaces();
    int number = 0;
    while (names.contains(QStringLiteral("vboxnet%1").arg(number)))
        ++number;
    const QString name = QStringLiteral("vboxnet%1").arg(number);
    names << name;
    if (!store.saveHostOnlyInterfaces(names))
        return failure(QStringLiteral("Failed to create the host-only adapter"));
    out(QLatin1String(Progress));
    out(QStringLiteral("Interface '%1' was successfully created\n").arg(name));
    return Success;
}
