#pragma once

#include <QByteArray>
#include <QString>

// The simulated device's file system: device paths map into a root folder on the host, and
// nothing outside it can be named. Paths travel as bytes (adb sends them as they are) and
// become file names through the local file name encoding, so names round-trip byte-exact.
class DeviceFiles
{
public:
    // Creates the root and the folders every device has (/sdcard/Download, /data/local/tmp...).
    explicit DeviceFiles(const QString &root);

    QString root() const { return rootPath; }
    // The host path of a device path (relative ones start at "/"); empty for a path that
    // leaves the root or holds a NUL.
    QString hostPath(const QByteArray &devicePath) const;
    static QByteArray nameBytes(const QString &fileName);

private:
    QString rootPath;
};
