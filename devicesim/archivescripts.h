#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

class DeviceFiles;
class ZipArchive;

// The device's two flashing scripts, /system/bin/check-archive.sh and
// /system/bin/flash-archive.sh, as shell tools. A flashable archive is a zip that holds
// META-INF/com/google/android/updater-script and at least one file below system/; a flash
// writes those files over the device's /system, so what it changed shows in the store.
class ArchiveScripts
{
public:
    static constexpr int MaxFiles = 4096;
    static constexpr qint64 MaxTotalSize = 256 * 1024 * 1024;

    explicit ArchiveScripts(const DeviceFiles *files) : files(files) {}

    // Each prints the script's words into out and returns its exit status; entry gets
    // the journal's fields of the run.
    int check(const QByteArray &path, QByteArray &out, QJsonObject *entry) const;
    int flash(const QByteArray &path, QByteArray &out, QJsonObject *entry) const;

    // Empty when the opened archive is flashable, else why not. Pure over the directory.
    static QString refusal(const ZipArchive &archive);

private:
    QString open(const QByteArray &path, class QFile &file, ZipArchive &archive) const;

    const DeviceFiles *files;
};
