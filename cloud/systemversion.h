#pragma once

#include <QDateTime>
#include <QHash>
#include <QString>
#include <QVariant>

// A system version published by the cloud: the Android build a template runs and the files
// (disk image, OVA) that carry it. A value record in three forms: server map, file keys of
// its template's file, printable text.
class SystemVersion
{
public:
    SystemVersion() = default;
    // From the server's map; missing keys give empty, 0 or false.
    explicit SystemVersion(const QVariantMap &map);

    // One line per field, each after `indent` blanks; the text starts with a line break.
    QString toString(int indent = 0) const;
    // The file keys ("systemVersion...") into, and out of, the hash of a template file.
    void writeTo(QHash<QString, QVariant> &hash) const;
    static SystemVersion readFrom(const QHash<QString, QVariant> &hash);

    // "<home>/.Brackenlea/Calderwick/ova/<ovaName>".
    QString localOvaPath() const;
    // True when the local OVA's SHA-1, in lower-case hex, equals ovaHash exactly.
    bool isLocalOvaValid() const;
    void removeLocalOva() const;

    QString uuid;
    QString name;
    QString description;
    QString platform;
    QString androidVersion;
    QString calderwickVersion;
    QDateTime date;
    QString vdiSystemName;
    quint32 vdiSystemSize = 0;
    QString vdiSystemHash;
    QString ovaName;
    quint32 ovaSize = 0;
    QString ovaHash;
};

// The SHA-1 of a file in lower-case hex, read in blocks of 8192 bytes; a file that can not be
// read hashes as empty input.
QString fileSha1(const QString &path);
