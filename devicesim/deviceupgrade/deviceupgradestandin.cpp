#include "deviceupgradestandin.h"

#include "machinestore.h"

#include <QFile>
#include <QRegularExpression>

#include <cstdio>

namespace {

constexpr qint64 HeadLimit = 64 * 1024;

void say(const QString &line)
{
    std::fputs(qPrintable(line + QLatin1Char('\n')), stdout);
    std::fflush(stdout);
}

} // namespace

DeviceUpgradeStandIn::DeviceUpgradeStandIn(MachineStore &machineStore)
    : store(machineStore)
{
}

bool DeviceUpgradeStandIn::readOva(const QByteArray &head, QString *systemVersion, QString *androidVersion)
{
    const QList<QByteArray> lines = head.left(HeadLimit).split('\n');
    if (lines.value(0).trimmed() != "calderwick-ova")
        return false;
    const QRegularExpression dotted(QStringLiteral("^\\d{1,5}(\\.\\d{1,5}){0,3}$"));
    systemVersion->clear();
    for (const QByteArray &line : lines.mid(1)) {
        const QString text = QString::fromLatin1(line).trimmed();
        const QString value = text.section(QLatin1Char('='), 1);
        if (!dotted.match(value).hasMatch())
            continue;
        if (text.startsWith(QLatin1String("system-version=")))
            *systemVersion = value;
        else if (text.startsWith(QLatin1String("android-version=")))
            *androidVersion = value;
    }
    return !systemVersion->isEmpty();
}

int DeviceUpgradeStandIn::run(const QStringList &arguments)
{
    const int ova = arguments.indexOf(QStringLiteral("--ova"));
    const int source = arguments.indexOf(QStringLiteral("--device-src"));
    if (ova < 0 || source < 0 || ova + 1 >= arguments.size() || source + 1 >= arguments.size()) {
        say(QStringLiteral("usage: device-upgrade --ova FILE --device-src NAME"));
        return Unexpected;
    }
    const QString name = arguments.at(source + 1);
    if (!store.lock()) {
        say(QStringLiteral("the machine store is locked"));
        return EngineError;
    }
    SimulatedMachine machine;
    if (!store.load(name, &machine)) {
        say(QStringLiteral("no virtual device named %1").arg(name));
        return NoSuchDevice;
    }
    say(QStringLiteral("Upgrading %1 from %2").arg(name, arguments.at(ova + 1)));
    const QString failure = machine.faultArgument(QStringLiteral("upgrade-exit"));
    if (!failure.isEmpty()) {
        say(QStringLiteral("failing as told: %1").arg(failure));
        return failure.toInt();
    }
    if (machine.vmState == QLatin1String("running")) {
        say(QStringLiteral("the virtual device still runs"));
        return EngineError;
    }
    QFile file(arguments.at(ova + 1));
    QString systemVersion;
    QString androidVersion = machine.guestProperties.value(QStringLiteral("/Calderwick/AndroidVersion"));
    if (!file.open(QIODevice::ReadOnly) || !readOva(file.read(HeadLimit), &systemVersion, &androidVersion)) {
        say(QStringLiteral("not a system image: %1").arg(file.fileName()));
        return Unexpected;
    }
    machine.guestProperties.insert(QStringLiteral("/Calderwick/SystemVersion"), systemVersion);
    machine.guestProperties.insert(QStringLiteral("/Calderwick/AndroidVersion"), androidVersion);
    QString error;
    if (!store.save(machine, &error)) {
        say(error);
        return MigrationFailed;
    }
    say(QStringLiteral("System %1 installed").arg(systemVersion));
    return Success;
}
