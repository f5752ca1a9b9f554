#include "systemversion.h"

#include "settings.h"

#include <QCryptographicHash>
#include <QDebug>
#include <QFile>
#include <QStringList>

SystemVersion::SystemVersion(const QVariantMap &map)
    : uuid(map.value(QStringLiteral("uuid")).toString()),
      name(map.value(QStringLiteral("name")).toString()),
      description(map.value(QStringLiteral("description")).toString()),
      platform(map.value(QStringLiteral("platform")).toString()),
      androidVersion(map.value(QStringLiteral("aosp_version")).toString()),
      calderwickVersion(map.value(QStringLiteral("version_number")).toString()),
      date(map.value(QStringLiteral("date")).toDateTime()),
      vdiSystemName(map.value(QStringLiteral("vdi_system_name")).toString()),
      vdiSystemSize(map.value(QStringLiteral("vdi_system_size")).toUInt()),
      vdiSystemHash(map.value(QStringLiteral("vdi_system_hash")).toString()),
      ovaName(map.value(QStringLiteral("ova_name")).toString()),
      ovaSize(map.value(QStringLiteral("ova_size")).toUInt()),
      ovaHash(map.value(QStringLiteral("ova_hash")).toString())
{
}

QString SystemVersion::toString(int indent) const
{
    const QString pad(indent, QLatin1Char(' '));
    QStringList lines{QString()};
    auto add = [&](const char *label, const QString &value) { lines << pad + QString::fromLatin1(label).arg(value); };
    add("uuid              : %1", uuid);
    add("name              : %1", name);
    add("description       : %1", description);
    add("platform          : %1", platform);
    add("androidVersion    : %1", androidVersion);
    add("calderwickVersion : %1", calderwickVersion);
    add("date              : %1", date.toString());
    add("vdiSystemName     : %1", vdiSystemName);
    add("vdiSystemSize     : %1", QString::number(vdiSystemSize));
    add("vdiSystemHash     : %1", vdiSystemHash);
    add("ovaName           : %1", ovaName);
    add("ovaSize           : %1", QString::number(ovaSize));
    add("ovaHash           : %1", ovaHash);
    return lines.join(QLatin1Char('\n'));
}

void SystemVersion::writeTo(QHash<QString, QVariant> &hash) const
{
    hash.insert(QStringLiteral("systemVersionUuid"), uuid);
    hash.insert(QStringLiteral("systemVersionName"), name);
    hash.insert(QStringLiteral("systemVersionDescr"), description);
    hash.insert(QStringLiteral("systemVersionPlatform"), platform);
    hash.insert(QStringLiteral("systemVersionAospVersion"), androidVersion);
    hash.insert(QStringLiteral("systemVersionCalderwickVersion"), calderwickVersion);
    hash.insert(QStringLiteral("systemVersionDate"), date);
    hash.insert(QStringLiteral("systemVersionVdiSystemName"), vdiSystemName);
    hash.insert(QStringLiteral("systemVersionVdiSystemSize"), vdiSystemSize);
    hash.insert(QStringLiteral("systemVersionVdiSystemHash"), vdiSystemHash);
    hash.insert(QStringLiteral("systemVersionOvaName"), ovaName);
    hash.insert(QStringLiteral("systemVersionOvaSize"), ovaSize);
    hash.insert(QStringLiteral("systemVersionOvaHash"), ovaHash);
}

SystemVersion SystemVersion::readFrom(const QHash<QString, QVariant> &hash)
{
    SystemVersion v;
    v.uuid = hash.value(QStringLiteral("systemVersionUuid")).toString();
    v.name = hash.value(QStringLiteral("systemVersionName")).toString();
    v.description = hash.value(QStringLiteral("systemVersionDescr")).toString();
    v.platform = hash.value(QStringLiteral("systemVersionPlatform")).toString();
    v.androidVersion = hash.value(QStringLiteral("systemVersionAospVersion")).toString();
    v.calderwickVersion = hash.value(QStringLiteral("systemVersionCalderwickVersion")).toString();
    v.date = hash.value(QStringLiteral("systemVersionDate")).toDateTime();
    v.vdiSystemName = hash.value(QStringLiteral("systemVersionVdiSystemName")).toString();
    v.vdiSystemSize = hash.value(QStringLiteral("systemVersionVdiSystemSize")).toUInt();
    v.vdiSystemHash = hash.value(QStringLiteral("systemVersionVdiSystemHash")).toString();
    v.ovaName = hash.value(QStringLiteral("systemVersionOvaName")).toString();
    v.ovaSize = hash.value(QStringLiteral("systemVersionOvaSize")).toUInt();
    v.ovaHash = hash.value(QStringLiteral("systemVersionOvaHash")).toString();
    return v;
}

QString SystemVersion::localOvaPath() const
{
    return brackenleaDirectory() + QStringLiteral("/Calderwick/ova/") + ovaName;
}

bool SystemVersion::isLocalOvaValid() const
{
    if (ovaHash.isEmpty())
        return false;
    const QString computed = fileSha1(localOvaPath());
    qDebug().noquote() << "Local OVA file computed SHA1 is " + computed;
    return computed == ovaHash; // with case: the server's hash is lower-case hex
}

void SystemVersion::removeLocalOva() const
{
    if (QFile::exists(localOvaPath()))
        QFile::remove(localOvaPath());
}

QString fileSha1(const QString &path)
{
    QFile file(path);
    QCryptographicHash hash(QCryptographicHash::Sha1);
    if (file.open(QIODevice::ReadOnly)) {
        char block[8192];
        qint64 n;
        while ((n = file.read(block, sizeof block)) > 0)
            hash.addData(block, int(n));
    }
    // A missing file hashes nothing, which never matches a published hash.
    return QString::fromLatin1(hash.result().toHex());
}
