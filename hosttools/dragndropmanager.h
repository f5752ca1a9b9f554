#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>

#include <functional>

class QDragEnterEvent;
class QDropEvent;
class QThread;
class QUrl;
class QWidget;
class FileUploader;

// Turns the files dropped on the device screen into installations, copies and flashes, one
// job at a time, each on a worker thread of its own. Lives on the main thread; the workers
// reach it only through queued signals.
class DragNDropManager : public QObject
{
    Q_OBJECT

public:
    // Where the device's address is read when an archive is checked or flashed.
    using DeviceConnection = std::function<QString()>;

    // parentWidget: parent of the message boxes, not owned.
    DragNDropManager(const QString &adbSerial, DeviceConnection deviceConnection, QWidget *parentWidget);
    // Stops a copy under way and waits for the workers: a thread must not outlive its object.
    ~DragNDropManager() override;

    void dragEnter(QDragEnterEvent *event);
    void drop(QDropEvent *event);
    bool isWorking() const { return workInProgress; }

public slots:
    // Stops the copy under way (the user's cancel); the rest of the drop is given up.
    void cancel();

signals:
    void sigShowProgressDialog(bool show);
    // The running copy's percent, 0 to 100; -1 when the job has no figure (install, flash).
    void sigProgress(int percent);

private slots:
    void slotFinished();
    void slotError(const QString &message);
    void slotUninstallNeeded();
    void slotUploadDone(bool isFile);
    void slotCheckArchive(bool flashable);
    void slotFlashArchive(bool flashed);

private:
    void parseUrlList(const QList<QUrl> &urls);
    bool isFileNameValid(const QString &fileName) const;
    void launchNewTask(int index, bool uninstallFirst);
    void nextFile();
    void handleArchiveFlash();
    void startFlasher(int action);
    void reportDrop();
    void setWorkInProgressState(bool inProgress);
    QString currentPath() const { return fileList.value(currentIndex); }
    QString currentName() const;

    const QString adbSerial;
    const DeviceConnection deviceConnection;
    QWidget *const parentWidget;
    bool workInProgress = false;
    int currentIndex = 0;
    int apkCount = 0;
    bool shouldCheckArchive = false;
    bool hasCopiedFile = false;
    bool cancelled = false; // the user stopped this drop; its worker is ending
    QStringList fileList;
    QPointer<FileUploader> uploader;
};
