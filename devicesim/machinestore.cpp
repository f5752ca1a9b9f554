#include "machinestore.h"

#include <QCommandLineParser>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QHostAddress>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QUuid>

#include <cstdio>

namespace {

// A machine file is small; anything much larger is not one of ours.
constexpr qint64 MaxMachineFileBytes = 1024 * 1024;

// Names become directory names: no separators, nothing hidden, nothing odd.
bool isUsableName(const QString &name)
{
    if (name.isEmpty() || name.size() > 128 || name.startsWith(QLatin1Char('.')))
        return false;
    for (const QChar c : name) {
        if (c == QLatin1Char('/') || c == QLatin1Char('\\') || c.category() == QChar::Other_Control)
            return false;
    }
    return true;
}

QString normalisedUuid(QString text)
{
    text = text.trimmed().toLower();
    if (text.startsWith(QLatin1Char('{')) && text.endsWith(QLatin1Char('}')))
        text = text.mid(1, text.size() - 2);
    return text;
}

QString nowText()
{
    return QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss.zzz000000"));
}

} // namespace

QStringList SimulatedMachine::faults() const
{
    QFile file(directory + QStringLiteral("/faults"));
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return {};
    QStringList lines;
    for (const QString &raw : QString::fromUtf8(file.read(64 * 1024)).split(QLatin1Char('\n'))) {
        const QString line = raw.trimmed();
        if (!line.isEmpty() && !line.startsWith(QLatin1Char('#')))
            lines << line;
    }
    return lines;
}

bool SimulatedMachine::hasFault(const QString &word) const
{
    for (const QString &line : faults()) {
        if (line.section(QLatin1Char(' '), 0, 0) == word)
            return true;
    }
    return false;
}

QString SimulatedMachine::faultArgument(const QString &word) const
{
    for (const QString &line : faults()) {
        if (line.section(QLatin1Char(' '), 0, 0) == word)
            return line.section(QLatin1Char(' '), 1).trimmed();
    }
    return QString();
}

MachineStore::MachineStore() : MachineStore(defaultHome())
{
}

MachineStore::MachineStore(const QString &home) : homePath(home)
{
}

QString MachineStore::defaultHome()
{
    const QString configured = qEnvironmentVariable("DEVICESIM_HOME");
    return configured.isEmpty() ? QDir::homePath() + QStringLiteral("/.devicesim") : configured;
}

bool MachineStore::lock(int timeoutMs)
{
    if (isLocked())
        return true;
    QDir().mkpath(homePath);
    if (!lockFile)
        lockFile = std::make_unique<QLockFile>(homePath + QStringLiteral("/store.lock"));
    // A lock left by a killed process is taken over once it is this old.
    lockFile->setStaleLockTime(30000);
    return lockFile->tryLock(timeoutMs);
}

void MachineStore::unlock()
{
    if (lockFile)
        lockFile->unlock();
}

bool MachineStore::isLocked() const
{
    return lockFile && lockFile->isLocked();
}

QString MachineStore::machineFile(const QString &name) const
{
    return homePath + QStringLiteral("/machines/") + name + QStringLiteral("/machine.json");
}

QStringList MachineStore::machineNames() const
{
    QStringList names;
    const QDir machines(homePath + QStringLiteral("/machines"));
    for (const QString &entry : machines.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name)) {
        if (QFile::exists(machineFile(entry)))
            names << entry;
    }
    return names;
}

