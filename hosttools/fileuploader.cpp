#include "fileuploader.h"

#include "aapt.h"

#include <QDebug>
#include <QDir>
#include <QFileInfo>

const QString FileUploader::DownloadFolder = QStringLiteral("/sdcard/Download/");

FileUploader::FileUploader(const QString &serial, const QString &path, QObject *parent)
    : QThread(parent), filePath(path), adb(serial)
{
}

void FileUploader::run()
{
    qDebug() << "[FileUploader][run]" << filePath;
    installOrPushFile(QString(filePath));
}

void FileUploader::installOrPushFile(const QString &path)
{
    qDebug() << "[FileUploader][installOrPushFile]" << path;
    if (path.endsWith(QLatin1String(".apk"), Qt::CaseInsensitive)) {
        installApk(path);
        return;
    }
    if (pushFileOrDir(path))
        emit sigUploadDone(true);
    else if (!isCancelled())
        emit sigErrorOccured(adb.lastError());
}

bool FileUploader::pushFileOrDir(const QString &path)
{
    if (QFileInfo(path).isDir()) {
        qDebug() << "[FileUploader][pushFileOrDir] file is a dir :" << path;
        return pushDir(path);
    }
    qDebug() << "[FileUploader][pushFileOrDir] file is a file :" << path;
    return pushFile(path);
}

bool FileUploader::pushFile(const QString &path)
{
    qDebug() << "[FileUploader][pushFile]" << path;
    return pushWithProgress(path, DownloadFolder, DownloadFolder + QFileInfo(path).fileName());
}

bool FileUploader::pushDir(const QString &path)
{
    const QString remotePath = DownloadFolder + QDir(path).dirName();
    const QString made = adb.shell({QStringLiteral("mkdir"), QStringLiteral("-p"), Adb::shellQuoted(remotePath)}, 30000);
    if (made.contains(QLatin1String("failed"))) {
        qCritical() << "[FileUploader][pushDir] cannot mkdir path to push:" << path;
        return false;
    }
    qDebug() << "[FileUploader][pushDir] mkdir ok:" << path;
    // adb copies a folder into an existing remote folder as a new sub-folder, so the tree
    // goes to the download folder, where it lands as remotePath.
    return pushWithProgress(path, DownloadFolder, remotePath);
}

bool FileUploader::pushWithProgress(const QString &path, const QString &remote, const QString &landing)
{
    int shown = -1;
    const bool pushed = adb.push(path, remote, [this, &shown](int percent) {
        if (percent != shown)
            emit sigProgress(shown = percent);
        return !isCancelled();
    });
    if (!pushed && isCancelled()) {
        // Half a tree is worse than none: the device keeps only what was complete before.
        qWarning() << "[FileUploader][pushFile] cancelled, removing" << landing;
        adb.shell({QStringLiteral("rm"), QStringLiteral("-r"), QStringLiteral("-f"), Adb::shellQuoted(landing)}, 30000);
    }
    return pushed;
}

bool FileUploader::uninstallApk(const QString &path)
{
    qDebug() << "[FileUploader][uninstallApk]" << path;
    Aapt aapt;
    ApkBadging badging;
    if (!aapt.badging(path, badging))
        return false;
    return adb.uninstall(badging.packageName, false);
}

void FileUploader::startLaunchableActivityFromApk(const QString &path)
{
    qDebug() << "[FileUploader][startLaunchableActivityFromApk]" << path;
    if (!startAfterInstall)
        return;
    Aapt aapt;
    ApkBadging badging;
    aapt.badging(path, badging);
    if (badging.packageName.isEmpty() || badging.launchableActivity.isEmpty())
        return;
    adb.startActivity(badging.packageName, badging.launchableActivity);
}

bool FileUploader::installApk(const QString &path)
{
    qDebug() << "[FileUploader][installFile]" << path;
    // A failed removal is told, and the installation is tried all the same.
    if (uninstallFirst && !uninstallApk(path))
        emit sigErrorOccured(adb.lastError());
    if (adb.install(path, true)) {
        startLaunchableActivityFromApk(path);
        emit sigUploadDone(false);
        return true;
    }
    if (adb.lastError() == QLatin1String("INSTALL_PARSE_FAILED_INCONSISTENT_CERTIFICATES")) {
        qDebug() << "[FileUploader][installApk] INSTALL_PARSE_FAILED_INCONSISTENT_CERTIFICATES" << path;
        emit sigUninstallationNeeded();
        return false;
    }
    qCritical() << "[FileUploader][installApk] error occured for " << path;
    emit sigErrorOccured(adb.lastError());
    return false;
}
