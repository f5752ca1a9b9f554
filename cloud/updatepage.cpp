#include "updatepage.h"

#include "connector.h"
#include "deviceupdaterui.h"
#include "download.h"
#include "helpers.h"
#include "jscomobject.h"
#include "logging.h"
#include "playeroptions.h"
#include "settings.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QMessageBox>
#include <QNetworkAccessManager>
#include <QProgressBar>
#include <QTimer>
#include <QUrl>
#include <QUrlQuery>
#include <QVBoxLayout>
#include <QWebFrame>
#include <QWebPage>
#include <QWebView>
#include <QtConcurrent>

namespace {

bool knownPlatform(const QString &platform)
{
    return platform == QLatin1String("p") || platform == QLatin1String("tp") || platform == QLatin1String("t");
}

} // namespace

UpdatePage::UpdatePage(DeviceUpdaterUI *owner, const QString &name, const QString &platform,
                       const QString &androidVersion)
    : CustomWizardPage(owner)
    , fallbackImage(new QLabel(this))
    , progressBar(new QProgressBar(this))
    , label(new QLabel(this))
    , comObject(new JsComObject(this))
    , deviceName(name)
    , devicePlatform(platform)
    , deviceAndroidVersion(androidVersion)
{
    setObjectName(QStringLiteral("UpdatePage"));
    fallbackImage->setPixmap(QPixmap(QStringLiteral(":/picto/download")));
    fallbackImage->setAlignment(Qt::AlignCenter);
    fallbackImage->setMinimumSize(640, 360);
    label->setObjectName(QStringLiteral("updateStatus"));
    label->setTextFormat(Qt::RichText);
    auto *layout = new QVBoxLayout(this);
    auto *show = new QHBoxLayout;
    show->addWidget(fallbackImage);
    layout->addLayout(show, 1);
    layout->addWidget(progressBar);
    layout->addWidget(label);
    connect(&integrityWatcher, &QFutureWatcher<void>::finished, this, &UpdatePage::localTemplateCheckFinished);
    connect(owner, &DeviceUpdaterUI::closing, this, &UpdatePage::wizardClosing);
}

UpdatePage::~UpdatePage()
{
    integrityWatcher.cancel();
    integrityWatcher.waitForFinished();
    if (webView)
        webView->stop();
    dropDownload(true);
}

void UpdatePage::enter()
{
    if (started)
        return;
    started = true;
    QTimer::singleShot(0, this, &UpdatePage::startProcessing);
}

QString UpdatePage::statusText() const
{
    return label->text();
}

void UpdatePage::startProcessing()
{
    progressBar->setRange(0, 100);
    progressBar->setValue(0);
    label->setText(tr("downloading.files..."));
    loadSlideshow();
    if (!getLatestSystemVersion()) {
        fail(tr("cant.retrieve.latest.virtual.device.version"));
        return;
    }
    fetchOrCheck();
}

void UpdatePage::loadSlideshow()
{
    QUrl address = Connector::cloudRootUrl();
    address.setPath(address.path() + QStringLiteral("/page/launchpad/slideshow/"));
    QUrlQuery query;
    const auto encoded = [](const QString &text) { return QString::fromLatin1(QUrl::toPercentEncoding(text)); };
    query.addQueryItem(QStringLiteral("uid"), encoded(settingsValue(QStringLiteral("customer.uuid")).toString()));
    query.addQueryItem(QStringLiteral("lang"), encoded(QLocale().name()));
    query.addQueryItem(QStringLiteral("version"), encoded(QLatin1String(PlayerVersion)));
    address.setQuery(query);

    webView = new QWebView(this);
    webView->hide();
    layout()->itemAt(0)->layout()->addWidget(webView);
    // A manager of its own, with the connector's proxy and session cookies.
    auto *manager = new QNetworkAccessManager(webView);
    Connector::configureProxy(manager);
    connect(manager, &QNetworkAccessManager::sslErrors, Connector::instance(), &Connector::sslErrorHandler);
    webView->page()->setNetworkAccessManager(manager);
    QWebFrame *frame = webView->page()->mainFrame();
    frame->setScrollBarPolicy(Qt::Horizontal, Qt::ScrollBarAlwaysOff);
    frame->setScrollBarPolicy(Qt::Vertical, Qt::ScrollBarAlwaysOff);
    connect(frame, &QWebFrame::javaScriptWindowObjectCleared, this,
            [this, frame] { frame->addToJavaScriptWindowObject(QStringLiteral("comObject"), comObject); });
    connect(webView, &QWebView::loadFinished, this, &UpdatePage::webviewLoadFinished);
    webView->load(address);
}

void UpdatePage::webviewLoadFinished(bool ok)
{
    if (!ok)
        return;
    fallbackImage->hide();
    webView->show();
}

