#include "vboxmanagemachine.h"

#include "guestproperties.h"
#include "vboxoutputparser.h"

#include <QDebug>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QHostAddress>
#include <QMutexLocker>
#include <QThread>

namespace {

bool isTrue(const QString &text)
{
    const QString word = text.trimmed().toLower();
    return word == QLatin1String("1") || word == QLatin1String("true") || word == QLatin1String("on")
           || word == QLatin1String("yes");
}

int addressWaitMs()
{
    bool ok = false;
    const int fromEnvironment = qEnvironmentVariableIntValue("CALDERWICK_VBOX_IP_WAIT_MS", &ok);
    return ok && fromEnvironment > 0 ? fromEnvironment : VBoxLimits::IpWaitMs;
}

// Density and size a device without its properties gets, so a window can still open.
const char FallbackDpi[] = "320";
constexpr int FallbackWidth = 720;
constexpr int FallbackHeight = 1280;
constexpr int MaxDimension = 16384;

} // namespace

VBoxManageMachine::VBoxManageMachine(std::shared_ptr<ProcessRunner> runner, const QMap<QString, QString> &info,
                                     const QMap<QString, QString> &properties)
    : runner(std::move(runner)),
      machineUuid(info.value(QStringLiteral("UUID"))),
      machineName(info.value(QStringLiteral("name"))),
      properties(properties)
{
    logFolder = info.value(QStringLiteral("LogFldr"));
    const QString settingsFile = info.value(QStringLiteral("CfgFile"));
    if (logFolder.isEmpty() && !settingsFile.isEmpty())
        logFolder = QFileInfo(settingsFile).absolutePath() + QStringLiteral("/Logs");
}

QMap<QString, QString> VBoxManageMachine::readInfo(int timeoutMs) const
{
    ProcessRunner::Result result;
    if (!runner->runLogged({QStringLiteral("showvminfo"), machineUuid, QStringLiteral("--machinereadable")},
                           timeoutMs, QStringLiteral("[VBoxManageMachine] cannot read %1:").arg(machineName),
                           &result))
        return {};
    return VBoxOutputParser::machineReadable(result.standardOutput);
}

bool VBoxManageMachine::readProperty(const char *property, QString *value, int timeoutMs) const
{
    const ProcessRunner::Result result = runner->run(
        {QStringLiteral("guestproperty"), QStringLiteral("get"), machineUuid, QLatin1String(property)}, timeoutMs);
    if (!result.started || result.timedOut || result.crashed)
        return false;
    return VBoxOutputParser::guestPropertyValue(result.standardOutput, value);
}

bool VBoxManageMachine::writeProperty(const char *property, const QString &value)
{
    if (!runner->runLogged({QStringLiteral("guestproperty"), QStringLiteral("set"), machineUuid,
                            QLatin1String(property), value},
                           VBoxLimits::QueryMs,
                           QStringLiteral("[VBoxManageMachine] cannot set %1 of %2:").arg(property, machineName)))
        return false;
    QMutexLocker lock(&mutex);
    properties.insert(QLatin1String(property), value);
    return true;
}

QString VBoxManageMachine::keptProperty(const char *property) const
{
    QMutexLocker lock(&mutex);
    return properties.value(QLatin1String(property));
}

bool VBoxManageMachine::keptFlag(const char *property) const
{
    return isTrue(keptProperty(property));
}

void VBoxManageMachine::setFlag(const char *property, bool on)
{
    writeProperty(property, on ? QStringLiteral("1") : QStringLiteral("0"));
}

QString VBoxManageMachine::logDirectory()
{
    return logFolder;
}

