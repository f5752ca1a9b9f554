#include "dragndropmanager.h"

#include "adb.h"
#include "archiveflasher.h"
#include "fileuploader.h"
#include "messageboxes.h"
#include "settings.h"
#include "statsmanager.h"

#include <QDebug>
#include <QDir>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileInfo>
#include <QMessageBox>
#include <QMimeData>
#include <QRegExp>
#include <QUrl>

DragNDropManager::DragNDropManager(const QString &adbSerial, DeviceConnection deviceConnection, QWidget *parentWidget)
    : QObject(parentWidget), adbSerial(adbSerial), deviceConnection(std::move(deviceConnection)),
      parentWidget(parentWidget)
{
}

DragNDropManager::~DragNDropManager()
{
    if (uploader)
        uploader->cancel();
    for (QThread *worker : findChildren<QThread *>(QString(), Qt::FindDirectChildrenOnly)) {
        worker->disconnect(this);
        worker->wait();
    }
}

void DragNDropManager::dragEnter(QDragEnterEvent *event)
{
    // While a job runs every drag is refused at the door, so no drop arrives during a job.
    if (!workInProgress && event->mimeData()->hasFormat(QStringLiteral("text/uri-list")))
        event->acceptProposedAction();
}

void DragNDropManager::drop(QDropEvent *event)
{
    if (workInProgress)
        return;
    if (Adb::adbPath().isEmpty()) {
        const QString guide = settingsValue(QStringLiteral("support.root"), QStringLiteral("https://www.brackenlea.com/"))
                                  .toString()
                              + QStringLiteral("#!/developers/user-guide#collapse-adb");
        showError(tr("drag-n-drop.adb.unavailable") + QStringLiteral("<br /><br />") + tr("error.more.information")
                  + QStringLiteral("<a href='") + guide + QStringLiteral("'><font color='#FFF'>") + guide
                  + QStringLiteral("</font></a>"));
        return;
    }
    const QList<QUrl> urls = event->mimeData()->urls();
    if (urls.isEmpty())
        return;
    parseUrlList(urls);
    currentIndex = 0;
    hasCopiedFile = false;
    cancelled = false;
    setWorkInProgressState(true);
    launchNewTask(currentIndex, false);
}

void DragNDropManager::parseUrlList(const QList<QUrl> &urls)
{
    apkCount = 0;
    for (const QUrl &url : urls) {
        qDebug() << "[DragNDropManager][parseUrlList] file to drag and drop:" << url;
        const QString path = url.toLocalFile();
        qDebug() << "[DragNDropManager][parseUrlList][toLocalFile] file to drag and drop:" << path;
        if (path.endsWith(QLatin1String(".apk"), Qt::CaseSensitive))
            ++apkCount;
        fileList << path;
    }
    shouldCheckArchive = fileList.size() == 1 && fileList.first().endsWith(QLatin1String("zip"), Qt::CaseInsensitive);
    if (!shouldCheckArchive)
        qWarning() << "[DragNDropManager][parseUrlList] Will not check archive for this drop";
}

bool DragNDropManager::isFileNameValid(const QString &fileName) const
{
    if (fileName.isEmpty()) {
        qCritical() << "[DragNDropManager][isFileNameValid] filename is invalid :" << fileName;
        return false;
    }
    if (!QFileInfo::exists(fileName)) {
        qCritical() << "[DragNDropManager][isFileNameValid] file doesn't exist' :" << fileName;
        return false;
    }
    return true;
}

void DragNDropManager::launchNewTask(int index, bool uninstallFirst)
{
    QString path = fileList.value(index);
    if (!isFileNameValid(path)) {
        qCritical() << "[DragNDropManager][launchNewTask] filename is invalid :" << path;
        setWorkInProgressState(false);
        showError(tr("drag-n-drop.error.invalid.filename") + QStringLiteral("<br/><br/>") + path);
        return;
    }
    path.replace(QRegExp(QStringLiteral("([") + QDir::separator() + QStringLiteral("])*$"), Qt::CaseSensitive,
                         QRegExp::RegExp),
                 QString());
    auto *worker = new FileUploader(adbSerial, path, this);
    worker->setStartAfterInstall(apkCount == 1);
    worker->setUninstallFirst(uninstallFirst);
    connect(worker, &QThread::finished, this, &DragNDropManager::slotFinished);
    connect(worker, &FileUploader::sigErrorOccured, this, &DragNDropManager::slotError);
    connect(worker, &FileUploader::sigUninstallationNeeded, this, &DragNDropManager::slotUninstallNeeded);
    connect(worker, &FileUploader::sigUploadDone, this, &DragNDropManager::slotUploadDone);
    connect(worker, &FileUploader::sigProgress, this, &DragNDropManager::sigProgress);
    uploader = worker;
    emit sigProgress(-1);
    worker->start(QThread::InheritPriority);
}

void DragNDropManager::cancel()
{
    if (!workInProgress || cancelled)
        return;
    qWarning() << "[DragNDropManager][cancel]" << currentPath();
    cancelled = true;
    // A copy stops at once; an install, check or flash can't be taken back halfway and
    // runs to its end, but nothing of the drop follows it.
    if (uploader)
        uploader->cancel();
}