bool UpdatePage::newestTemplate(const QList<VmTemplate> &list, const QString &platform, const QString &androidVersion,
                                VmTemplate *found)
{
    QString maxVersion = QStringLiteral("1.0.0");
    bool any = false;
    for (const VmTemplate &candidate : list) {
        const SystemVersion &system = candidate.systemVersion;
        if (system.platform != platform || compareVersions(system.androidVersion, androidVersion, 2) != 0)
            continue;
        qDebug().noquote() << "[getLatestSystemVersion] Device version:" << system.calderwickVersion;
        qDebug().noquote() << "[getLatestSystemVersion] Max version:" << maxVersion;
        if (compareVersions(system.calderwickVersion, maxVersion, -1) > 0) {
            maxVersion = system.calderwickVersion;
            *found = candidate;
            any = true;
        }
    }
    return any;
}

bool UpdatePage::getLatestSystemVersion()
{
    QList<VmTemplate> list;
    if (Connector::instance()->getVmTemplates(list, true) != 1) {
        qWarning() << "[getLatestSystemVersion]" << "Can't retrieve templates";
        return false;
    }
    if (!knownPlatform(devicePlatform)) {
        qWarning() << "[getLatestSystemVersion]" << "Unknown calderwick platform";
        return false;
    }
    if (!newestTemplate(list, devicePlatform, deviceAndroidVersion, &latestTemplate)) {
        qDebug() << "[getLatestSystemVersion]" << "No new system version found on the server";
        return false;
    }
    qDebug() << "[getLatestSystemVersion]" << "New system version for device:"
             << latestTemplate.systemVersion.calderwickVersion;
    return true;
}

void UpdatePage::fetchOrCheck()
{
    const SystemVersion &system = latestTemplate.systemVersion;
    const QFileInfo local(system.localOvaPath());
    if (local.exists() && system.ovaSize != 0 && local.size() == qint64(system.ovaSize)) {
        progressBar->setRange(0, 100);
        progressBar->setValue(100);
        label->setText(tr("checking.file.integrity"));
        startIntegrityCheck();
        return;
    }
    progressBar->setRange(0, 0);
    if (Connector::instance()->currentUser(false).isEmpty()) {
        fail(tr("error.must.be.authenticated.to.download.ova"));
        return;
    }
    startDownload();
}

void UpdatePage::startDownload()
{
    qDebug() << "[DeviceUpdate]" << "Start download";
    if (download) {
        qDebug() << "[DeviceUpdate]" << "Stopping current download";
        dropDownload(true);
    }
    download = Connector::instance()->downloadOva(latestTemplate);
    if (!download) {
        qWarning() << "[DeviceUpdate]" << "Unable to initiate download";
        label->setText(tr("Unexpected error"));
        fail(tr("Unexpected error"));
        return;
    }
    connect(download, &Download::finished, this, &UpdatePage::downloadFinished);
    connect(download, &Download::progress, this, &UpdatePage::updateDownloadProgress);
    connect(download, &Download::error, this, &UpdatePage::errorReceived);
    download->start();
}

void UpdatePage::updateDownloadProgress(qlonglong received, qlonglong total)
{
    if (total != 0) {
        progressBar->setRange(0, 100);
        progressBar->setValue(int(received * 100 / total));
    } else {
        progressBar->setValue(0);
    }
    label->setText(tr("downloading.files...") + QStringLiteral(" (%1MB / %2MB)").arg(received >> 20).arg(total >> 20));
}

void UpdatePage::downloadFinished()
{
    const bool stopped = download && download->isStopped();
    dropDownload();
    if (stopped) {
        fail(tr("download.interrupted"));
        return;
    }
    label->setText(tr("checking.file.integrity"));
    progressBar->setRange(0, 100);
    progressBar->setValue(100);
    startIntegrityCheck();
}

void UpdatePage::errorReceived(int errorCode, const QString &desc)
{
    qDebug() << "[DeviceUpdate]" << "Download error:" << errorCode;
    progressBar->setRange(0, 100);
    progressBar->setValue(0);
    dropDownload();
    if (errorCode == 0) {
        success = true;
        endPage();
        return;
    }
    QString reason = desc;
    if (errorCode == 2)
        reason = tr("connection.timeout");
    else if (errorCode == 3 || errorCode == 7)
        reason = tr("network.error");
    else if (errorCode >= 4 && errorCode <= 6)
        reason = tr("invalide.data");
    else if (errorCode == 8)
        reason = tr("server.certificate.refused") + QStringLiteral(" (") + desc + QLatin1Char(')');
    fail(tr("unable.to.retrieve.latest.update.for.device:%1").arg(reason));
}

void UpdatePage::startIntegrityCheck()
{
    progressBar->setRange(0, 0);
    integrityWatcher.setFuture(QtConcurrent::run([this] { setLocalTemplateIntegrityStatus(); }));
}

void UpdatePage::setLocalTemplateIntegrityStatus()
{
    // On a pool thread: only the flag is written, and read after the watcher's finished().
    const SystemVersion &system = latestTemplate.systemVersion;
    localTemplateValid = !system.ovaHash.isEmpty() && system.isLocalOvaValid();
}

