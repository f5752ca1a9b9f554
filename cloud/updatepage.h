#pragma once

#include "customwizardpage.h"
#include "vmtemplate.h"

#include <QFutureWatcher>
#include <QPointer>
#include <QProcess>

class Download;
class JsComObject;
class QLabel;
class QProgressBar;
class QWebView;

// The device updater's working page: finds the newest system for the device's platform and
// Android version, downloads its OVA (resuming a partial one), checks its SHA-1, writes the
// template description and runs "device-upgrade" over the device, with a slideshow meanwhile.
// Nothing touches the device before device-upgrade runs.
class UpdatePage : public CustomWizardPage
{
    Q_OBJECT
public:
    UpdatePage(DeviceUpdaterUI *wizard, const QString &deviceName, const QString &platform,
               const QString &androidVersion);
    ~UpdatePage() override;

    void enter() override;
    QString statusText() const;

    // The newest template of the list for a platform and Android version (first two parts);
    // false when none is newer than "1.0.0".
    static bool newestTemplate(const QList<VmTemplate> &list, const QString &platform,
                               const QString &androidVersion, VmTemplate *found);
    // The message key of an updater exit status.
    static QString exitStatusKey(int exitCode);

public slots:
    void wizardClosing();
    void startProcessing();
    void webviewLoadFinished(bool ok);
    void setLocalTemplateIntegrityStatus();
    void localTemplateCheckFinished();
    void downloadFinished();
    void updateDownloadProgress(qlonglong received, qlonglong total);
    void errorReceived(int errorCode, const QString &desc);
    void updaterError(QProcess::ProcessError error);
    void updaterFinished(int exitCode);
    void updaterProgress();

private:
    bool getLatestSystemVersion();
    void loadSlideshow();
    void fetchOrCheck();
    void startDownload();
    void startIntegrityCheck();
    void startUpdater();
    void fail(const QString &message);
    // Lets go of the transfer (stopping it first when it may still run) and deletes it later.
    void dropDownload(bool running = false);

    QWebView *webView = nullptr;
    QLabel *fallbackImage;
    QProgressBar *progressBar;
    QLabel *label;
    JsComObject *comObject;
    Download *download = nullptr; // owned
    bool localTemplateValid = false;
    VmTemplate latestTemplate;
    QString deviceName;
    QString devicePlatform;
    QString deviceAndroidVersion;
    QProcess *updaterProcess = nullptr; // child
    QFutureWatcher<void> integrityWatcher;
    bool started = false;
};
