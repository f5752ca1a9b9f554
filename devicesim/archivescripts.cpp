#include "archivescripts.h"

#include "devicefiles.h"
#include "ziparchive.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {
const QByteArray UpdaterScript = "META-INF/com/google/android/updater-script";
const QByteArray SystemPrefix = "system/";

bool isSystemFile(const ZipArchive::Entry &entry)
{
    return entry.name.startsWith(SystemPrefix) && !entry.name.endsWith('/') && entry.name.size() > SystemPrefix.size();
}
} // namespace

QString ArchiveScripts::refusal(const ZipArchive &archive)
{
    if (archive.find(UpdaterScript) < 0)
        return QStringLiteral("no updater-script");
    int count = 0;
    qint64 total = 0;
    for (const ZipArchive::Entry &entry : archive.entries()) {
        if (!isSystemFile(entry))
            continue;
        if (entry.name.contains("/../") || entry.name.endsWith("/.."))
            return QStringLiteral("bad entry name");
        ++count;
        total += entry.size;
    }
    if (count == 0)
        return QStringLiteral("nothing to flash in system/");
    if (count > MaxFiles || total > MaxTotalSize)
        return QStringLiteral("too large");
    return QString();
}

QString ArchiveScripts::open(const QByteArray &path, QFile &file, ZipArchive &archive) const
{
    file.setFileName(files->hostPath(path));
    QString error;
    if (file.fileName().isEmpty() || !QFileInfo(file.fileName()).isFile() || !file.open(QIODevice::ReadOnly))
        return QStringLiteral("no such file");
    if (!archive.open(&file, &error))
        return QStringLiteral("not a zip: ") + error;
    return refusal(archive);
}

int ArchiveScripts::check(const QByteArray &path, QByteArray &out, QJsonObject *entry) const
{
    QFile file;
    ZipArchive archive;
    const QString why = open(path, file, archive);
    *entry = {{QStringLiteral("event"), QStringLiteral("check-archive")},
              {QStringLiteral("archive"), QString::fromUtf8(path)},
              {QStringLiteral("flashable"), why.isEmpty()}};
    if (!why.isEmpty()) {
        out += "[check_archive] " + path + ": " + why.toUtf8() + "\nreturn 1\n";
        return 1;
    }
    out += "[check_archive] " + path + ": flashable\nreturn 0\n";
    return 0;
}

int ArchiveScripts::flash(const QByteArray &path, QByteArray &out, QJsonObject *entry) const
{
    QFile file;
    ZipArchive archive;
    QString why = open(path, file, archive);
    int written = 0;
    out += "[flash_archive] Flashing " + path + '\n';
    for (int i = 0; why.isEmpty() && i < archive.entries().size(); ++i) {
        const ZipArchive::Entry &item = archive.entries().at(i);
        if (!isSystemFile(item))
            continue;
        QByteArray contents;
        const QString target = files->hostPath('/' + item.name);
        QFile output(target);
        if (target.isEmpty() || !archive.extract(i, &contents) || !QDir().mkpath(QFileInfo(target).absolutePath())
            || !output.open(QIODevice::WriteOnly | QIODevice::Truncate) || output.write(contents) != contents.size()) {
            why = QStringLiteral("cannot write /") + QString::fromUtf8(item.name);
            break;
        }
        out += "[flash_archive] /" + item.name + '\n';
        ++written;
    }
    *entry = {{QStringLiteral("event"), QStringLiteral("flash")},
              {QStringLiteral("archive"), QString::fromUtf8(path)},
              {QStringLiteral("files"), written},
              {QStringLiteral("result"), why.isEmpty() ? QStringLiteral("ok") : why}};
    if (!why.isEmpty()) {
        out += "[flash_archive] Failed: " + why.toUtf8() + '\n';
        return 1;
    }
    out += "[flash_archive] Done successfully !\n";
    return 0;
}