bool MachineStore::load(const QString &nameOrUuid, SimulatedMachine *machine) const
{
    QString name;
    if (isUsableName(nameOrUuid) && QFile::exists(machineFile(nameOrUuid))) {
        name = nameOrUuid;
    } else {
        const QString wanted = normalisedUuid(nameOrUuid);
        for (const QString &candidate : machineNames()) {
            SimulatedMachine other;
            if (load(candidate, &other) && other.uuid == wanted) {
                name = candidate;
                break;
            }
        }
        if (name.isEmpty())
            return false;
    }

    QFile file(machineFile(name));
    if (!file.open(QIODevice::ReadOnly) || file.size() > MaxMachineFileBytes)
        return false;
    const QJsonObject object = QJsonDocument::fromJson(file.readAll()).object();
    if (object.isEmpty())
        return false;
    SimulatedMachine loaded;
    loaded.name = name;
    loaded.directory = homePath + QStringLiteral("/machines/") + name;
    loaded.uuid = object.value(QStringLiteral("uuid")).toString();
    loaded.address = object.value(QStringLiteral("address")).toString();
    loaded.width = object.value(QStringLiteral("width")).toInt(loaded.width);
    loaded.height = object.value(QStringLiteral("height")).toInt(loaded.height);
    loaded.dpi = object.value(QStringLiteral("dpi")).toInt(loaded.dpi);
    loaded.cpus = object.value(QStringLiteral("cpus")).toInt(loaded.cpus);
    loaded.memory = object.value(QStringLiteral("memory")).toInt(loaded.memory);
    loaded.vmState = object.value(QStringLiteral("vmState")).toString(loaded.vmState);
    loaded.stateChangeTime = object.value(QStringLiteral("stateChangeTime")).toString();
    loaded.pid = qint64(object.value(QStringLiteral("pid")).toDouble());
    loaded.pidStart = object.value(QStringLiteral("pidStart")).toString().toULongLong();
    loaded.startedAtMs = qint64(object.value(QStringLiteral("startedAtMs")).toDouble());
    const QJsonArray nics = object.value(QStringLiteral("nics")).toArray();
    const QJsonArray adapters = object.value(QStringLiteral("hostOnlyAdapters")).toArray();
    for (int i = 0; i < SimulatedMachine::AdapterCount; ++i) {
        loaded.nics[i] = nics.at(i).toString(QStringLiteral("none"));
        loaded.hostOnlyAdapters[i] = adapters.at(i).toString();
    }
    const QJsonObject properties = object.value(QStringLiteral("guestProperties")).toObject();
    for (auto it = properties.begin(); it != properties.end(); ++it)
        loaded.guestProperties.insert(it.key(), it.value().toString());
    *machine = loaded;
    return true;
}

bool MachineStore::save(const SimulatedMachine &machine, QString *error) const
{
    QJsonArray nics;
    QJsonArray adapters;
    for (int i = 0; i < SimulatedMachine::AdapterCount; ++i) {
        nics.append(machine.nics[i]);
        adapters.append(machine.hostOnlyAdapters[i]);
    }
    QJsonObject properties;
    for (auto it = machine.guestProperties.begin(); it != machine.guestProperties.end(); ++it)
        properties.insert(it.key(), it.value());
    const QJsonObject object{
        {QStringLiteral("uuid"), machine.uuid},
        {QStringLiteral("address"), machine.address},
        {QStringLiteral("width"), machine.width},
        {QStringLiteral("height"), machine.height},
        {QStringLiteral("dpi"), machine.dpi},
        {QStringLiteral("cpus"), machine.cpus},
        {QStringLiteral("memory"), machine.memory},
        {QStringLiteral("vmState"), machine.vmState},
        {QStringLiteral("stateChangeTime"), machine.stateChangeTime},
        {QStringLiteral("pid"), double(machine.pid)},
        {QStringLiteral("pidStart"), QString::number(machine.pidStart)},
        {QStringLiteral("startedAtMs"), double(machine.startedAtMs)},
        {QStringLiteral("nics"), nics},
        {QStringLiteral("hostOnlyAdapters"), adapters},
        {QStringLiteral("guestProperties"), properties},
    };
    QDir().mkpath(machine.logDirectory());
    // Written whole or not at all: a reader never sees half a machine.
    QSaveFile file(machineFile(machine.name));
    if (!file.open(QIODevice::WriteOnly) || file.write(QJsonDocument(object).toJson()) < 0 || !file.commit()) {
        if (error)
            *error = QStringLiteral("cannot write %1: %2").arg(machineFile(machine.name), file.errorString());
        return false;
    }
    return true;
}