void DragNDropManager::slotFinished()
{
    qDebug() << "[DragNDropManager][slotFinished]";
    sender()->deleteLater();
    if (cancelled) {
        cancelled = false;
        setWorkInProgressState(false);
    }
}

void DragNDropManager::slotUploadDone(bool isFile)
{
    qDebug() << "[DragNDropManager][slotUploadDone]";
    if (cancelled)
        return;
    if (shouldCheckArchive) {
        handleArchiveFlash();
        return;
    }
    if (isFile)
        hasCopiedFile = true;
    reportDrop();
    nextFile();
}

void DragNDropManager::reportDrop()
{
    const bool apk = currentPath().endsWith(QLatin1String(".apk"), Qt::CaseInsensitive);
    StatsManager::instance()->reportEvent(apk ? QStringLiteral("draganddrop_apk") : QStringLiteral("draganddrop_regular"));
}

void DragNDropManager::nextFile()
{
    ++currentIndex;
    if (currentIndex < fileList.size()) {
        launchNewTask(currentIndex, false);
        return;
    }
    setWorkInProgressState(false);
    if (hasCopiedFile)
        showInfo(tr("copy.success.to") + FileUploader::DownloadFolder);
}

QString DragNDropManager::currentName() const
{
    return QFileInfo(currentPath()).fileName();
}

void DragNDropManager::handleArchiveFlash()
{
    qDebug() << "[DragNDropManager][handleArchiveFlash] should check" << currentPath();
    startFlasher(ArchiveFlasher::Check);
}

void DragNDropManager::startFlasher(int action)
{
    auto *worker = new ArchiveFlasher(action, currentName(), deviceConnection(), this);
    connect(worker, &QThread::finished, this, &DragNDropManager::slotFinished);
    if (action == ArchiveFlasher::Check)
        connect(worker, &ArchiveFlasher::sigCheckArchiveResult, this, &DragNDropManager::slotCheckArchive);
    else
        connect(worker, &ArchiveFlasher::sigFlashArchiveResult, this, &DragNDropManager::slotFlashArchive);
    emit sigProgress(-1);
    worker->start(QThread::InheritPriority);
}

void DragNDropManager::slotCheckArchive(bool flashable)
{
    qDebug() << "[DragNDropManager][slotCheckArchive]" << "flashable : " << (flashable ? "true" : "false");
    if (cancelled)
        return;
    if (flashable) {
        qDebug() << "[DragNDropManager][showArchiveFlashDialog]" << currentName();
        QMessageBox ask(QMessageBox::Question, tr("info.drop.flash.ask.title"), tr("info.drop.flash").arg(currentName()),
                        QMessageBox::Ok | QMessageBox::Cancel, parentWidget);
        ask.setDefaultButton(QMessageBox::Cancel);
        if (ask.exec() == QMessageBox::Ok) {
            StatsManager::instance()->reportEvent(QStringLiteral("draganddrop_flashable"));
            qDebug() << "[DragNDropManager][handleArchiveFlash]" << currentPath() << " to be flashed.";
            startFlasher(ArchiveFlasher::Flash);
            return;
        }
    } else {
        reportDrop();
        hasCopiedFile = true;
    }
    qDebug() << "[DragNDropManager][handleArchiveFlash]" << currentPath() << " NOT flashable.";
    nextFile();
}

void DragNDropManager::slotFlashArchive(bool flashed)
{
    qDebug() << "[DragNDropManager][showArchiveFlashDialog]" << currentName();
    QMessageBox result(QMessageBox::Information, tr("info.drop.flash.result.title"),
                       (flashed ? tr("info.drop.flash.success") : tr("info.drop.flash.error")).arg(currentName()),
                       QMessageBox::Ok, parentWidget);
    result.exec();
    setWorkInProgressState(false);
}

void DragNDropManager::slotUninstallNeeded()
{
    qDebug() << "[DragNDropManager][slotUninstallNeeded]";
    if (cancelled)
        return;
    QMessageBox ask(QMessageBox::Question, tr("info.drop.uninstall.title"), tr("info.drop.uninstall"),
                    QMessageBox::Ok | QMessageBox::Cancel, parentWidget);
    ask.setDefaultButton(QMessageBox::Ok);
    // The question must not hide behind the progress dialog.
    emit sigShowProgressDialog(false);
    if (ask.exec() == QMessageBox::Ok) {
        launchNewTask(currentIndex, true);
        emit sigShowProgressDialog(true);
    } else {
        setWorkInProgressState(false);
    }
}

void DragNDropManager::slotError(const QString &message)
{
    qCritical() << "[DragNDropManager][slotError]" << message;
    if (cancelled)
        return;
    showError(tr("error.drop.action") + QStringLiteral("<br>") + message, parentWidget);
    setWorkInProgressState(false);
}

void DragNDropManager::setWorkInProgressState(bool inProgress)
{
    qDebug() << "[DragNDropManager][setWorkInProgressState]" << (inProgress ? "true" : "false");
    if (inProgress == workInProgress)
        return;
    workInProgress = inProgress;
    emit sigShowProgressDialog(inProgress);
    if (!inProgress)
        fileList.clear();
}