bool VBoxManageMachine::prepareStart()
{
    // An address left from the last run would be taken for the new one: clear it, so that
    // waitForIp() only sees what this boot reports.
    {
        QMutexLocker lock(&mutex);
        knownAddress.clear();
    }
    // "set" without a value deletes, in every VirtualBox; "unset" only came with 7.0.
    if (!runner->runLogged({QStringLiteral("guestproperty"), QStringLiteral("set"), machineUuid,
                            QLatin1String(GuestProperty::Address)},
                           VBoxLimits::QueryMs,
                           QStringLiteral("[VBoxManageMachine][prepareStart] cannot clear the address of %1:")
                               .arg(machineName)))
        return false;
    // Without a host-only adapter the host can never reach the address the device reports.
    if (networkAdapterMode(1) != AdapterMode::HostOnly) {
        qWarning().noquote() << "[VBoxManageMachine][prepareStart] adapter 1 of" << machineName
                             << "is not host-only";
        return false;
    }
    return true;
}

bool VBoxManageMachine::isHardwareAccelerated()
{
    QString value;
    if (!readProperty(GuestProperty::HardwareAcceleration, &value, VBoxLimits::QueryMs))
        return false;
    return isTrue(value);
}

int VBoxManageMachine::processorCount()
{
    bool ok = false;
    const int count = readInfo(VBoxLimits::MainThreadQueryMs).value(QStringLiteral("cpus")).toInt(&ok);
    return ok && count > 0 ? count : 0;
}

bool VBoxManageMachine::setProcessorCount(int count)
{
    if (count < 1 || count > 64) {
        qWarning() << "[VBoxManageMachine][setProcessorCount] refused count" << count;
        return false;
    }
    return runner->runLogged({QStringLiteral("modifyvm"), machineUuid, QStringLiteral("--cpus"),
                              QString::number(count)},
                             VBoxLimits::QueryMs, QStringLiteral("[VBoxManageMachine][setProcessorCount] %1:").arg(machineName));
}

void VBoxManageMachine::setHardwareAccelerated(bool on)
{
    setFlag(GuestProperty::HardwareAcceleration, on);
}

QString VBoxManageMachine::name()
{
    return machineName;
}

QString VBoxManageMachine::readAddress(int timeoutMs) const
{
    QString value;
    if (!readProperty(GuestProperty::Address, &value, timeoutMs))
        return QString();
    const QHostAddress address(value.trimmed());
    if (address.protocol() != QAbstractSocket::IPv4Protocol || address == QHostAddress::AnyIPv4) {
        qWarning().noquote() << "[VBoxManageMachine] ignoring address" << value.left(64) << "of" << machineName;
        return QString();
    }
    return address.toString();
}

QString VBoxManageMachine::waitForIp()
{
    const int limit = addressWaitMs();
    QElapsedTimer clock;
    clock.start();
    QElapsedTimer sinceStateCheck;
    sinceStateCheck.start();
    while (clock.elapsed() < limit) {
        const QString address = readAddress(VBoxLimits::QueryMs);
        if (!address.isEmpty()) {
            QMutexLocker lock(&mutex);
            knownAddress = address;
            return address;
        }
        // A machine that went down will not report an address any more.
        if (sinceStateCheck.elapsed() >= 2000) {
            sinceStateCheck.restart();
            const int current = state();
            if (current == MachineState::Off || current == MachineState::Aborted) {
                qWarning().noquote() << "[VBoxManageMachine][waitForIp]" << machineName
                                     << "stopped before it had an address";
                return QStringLiteral("0.0.0.0");
            }
        }
        QThread::msleep(VBoxLimits::IpPollMs);
    }
    qWarning().noquote() << "[VBoxManageMachine][waitForIp] no address from" << machineName << "within" << limit
                         << "ms";
    return QStringLiteral("0.0.0.0");
}

int VBoxManageMachine::state()
{
    const QMap<QString, QString> info = readInfo(VBoxLimits::MainThreadQueryMs);
    if (info.isEmpty())
        return MachineState::Undefined;
    return VBoxOutputParser::machineState(info.value(QStringLiteral("VMState")));
}

QString VBoxManageMachine::androidVersion()
{
    return keptProperty(GuestProperty::AndroidVersion);
}

QString VBoxManageMachine::systemVersion()
{
    return keptProperty(GuestProperty::SystemVersion);
}

QString VBoxManageMachine::platform()
{
    return keptProperty(GuestProperty::Platform);
}

