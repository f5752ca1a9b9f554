#include "vmtemplate.h"

#include <QDataStream>
#include <QDateTime>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QStringList>

namespace {
const int StreamVersion = 12;
// A template file holds a few dozen keys; a larger count means a foreign or damaged file.
const qint32 MaxEntries = 4096;

// One value of the file, of the kinds this record writes. Any other kind is refused before
// it is read: a stream may name any type, and some (pictures, for one) can't even be made
// outside a GUI application.
bool readValue(QDataStream &in, QVariant &value)
{
    quint32 type = 0;
    qint8 isNull = 0;
    in >> type >> isNull;
    if (in.status() != QDataStream::Ok)
        return false; // cut short: the caller says so
    switch (type) {
    case QMetaType::QString: { QString v; in >> v; value = v; break; }
    case QMetaType::Int: { qint32 v = 0; in >> v; value = v; break; }
    case QMetaType::UInt: { quint32 v = 0; in >> v; value = v; break; }
    case QMetaType::Bool: { bool v = false; in >> v; value = v; break; }
    case QMetaType::QDateTime: { QDateTime v; in >> v; value = v; break; }
    default:
        qWarning() << "[VmTemplate] Not a template file, value of type" << type;
        return false;
    }
    return true;
}
}

VmTemplate::VmTemplate(const QVariantMap &map)
    : uuid(map.value(QStringLiteral("vmtemplate_uuid")).toString()),
      name(map.value(QStringLiteral("name")).toString()),
      description(map.value(QStringLiteral("description")).toString()),
      systemVersion(map.value(QStringLiteral("system_version")).toMap()),
      resolutionHeight(map.value(QStringLiteral("resolution_height")).toInt()),
      resolutionWidth(map.value(QStringLiteral("resolution_width")).toInt()),
      density(map.value(QStringLiteral("density")).toInt()),
      navbar(map.value(QStringLiteral("navbar")).toBool()),
      memorySize(map.value(QStringLiteral("memory_size")).toInt()),
      dataDiskSize(map.value(QStringLiteral("datadisk_size")).toInt()),
      procNumber(map.value(QStringLiteral("proc_number")).toInt()),
      sensorGyro(map.value(QStringLiteral("sensor_gyro")).toBool()),
      sensorCamera(map.value(QStringLiteral("sensor_camera")).toBool())
{
}

QString VmTemplate::toString(int indent) const
{
    const QString pad(indent, QLatin1Char(' '));
    QStringList lines{QString()};
    auto add = [&](const char *label, const QString &value) { lines << pad + QString::fromLatin1(label).arg(value); };
    add("uuid            : %1", uuid);
    add("name            : %1", name);
    add("description     : %1", description);
    add("systemVersion   : %1", systemVersion.toString(indent + 2));
    add("resolutionHeight: %1", QString::number(resolutionHeight));
    add("resolutionWidth : %1", QString::number(resolutionWidth));
    add("density         : %1", QString::number(density));
    add("navbar          : %1", QString::number(int(navbar)));
    add("memorySize      : %1", QString::number(memorySize));
    add("dataDiskSize    : %1", QString::number(dataDiskSize));
    add("procNumber      : %1", QString::number(procNumber));
    add("sensorGyro      : %1", QString::number(int(sensorGyro)));
    add("sensorCamera    : %1", QString::number(int(sensorCamera)));
    return lines.join(QLatin1Char('\n'));
}

int VmTemplate::writeToDirectory(const QString &directory) const
{
    if (uuid.isEmpty())
        return 13;
    QFile file(QDir(directory).filePath(uuid + QStringLiteral(".bin")));
    if (!file.open(QIODevice::WriteOnly))
        return 15;

    QHash<QString, QVariant> hash;
    hash.insert(QStringLiteral("uuid"), uuid);
    hash.insert(QStringLiteral("name"), name);
    hash.insert(QStringLiteral("description"), description);
    systemVersion.writeTo(hash);
    hash.insert(QStringLiteral("resolutionHeight"), resolutionHeight);
    hash.insert(QStringLiteral("resolutionWidth"), resolutionWidth);
    hash.insert(QStringLiteral("density"), density);
    hash.insert(QStringLiteral("navbar"), navbar);
    hash.insert(QStringLiteral("memorySize"), memorySize);
    hash.insert(QStringLiteral("dataDiskSize"), dataDiskSize);
    hash.insert(QStringLiteral("procNumber"), procNumber);
    hash.insert(QStringLiteral("sensorGyro"), sensorGyro);
    hash.insert(QStringLiteral("sensorCamera"), sensorCamera);

    QDataStream out(&file);
    out.setVersion(StreamVersion);
    out << qint32(hash.size());
    for (auto it = hash.cbegin(); it != hash.cend(); ++it)
        out << it.key() << it.value();
    file.close();
    return 1;
}

int VmTemplate::readFromFile(QIODevice *device)
{
    if (!device || (!device->isOpen() && !device->open(QIODevice::ReadOnly)) || !device->isReadable())
        return 14;
    QDataStream in(device);
    in.setVersion(StreamVersion);
    qint32 count = 0;
    in >> count;
    if (in.status() != QDataStream::Ok || count < 0 || count > MaxEntries) {
        qWarning() << "[VmTemplate] Not a template file, entry count" << count;
        return 14;
    }
    QHash<QString, QVariant> hash;
    for (qint32 i = 0; i < count; ++i) {
        QString key;
        QVariant value;
        in >> key;
        const bool known = readValue(in, value);
        if (in.status() == QDataStream::Ok && !known)
            return 14;
        if (in.status() != QDataStream::Ok) {
            qWarning() << "[VmTemplate] Template file cut short at entry" << i;
            return 14;
        }
        hash.insert(key, value);
    }

    uuid = hash.value(QStringLiteral("uuid")).toString();
    name = hash.value(QStringLiteral("name")).toString();
    description = hash.value(QStringLiteral("description")).toString();
    systemVersion = SystemVersion::readFrom(hash);
    resolutionHeight = hash.value(QStringLiteral("resolutionHeight")).toInt();
    resolutionWidth = hash.value(QStringLiteral("resolutionWidth")).toInt();
    density = hash.value(QStringLiteral("density")).toInt();
    navbar = hash.value(QStringLiteral("navbar")).toBool();
    memorySize = hash.value(QStringLiteral("memorySize")).toInt();
    dataDiskSize = hash.value(QStringLiteral("dataDiskSize")).toInt();
    procNumber = hash.value(QStringLiteral("procNumber")).toInt();
    sensorGyro = hash.value(QStringLiteral("sensorGyro")).toBool();
    sensorCamera = hash.value(QStringLiteral("sensorCamera")).toBool();
    return 1;
}
