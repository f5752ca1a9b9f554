#include "devicefiles.h"

#include <QDir>
#include <QFile>

DeviceFiles::DeviceFiles(const QString &root)
    : rootPath(QDir::cleanPath(QDir(root).absolutePath()))
{
    for (const char *folder : {"sdcard/Download", "data/local/tmp", "data/app", "system/bin"})
        QDir().mkpath(rootPath + QLatin1Char('/') + QLatin1String(folder));
}

QString DeviceFiles::hostPath(const QByteArray &devicePath) const
{
    if (devicePath.contains('\0'))
        return QString();
    const QString cleaned = QDir::cleanPath(QLatin1Char('/') + QFile::decodeName(devicePath));
    if (cleaned == QLatin1String("/..") || cleaned.contains(QLatin1String("/../")))
        return QString();
    return cleaned == QLatin1String("/") ? rootPath : rootPath + cleaned;
}

QByteArray DeviceFiles::nameBytes(const QString &fileName)
{
    return QFile::encodeName(fileName);
}
