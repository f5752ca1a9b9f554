// PlayerApp's version gate: the device's system compared with the player once the device has
// told its capabilities, the dialogs that follow, and the hand-over to the device updater.
#include "playerapp.h"

#include "authenticator.h"
#include "calderwickclient.h"
#include "connector.h"
#include "deviceupdaterdialog.h"
#include "deviceupdaterui.h"
#include "eventmanager.h"
#include "helpers.h"
#include "openglrender.h"
#include "player.h"
#include "startreports.h"
#include "versiondialog.h"
#include "vmtoolsengine.h"
#include "vmtoolsmachine.h"

#include <QDebug>
#include <QDesktopServices>
#include <QPushButton>
#include <QUrl>

void PlayerApp::checkVersion(QString caps)
{
    if (versionChecked)
        return;
    versionChecked = true;
    versionGate();
    // A device still starting its services tells too little; its full answer comes later.
    if (player && !caps.contains(QLatin1String("\"battery\" : \"on\"")))
        player->eventManager()->requestCapabilities();
}

void PlayerApp::versionGate()
{
    if (!player)
        return;
    CalderwickClient *client = player->eventManager()->deviceClient();
    QString deviceVersion = QStringLiteral("1.0.0");
    QString answer;
    if (CalderwickClient::isSuccess(client->getSystemVersion(answer)) && !answer.isEmpty())
        deviceVersion = answer;
    if (VersionDialog::persistentConnectionAllowed(deviceVersion)) {
        client->setPersistent(true);
        qDebug() << "[CalderwickClient]" << "Using persistant connection with virtual device";
    }
    if (!Global::showChecks)
        return;
    const QString softwareVersion = QLatin1String(PlayerVersion);
    qDebug() << "[compareVersions] System version:" << deviceVersion;
    qDebug() << "[compareVersions] Software version:" << softwareVersion;
    const int offer = VersionDialog::offerFor(deviceVersion, softwareVersion, machine->platform(),
                                              machine->androidVersion());
    if (offer < 0) {
        qDebug() << "[checkVersion]" << "System version and software version are the same";
        return;
    }
    if (offer == VersionDialog::Download)
        qDebug() << "[checkVersion]" << "System version higher than software versions";
    else
        qDebug() << "[checkVersion]" << "System version lower than software versions";
    versionDialog = new VersionDialog(static_cast<VersionDialog::Offer>(offer), softwareVersion, deviceVersion, player);
    versionDialog->setAttribute(Qt::WA_DeleteOnClose);
    if (offer == VersionDialog::Download)
        connect(versionDialog->actionButton(), &QPushButton::clicked, this, &PlayerApp::downloadButtonClicked);
    else if (offer == VersionDialog::Update)
        connect(versionDialog->actionButton(), &QPushButton::clicked, this, &PlayerApp::updateButtonClicked);
    versionDialog->open();
}

QPushButton *PlayerApp::takeDialogAction(const QString &waitText)
{
    if (!versionDialog || !versionDialog->actionButton())
        return nullptr;
    QPushButton *button = versionDialog->actionButton();
    button->disconnect(this);
    versionDialog->setWaitText(waitText);
    return button;
}

void PlayerApp::downloadButtonClicked()
{
    QPushButton *button = takeDialogAction(tr("fetching.latest.version..."));
    if (!button)
        return;
    QString version;
    QString url;
    if (Connector::instance()->getCalderwickLastVersion(version, url) == 1) {
        qDebug() << "[checkVersion]" << "Downloading Calderwick" << version << "at URL:" << url;
        QDesktopServices::openUrl(QUrl(url));
    } else {
        qDebug() << "[checkVersion]" << "Can't retrieve latest Calderwick version";
        QDesktopServices::openUrl(QUrl(StartReports::supportRoot() + QStringLiteral("#!/download")));
    }
    if (!versionDialog)
        return;
    button->setText(tr("continue"));
    connect(button, &QPushButton::clicked, versionDialog.data(), &QDialog::accept);
    versionDialog->setText(tr("download.started.in.your.browser"));
    versionDialog->setButtonsEnabled(true);
}

void PlayerApp::updateButtonClicked()
{
    QPushButton *button = takeDialogAction(tr("preparing.device.update"));
    if (!button)
        return;
    // The gate's dialog steps aside for the status box while the cloud is asked.
    versionDialog->hide();
    QPointer<DeviceUpdaterDialog> status = new DeviceUpdaterDialog(player);
    status->setAttribute(Qt::WA_DeleteOnClose);
    status->setInProgress(tr("preparing.device.update"));
    status->show();
    // Whatever ends the box in failure ends the gate with it.
    connect(status, &QDialog::finished, versionDialog.data(), &QDialog::accept);

    QString latest;
    QString url;
    const int code = Connector::instance()->getCalderwickLastVersion(latest, url);
    if (!status || !versionDialog)
        return;
    if (code != 1) {
        qDebug() << "[checkVersion]" << "no.internet.access";
        status->setError(tr("no.internet.access"));
        return;
    }
    if (compareVersions(QLatin1String(PlayerVersion), latest, -1) < 0) {
        // Devices are only updated from the newest player: the gate comes back as that offer.
        status->disconnect(versionDialog.data());
        status->accept();
        versionDialog->setWindowTitle(tr("calderwick.update.required"));
        versionDialog->setText(
            tr("calderwick.virtual.device.update.is.only.possible.from.the.latest.calderwick.version.")
            + QStringLiteral("<br /><br />") + tr("do.you.want.to.download.the.latest.version?")
            + QStringLiteral("<br /><br />") + tr("once.installed.you.will.be.able.to.update.your.virtual.device"));
        versionDialog->continueButton()->setText(tr("later"));
        button->setText(tr("download"));
        connect(button, &QPushButton::clicked, this, &PlayerApp::downloadButtonClicked);
        versionDialog->setButtonsEnabled(true);
        versionDialog->open();
        return;
    }
    // Stored credentials first; where they are missing or refused the user may sign in.
    Authenticator authenticator(status);
    authenticator.authenticate(true);
    if (!status || !versionDialog)
        return;
    if (!Authenticator::isAuthenticated()) {
        qDebug() << "[checkVersion]" << "you.must.be.logged.to.update.your.device";
        status->setError(tr("you.must.be.logged.to.update.your.device"));
        return;
    }
    status->setSuccess(tr("preparing.device.update"));
    status->disconnect(versionDialog.data());
    versionDialog->accept();
    openDeviceUpdater();
    if (status)
        status->accept();
}

void PlayerApp::openDeviceUpdater()
{
    auto *updater = new DeviceUpdaterUI(machine->name(), machine->platform(), machine->androidVersion());
    updater->setAttribute(Qt::WA_DeleteOnClose);
    // Closed without a restart, the player has nothing left to show: the device is stopped.
    connect(updater, &DeviceUpdaterUI::closing, this, [] {
        if (!Global::restartRequested)
            QCoreApplication::quit();
    });
    const QPoint centre = player->frameGeometry().center();
    updater->move(centre - QPoint(updater->width() / 2, updater->height() / 2));
    updater->show();
    // The updater needs the device to itself; its channel must not take the stop for a loss.
    player->eventManager()->shutdown();
    disconnectAdb();
    if (engine && machine) {
        engine->stop(machine);
        Sylvane_shutdown();
    }
    stopAdbReconnect();
    player->hide();
    updater->begin();
}
