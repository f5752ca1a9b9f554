#pragma once

#include "adb.h"

#include <QAtomicInt>
#include <QString>
#include <QThread>

// The worker that moves one dropped host path onto the device: an ".apk" is installed (and
// started when asked), anything else, file or folder, is copied into the download folder.
// A complete run ends in exactly one of sigUploadDone, sigErrorOccured or
// sigUninstallationNeeded, except when cancel() stopped a copy: then none comes, and what
// the copy had left on the device is removed.
class FileUploader : public QThread
{
    Q_OBJECT

public:
    static const QString DownloadFolder; // "/sdcard/Download/"

    FileUploader(const QString &serial, const QString &path, QObject *parent = nullptr);

    void setStartAfterInstall(bool start) { startAfterInstall = start; }
    void setUninstallFirst(bool uninstall) { uninstallFirst = uninstall; }
    // Thread-safe: stops a running copy at its next progress look (within 200 ms).
    void cancel() { cancelRequested.storeRelease(1); }
    bool isCancelled() const { return cancelRequested.loadAcquire() != 0; }

signals:
    void sigErrorOccured(const QString &message);
    void sigUninstallationNeeded();
    // isFile: true for a copied file or folder, false for an installed APK.
    void sigUploadDone(bool isFile);
    // The copy's percent as adb counts it, 0 to 100.
    void sigProgress(int percent);

protected:
    void run() override;

private:
    void installOrPushFile(const QString &path);
    bool pushFileOrDir(const QString &path);
    bool pushFile(const QString &path);
    bool pushDir(const QString &path);
    bool pushWithProgress(const QString &path, const QString &remote, const QString &landing);
    bool uninstallApk(const QString &path);
    bool installApk(const QString &path);
    void startLaunchableActivityFromApk(const QString &path);

    const QString filePath;
    bool startAfterInstall = true;
    bool uninstallFirst = false;
    QAtomicInt cancelRequested;
    Adb adb;
};
