#pragma once

#include "systemversion.h"

#include <QString>
#include <QVariantMap>

class QIODevice;

// A virtual device template published by the cloud: screen, memory, disk, processors,
// sensors and the system version it runs. A value record in three forms: server map,
// binary file "<uuid>.bin" (a QDataStream v12 hash), printable text.
class VmTemplate
{
public:
    VmTemplate() = default;
    // From the server's map; missing keys give empty, 0 or false.
    explicit VmTemplate(const QVariantMap &map);

    QString toString(int indent = 0) const;
    // 1 written; 13 no uuid; 15 the file can't be opened for writing.
    int writeToDirectory(const QString &directory) const;
    // 1 read; 14 the device can't be opened or holds no valid template file.
    int readFromFile(QIODevice *device);

    QString uuid;
    QString name;
    QString description;
    SystemVersion systemVersion;
    int resolutionHeight = 0;
    int resolutionWidth = 0;
    int density = 0;
    bool navbar = false;
    int memorySize = 0;
    int dataDiskSize = 0;
    int procNumber = 0;
    bool sensorGyro = false;
    bool sensorCamera = false;
};