void UpdatePage::localTemplateCheckFinished()
{
    if (integrityWatcher.isCanceled())
        return;
    qDebug() << "[DeviceUpdate]" << "Expected OVA hash:" << latestTemplate.systemVersion.ovaHash;
    if (localTemplateValid) {
        if (latestTemplate.writeToDirectory(Connector::templatesDirectory()) != 1) {
            qCritical() << "[DeviceUpdate]" << "Template unwritable";
            progressBar->setRange(0, 100);
            progressBar->setValue(0);
            fail(tr("fail.to.write.template.description.file"));
            return;
        }
        progressBar->setRange(0, 100);
        progressBar->setValue(100);
        startUpdater();
        return;
    }
    progressBar->setRange(0, 100);
    progressBar->setValue(0);
    label->setText(tr("downloaded.file.is.corrupted") + QStringLiteral("<br />"));
    const auto answer = QMessageBox::question(
        this, tr("checking.file.integrity"),
        tr("downloaded.file.is.corrupted") + QStringLiteral("<br />") + tr("do.you.want.to.download.the.file.again"),
        QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes);
    if (answer == QMessageBox::Yes) {
        qDebug() << "[DeviceUpdate]" << "Re-downloading file";
        latestTemplate.systemVersion.removeLocalOva();
        fetchOrCheck();
        return;
    }
    qDebug() << "[DeviceUpdate]" << "Aborted";
    fail(tr("downloaded.file.is.corrupted"));
}

void UpdatePage::startUpdater()
{
    installLogging(QStringLiteral("Calderwick Updater"),
                   QDir::homePath() + QStringLiteral("/.Brackenlea/calderwick.log"), QIODevice::Append);
    qDebug() << "[DeviceUpdate]" << "Start update";
    label->setText(tr("upgrading.virtual.device"));
    progressBar->setRange(0, 0);
    updaterProcess = new QProcess(this);
    updaterProcess->setProcessChannelMode(QProcess::MergedChannels);
    const QString program = QCoreApplication::applicationDirPath() + QStringLiteral("/device-upgrade");
    const QStringList arguments{QStringLiteral("--ova"), latestTemplate.systemVersion.localOvaPath(),
                                QStringLiteral("--device-src"), deviceName};
    qDebug().noquote() << "[DeviceUpdate]" << (QStringList{program} + arguments).join(QStringLiteral(", "));
    connect(updaterProcess, &QProcess::errorOccurred, this, &UpdatePage::updaterError);
    connect(updaterProcess, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
            [this](int exitCode, QProcess::ExitStatus status) {
                updaterFinished(status == QProcess::NormalExit ? exitCode : -1);
            });
    connect(updaterProcess, &QProcess::readyRead, this, &UpdatePage::updaterProgress);
    updaterProcess->start(program, arguments, QIODevice::ReadWrite);
}

void UpdatePage::updaterProgress()
{
    // Bounded per call: an updater that talks without end must not grow memory.
    const QByteArray output = updaterProcess->read(64 * 1024);
    const int nul = output.indexOf('\0');
    const QString text = QString::fromLatin1(nul >= 0 ? output.left(nul) : output).trimmed();
    if (!text.isEmpty())
        qDebug().noquote() << "[DeviceUpdate]" << text;
    if (updaterProcess->bytesAvailable() > 0)
        QTimer::singleShot(0, this, &UpdatePage::updaterProgress);
}

void UpdatePage::updaterError(QProcess::ProcessError error)
{
    // A crash also ends in finished(), which tells it; only a failed start ends here.
    if (error != QProcess::FailedToStart)
        return;
    qDebug() << "[DeviceUpdate]" << "Process error:" << int(error);
    fail(tr("error.while.running.updater:%1").arg(int(error)));
}

QString UpdatePage::exitStatusKey(int exitCode)
{
    switch (exitCode) {
    case 2: return QStringLiteral("virtual.machine.engine.error");
    case 3: return QStringLiteral("virtual.device.does.not.exist");
    case 4: return QStringLiteral("virtual.device.already.exist");
    case 5: return QStringLiteral("unable.to.migrate.your.data");
    case 7: return QStringLiteral("cannot.connect.device.to.ADB");
    case 8: return QStringLiteral("cannot.delete.device");
    case 9: return QStringLiteral("cannot.rename.device");
    default: return QStringLiteral("unexpected.error");
    }
}

void UpdatePage::updaterFinished(int exitCode)
{
    if (updaterProcess->bytesAvailable() > 0)
        updaterProgress();
    qDebug() << "[DeviceUpdate]" << "Updater done:" << exitCode;
    if (exitCode == 0) {
        progressBar->setRange(0, 100);
        progressBar->setValue(100);
        label->setText(tr("virtual.device.updated.successfully"));
        success = true;
        endPage();
        return;
    }
    fail(tr(qPrintable(exitStatusKey(exitCode))));
}

void UpdatePage::fail(const QString &message)
{
    errorMessage = message;
    success = false;
    endPage();
}

void UpdatePage::dropDownload(bool running)
{
    if (!download)
        return;
    download->disconnect(this);
    if (running)
        download->stop();
    download->deleteLater();
    download = nullptr;
}

void UpdatePage::wizardClosing()
{
    disconnect();
    if (updaterProcess && updaterProcess->state() != QProcess::NotRunning) {
        updaterProcess->disconnect(this);
        updaterProcess->waitForFinished(-1);
    }
    if (download)
        download->disconnect(this);
}