bool MachineStore::create(const QString &name, int width, int height, int dpi, const QString &address,
                          SimulatedMachine *machine, QString *error)
{
    if (!isUsableName(name)) {
        *error = QStringLiteral("\"%1\" cannot name a machine").arg(name);
        return false;
    }
    const bool held = isLocked();
    if (!lock()) {
        *error = QStringLiteral("the store %1 is locked by another process").arg(homePath);
        return false;
    }
    const bool created = createLocked(name, width, height, dpi, address, machine, error);
    if (!held)
        unlock();
    return created;
}

bool MachineStore::createLocked(const QString &name, int width, int height, int dpi, const QString &address,
                                SimulatedMachine *machine, QString *error)
{
    if (QFile::exists(machineFile(name))) {
        *error = QStringLiteral("a machine named \"%1\" exists already").arg(name);
        return false;
    }
    QStringList taken;
    for (const QString &other : machineNames()) {
        SimulatedMachine existing;
        if (load(other, &existing))
            taken << existing.address;
    }
    QString chosen = address;
    if (chosen.isEmpty()) {
        for (int last = 100; last < 255 && chosen.isEmpty(); ++last) {
            const QString candidate = QStringLiteral("127.0.0.%1").arg(last);
            if (!taken.contains(candidate))
                chosen = candidate;
        }
        if (chosen.isEmpty()) {
            *error = QStringLiteral("no free loopback address left from 127.0.0.100 to 127.0.0.254");
            return false;
        }
    } else {
        const QHostAddress parsed(chosen);
        if (parsed.protocol() != QAbstractSocket::IPv4Protocol || !parsed.isLoopback()) {
            *error = QStringLiteral("--address takes a loopback address such as 127.0.0.100");
            return false;
        }
        chosen = parsed.toString();
        if (taken.contains(chosen)) {
            *error = QStringLiteral("another machine has the address %1").arg(chosen);
            return false;
        }
    }

    SimulatedMachine created;
    created.name = name;
    created.uuid = QUuid::createUuid().toString(QUuid::WithoutBraces);
    created.directory = homePath + QStringLiteral("/machines/") + name;
    created.address = chosen;
    created.width = width;
    created.height = height;
    created.dpi = dpi;
    created.stateChangeTime = nowText();
    for (int i = 0; i < SimulatedMachine::AdapterCount; ++i)
        created.nics[i] = QStringLiteral("none");
    // As a deployed device comes: host-only first for the player, NAT second for the internet.
    created.nics[0] = QStringLiteral("hostonly");
    created.hostOnlyAdapters[0] = QStringLiteral("vboxnet0");
    created.nics[1] = QStringLiteral("nat");
    created.guestProperties = {
        {QStringLiteral("/Calderwick/HardwareAcceleration"), QStringLiteral("1")},
        {QStringLiteral("/Calderwick/AndroidVersion"), QStringLiteral("9.0")},
        {QStringLiteral("/Calderwick/SystemVersion"), QStringLiteral(CALDERWICK_VERSION)},
        {QStringLiteral("/Calderwick/Platform"), QStringLiteral("p")},
        {QStringLiteral("/Calderwick/Dpi"), QString::number(dpi)},
        {QStringLiteral("/Calderwick/Resolution"), QStringLiteral("%1x%2").arg(width).arg(height)},
        {QStringLiteral("/Calderwick/FullScreen"), QStringLiteral("0")},
        {QStringLiteral("/Calderwick/NavigationBarShown"), QStringLiteral("1")},
        {QStringLiteral("/Calderwick/NavigationBarConfigured"), QStringLiteral("1")},
    };
    if (!QDir().mkpath(created.logDirectory()) || !save(created, error))
        return false;
    QFile settings(created.settingsFile());
    if (settings.open(QIODevice::WriteOnly))
        settings.write("<!-- simulated machine, kept in machine.json -->\n");
    if (machine)
        *machine = created;
    return true;
}

QStringList MachineStore::hostOnlyInterfaces() const
{
    QFile file(homePath + QStringLiteral("/hostonlyifs"));
    // A fresh store has VirtualBox's usual first interface.
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return {QStringLiteral("vboxnet0")};
    QStringList names;
    for (const QString &line : QString::fromUtf8(file.read(64 * 1024)).split(QLatin1Char('\n'))) {
        if (!line.trimmed().isEmpty())
            names << line.trimmed();
    }
    return names;
}

