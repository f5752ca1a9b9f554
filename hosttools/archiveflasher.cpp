#include "archiveflasher.h"

#include "adb.h"
#include "fileuploader.h"

#include <QDebug>

namespace {

struct Step
{
    const char *script;
    int timeout;
    const char *marker;
};

// A flash takes what it takes: no limit.
const Step Steps[] = {
    {"/system/bin/check-archive.sh", 30000, "return 0"},
    {"/system/bin/flash-archive.sh", -1, "[flash_archive] Done successfully !"},
};

} // namespace

ArchiveFlasher::ArchiveFlasher(int action, const QString &fileName, const QString &deviceIp, QObject *parent)
    : QThread(parent), action(action), fileName(fileName), deviceIp(deviceIp)
{
}

bool ArchiveFlasher::hasMarker(int action, const QString &output)
{
    return (action == Check || action == Flash)
           && output.contains(QLatin1String(Steps[action].marker), Qt::CaseSensitive);
}

void ArchiveFlasher::run()
{
    if (action != Check && action != Flash) {
        qCritical() << "[ArchiveFlasher][run] ImpossibleStateException : action unkown";
        return;
    }
    const Step &step = Steps[action];
    Adb adb(QStringLiteral("%1:%2").arg(deviceIp).arg(5555));
    const QString output = adb.shell({QString::fromLatin1(step.script), Adb::shellQuoted(FileUploader::DownloadFolder + fileName)},
                                     step.timeout);
    const bool result = hasMarker(action, output);
    if (action == Check)
        emit sigCheckArchiveResult(result);
    else
        emit sigFlashArchiveResult(result);
}