QString VBoxManageMachine::dpi()
{
    const QString text = keptProperty(GuestProperty::Dpi).trimmed();
    bool ok = false;
    const int value = text.toInt(&ok);
    if (!ok || value <= 0 || value > 2000) {
        qWarning().noquote() << "[VBoxManageMachine][dpi] unusable density" << text.left(32) << "of" << machineName
                             << "- using" << FallbackDpi;
        return QLatin1String(FallbackDpi);
    }
    return QString::number(value);
}

QPair<int, int> VBoxManageMachine::size()
{
    const QString text = keptProperty(GuestProperty::Resolution).trimmed();
    const QStringList parts = text.split(QLatin1Char('x'));
    bool widthOk = false;
    bool heightOk = false;
    const int width = parts.value(0).toInt(&widthOk);
    const int height = parts.value(1).toInt(&heightOk);
    if (parts.size() != 2 || !widthOk || !heightOk || width <= 0 || height <= 0 || width > MaxDimension
        || height > MaxDimension) {
        qWarning().noquote() << "[VBoxManageMachine][size] unusable resolution" << text.left(32) << "of"
                             << machineName << "- using" << FallbackWidth << "x" << FallbackHeight;
        return qMakePair(FallbackWidth, FallbackHeight);
    }
    return qMakePair(width, height);
}

bool VBoxManageMachine::startsFullScreen()
{
    return keptFlag(GuestProperty::FullScreen);
}

bool VBoxManageMachine::navigationBarShown()
{
    return keptFlag(GuestProperty::NavigationBarShown);
}

void VBoxManageMachine::setNavigationBarShown(bool on)
{
    setFlag(GuestProperty::NavigationBarShown, on);
}

bool VBoxManageMachine::navigationBarConfigured()
{
    return keptFlag(GuestProperty::NavigationBarConfigured);
}

void VBoxManageMachine::setNavigationBarConfigured(bool on)
{
    setFlag(GuestProperty::NavigationBarConfigured, on);
}

QString VBoxManageMachine::ip()
{
    {
        QMutexLocker lock(&mutex);
        if (!knownAddress.isEmpty())
            return knownAddress;
    }
    const QString address = readAddress(VBoxLimits::MainThreadQueryMs);
    if (!address.isEmpty()) {
        QMutexLocker lock(&mutex);
        knownAddress = address;
    }
    return address;
}

int VBoxManageMachine::networkAdapterMode(int index)
{
    if (index < 1 || index > MaxAdapters)
        return AdapterMode::None;
    const QMap<QString, QString> info = readInfo(VBoxLimits::MainThreadQueryMs);
    const QString kind = info.value(QStringLiteral("nic%1").arg(index));
    if (kind.isEmpty() || kind == QLatin1String("none"))
        return AdapterMode::None;
    if (kind == QLatin1String("hostonly"))
        return AdapterMode::HostOnly;
    return AdapterMode::Unknown;
}

int VBoxManageMachine::setNetworkAdapter(int index, int mode, const QString &interfaceName)
{
    if (index < 1 || index > MaxAdapters) {
        qWarning() << "[VBoxManageMachine][setNetworkAdapter] no adapter" << index;
        return 0;
    }
    const QString nic = QStringLiteral("--nic%1").arg(index);
    QStringList arguments{QStringLiteral("modifyvm"), machineUuid};
    if (mode == AdapterMode::HostOnly) {
        if (interfaceName.isEmpty()) {
            qWarning() << "[VBoxManageMachine][setNetworkAdapter] no host-only interface to attach to";
            return 0;
        }
        arguments << nic << QStringLiteral("hostonly") << QStringLiteral("--hostonlyadapter%1").arg(index)
                  << interfaceName;
    } else if (mode == AdapterMode::None) {
        arguments << nic << QStringLiteral("none");
    } else {
        qWarning() << "[VBoxManageMachine][setNetworkAdapter] cannot set adapter mode" << mode;
        return 0;
    }
    if (!runner->runLogged(arguments, VBoxLimits::QueryMs,
                           QStringLiteral("[VBoxManageMachine][setNetworkAdapter] %1:").arg(machineName)))
        return 0;
    return networkAdapterMode(index) == mode ? 1 : 0;
}