bool MachineStore::saveHostOnlyInterfaces(const QStringList &names) const
{
    QDir().mkpath(homePath);
    QSaveFile file(homePath + QStringLiteral("/hostonlyifs"));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text))
        return false;
    file.write((names.join(QLatin1Char('\n')) + QLatin1Char('\n')).toUtf8());
    return file.commit();
}

QList<QCommandLineOption> MachineStore::createOptions()
{
    return {
        {QStringLiteral("size"), QStringLiteral("Display size in pixels."), QStringLiteral("WxH"),
         QStringLiteral("720x1280")},
        {QStringLiteral("dpi"), QStringLiteral("Display density."), QStringLiteral("N"), QStringLiteral("320")},
        {QStringLiteral("address"),
         QStringLiteral("Loopback address (default: the first free from 127.0.0.100)."), QStringLiteral("127.0.0.x")},
        {QStringLiteral("cpus"), QStringLiteral("Processors."), QStringLiteral("N"), QStringLiteral("2")},
    };
}

int MachineStore::runCreateCommand(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Registers a simulated machine for the VBoxManage stand-in"));
    parser.addHelpOption();
    parser.addPositionalArgument(QStringLiteral("create"), QStringLiteral("The sub-command."));
    parser.addPositionalArgument(QStringLiteral("name"), QStringLiteral("Name of the machine."));
    parser.addOptions(createOptions());
    if (!parser.parse(arguments)) {
        std::fprintf(stderr, "devicesim create: %s\n", qPrintable(parser.errorText()));
        return 2;
    }
    if (parser.isSet(QStringLiteral("help"))) {
        std::printf("%s", qPrintable(parser.helpText()));
        return 0;
    }
    const QStringList positional = parser.positionalArguments();
    if (positional.size() != 2) {
        QString usage = QStringLiteral("devicesim create NAME");
        for (const QCommandLineOption &option : createOptions())
            usage += QStringLiteral(" [--%1 %2]").arg(option.names().first(), option.valueName());
        std::fprintf(stderr, "devicesim create: usage: %s\n", qPrintable(usage));
        return 2;
    }
    const QString size = QStringLiteral("size");
    const QString dpi = QStringLiteral("dpi");
    const QString address = QStringLiteral("address");
    const QString cpus = QStringLiteral("cpus");
    const QStringList dimensions = parser.value(size).split(QLatin1Char('x'));
    bool widthOk = false;
    bool heightOk = false;
    bool dpiOk = false;
    bool cpusOk = false;
    const int width = dimensions.value(0).toInt(&widthOk);
    const int height = dimensions.value(1).toInt(&heightOk);
    const int density = parser.value(dpi).toInt(&dpiOk);
    const int processors = parser.value(cpus).toInt(&cpusOk);
    if (dimensions.size() != 2 || !widthOk || !heightOk || width < 64 || height < 64 || width > 8192
        || height > 8192) {
        std::fprintf(stderr, "devicesim create: --size takes WIDTHxHEIGHT, each from 64 to 8192\n");
        return 2;
    }
    if (!dpiOk || density < 60 || density > 1000) {
        std::fprintf(stderr, "devicesim create: --dpi takes a density from 60 to 1000\n");
        return 2;
    }
    if (!cpusOk || processors < 1 || processors > 64) {
        std::fprintf(stderr, "devicesim create: --cpus takes 1 to 64\n");
        return 2;
    }

    MachineStore store;
    SimulatedMachine machine;
    QString error;
    if (!store.create(positional.at(1), width, height, density, parser.value(address), &machine, &error)) {
        std::fprintf(stderr, "devicesim create: %s\n", qPrintable(error));
        return 1;
    }
    if (processors != machine.cpus) {
        machine.cpus = processors;
        if (!store.save(machine, &error)) {
            std::fprintf(stderr, "devicesim create: %s\n", qPrintable(error));
            return 1;
        }
    }
    std::printf("Machine \"%s\" created: uuid %s, address %s, in %s\n", qPrintable(machine.name),
                qPrintable(machine.uuid), qPrintable(machine.address), qPrintable(machine.directory));
    return 0;
}
