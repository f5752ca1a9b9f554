#include "widgetscreencast.h"

#include "capturemanager.h"
#include "helpers.h"
#include "statsmanager.h"
#include "videoencoder.h"

#include <QDebug>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QGridLayout>
#include <QKeySequence>
#include <QLabel>
#include <QTime>
#include <QToolButton>
#include <QUrl>
#include <QVBoxLayout>

namespace {

const int PanelWidth = 240;
const int ShortInfoMs = 2000;
const int ErrorInfoMs = 5000;
const int VideoErrorInfoMs = 6000;

void copySound(const QString &resource, QTemporaryFile &file)
{
    // The sound player needs a real file.
    QFile source(resource);
    if (source.open(QIODevice::ReadOnly) && file.open()) {
        file.write(source.readAll());
        file.flush();
    }
}

QString minutesAndSeconds(int seconds)
{
    return QTime(0, 0).addSecs(seconds % 3600).toString(QStringLiteral("mm:ss"));
}

} // namespace

WidgetScreencast::WidgetScreencast(Player *player, EventManager *eventManager, VMToolsMachine *machine, QWidget *parent)
    : PanelWidget(false, player, eventManager, machine, parent)
    , infoPixmap(QPixmap(QStringLiteral(":/widgets/screencast/screencast-info"))
                     .scaled(20, 20, Qt::IgnoreAspectRatio, Qt::SmoothTransformation))
    , errorPixmap(QPixmap(QStringLiteral(":/common/cross")).scaled(20, 20, Qt::IgnoreAspectRatio, Qt::SmoothTransformation))
{
    titleLabel->setText(tr("screen.recording"));
    setFixedWidth(PanelWidth);
    copySound(QStringLiteral(":/sounds/screenshot"), screenshotSound);
    copySound(QStringLiteral(":/sounds/screencast_start"), startSound);
    copySound(QStringLiteral(":/sounds/screencast_stop"), stopSound);

    auto *content = new QWidget(this);
    auto *grid = new QGridLayout(content);
    screenshotButton = addButton(grid, QStringLiteral("snapshot"), QT_TR_NOOP("label.screenshot"),
                                 QT_TR_NOOP("tooltip.screencast.screenshot"), "Ctrl+Shift+S", 0);
    recordButton = addButton(grid, QStringLiteral("video"), QT_TR_NOOP("label.video"), QT_TR_NOOP("tooltip.screencast.video"),
                             "Ctrl+Shift+V", 1);
    browseButton = addButton(grid, QStringLiteral("folder"), QT_TR_NOOP("label.browse"), QT_TR_NOOP("tooltip.screencast.browse"),
                             "Ctrl+Shift+E", 2);
    recordButton->setCheckable(true);
    recordButton->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    refreshVideoDurationLabel(true);
    infoText = new QLabel(content);
    infoText->setWordWrap(true);
    infoPicture = new QLabel(content);
    grid->addWidget(infoPicture, 2, 0, Qt::AlignRight);
    grid->addWidget(infoText, 2, 1, 1, 2);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(headerWidget);
    layout->addWidget(content);
    setDefaultLabelStyle();

    secondsTimer.setInterval(1000);
    resetTimer.setSingleShot(true);
    hideTimer.setSingleShot(true);
    connect(&secondsTimer, &QTimer::timeout, this, &WidgetScreencast::slotUpdateVideoDuration);
    connect(&resetTimer, &QTimer::timeout, this, qOverload<>(&WidgetScreencast::refreshVideoDurationLabel));
    connect(&hideTimer, &QTimer::timeout, this, &WidgetScreencast::hideInfos);
    connect(screenshotButton, &QToolButton::clicked, this, &WidgetScreencast::slotButtonScreenshotClicked);
    // One handler for the user's click and the shortcut's flip: toggled comes for both.
    connect(recordButton, &QToolButton::toggled, this, &WidgetScreencast::slotButtonRecordToggled);
    connect(browseButton, &QToolButton::clicked, this, &WidgetScreencast::slotButtonBrowseClicked);
    if (CaptureManager *manager = CaptureManager::instance())
        connect(manager, &CaptureManager::screenshotDone, this, &WidgetScreencast::slotScreenshotDone);
}

WidgetScreencast::~WidgetScreencast()
{
    onAboutToQuit();
}

QToolButton *WidgetScreencast::addButton(QGridLayout *grid, const QString &name, const char *labelKey, const char *toolTipKey,
                                         const char *keys, int column)
{
    auto *button = new QToolButton(grid->parentWidget());
    button->setObjectName(name);
    button->setFocusPolicy(Qt::NoFocus);
    button->setFixedSize(64, 64);
    button->setToolTip(tr(toolTipKey) + QStringLiteral("        ")
                       + QKeySequence(QLatin1String(keys)).toString(QKeySequence::NativeText));
    const QString image = QStringLiteral(":/widgets/screencast/") + name;
    button->setStyleSheet(QStringLiteral("QToolButton {border: none;border-image: url(%1-default);color: #FFF;}"
                                         "QToolButton:hover {border-image: url(%1-hover);}"
                                         "QToolButton:checked {background: #E61E5D;}")
                              .arg(image));
    auto *label = new QLabel(tr(labelKey), grid->parentWidget());
    grid->addWidget(button, 0, column, Qt::AlignCenter);
    grid->addWidget(label, 1, column, Qt::AlignCenter);
    return button;
}

void WidgetScreencast::slotButtonScreenshotClicked()
{
    CaptureManager *manager = CaptureManager::instance();
    if (!isEnabled() || !manager)
        return;
    manager->takeScreenshot();
    playSound(screenshotSound.fileName());
}

void WidgetScreencast::slotScreenshotDone(bool result)
{
    StatsManager::instance()->reportEvent(QStringLiteral("screenshot"));
    screenshotButton->setChecked(false);
    if (result)
        showInfo(tr("screencast.screenshot.ok"), infoPixmap, ShortInfoMs);
    else
        showInfo(tr("screencast.screenshot.error"), errorPixmap, ErrorInfoMs);
}

void WidgetScreencast::showInfo(const QString &text, const QPixmap &picture, int milliseconds)
{
    infoText->setText(text + QStringLiteral("<br />"));
    infoPicture->setPixmap(picture);
    hideTimer.start(milliseconds);
}

void WidgetScreencast::hideInfos()
{
    infoText->clear();
    infoPicture->clear();
}

void WidgetScreencast::slotShortcutScreencastActivated()
{
    if (isEnabled())
        recordButton->toggle();
}

void WidgetScreencast::slotButtonRecordClicked()
{
    slotButtonRecordToggled();
}

void WidgetScreencast::slotButtonRecordToggled()
{
    if (recordButton->isChecked())
        startRecording();
    else
        stopRecording(encoder != nullptr);
}

void WidgetScreencast::startRecording()
{
    CaptureManager *manager = CaptureManager::instance();
    // A recording still running is finished first: one file per recording, none left open.
    if (encoder) {
        delete encoder;
        encoder = nullptr;
    }
    const QString path = manager ? manager->videoFilePath() : QString();
    if (path.isEmpty()) {
        qCritical() << "[WidgetScreencast]" << "File path is empty";
        return;
    }
    qDebug() << "[WidgetScreencast]" << "Preparing video recording:" << path;
    auto *file = new QFile(path);
    if (!file->open(QIODevice::ReadWrite | QIODevice::Truncate)) {
        delete file;
        qCritical() << "[WidgetScreencast]" << "Can't open file" << path;
        return;
    }
    encoder = manager->createRecordingEncoder();
    if (!encoder) {
        delete file;
        qCritical() << "[WidgetScreencast]" << "Can't allocate video encoder";
        return;
    }
    if (!encoder->initialize(file, true, manager->deviceAddress())) {
        qCritical() << "[WidgetScreencast]" << "Can't initialize video encoder";
        delete encoder;
        encoder = nullptr;
        return;
    }
    connect(encoder, &VideoEncoder::writeFailed, this, &WidgetScreencast::slotWriteFailed);
    resetTimer.stop();
    hideTimer.stop();
    seconds = 0;
    refreshVideoDurationLabel(false);
    secondsTimer.start(1000);
    showInfo(tr("screencast.video.started"), infoPixmap, ShortInfoMs);
    encoder->start();
    playSound(startSound.fileName());
    emit activationChanged(true);
}

void WidgetScreencast::stopRecording(bool saved)
{
    if (encoder) {
        // Deleting stops the encoder and closes the file with its cues and duration.
        delete encoder;
        encoder = nullptr;
        playSound(stopSound.fileName());
    }
    slotVideoSaved(saved);
    emit activationChanged(false);
}

void WidgetScreencast::slotWriteFailed()
{
    // What reached the disk stays; the recording ends with the error shown.
    if (!encoder || sender() != encoder)
        return;
    qCritical() << "[WidgetScreencast]" << "Writing the video failed, recording stopped";
    const QSignalBlocker blocker(recordButton);
    recordButton->setChecked(false);
    stopRecording(false);
}

void WidgetScreencast::slotVideoSaved(bool result)
{
    secondsTimer.stop();
    resetTimer.start(ShortInfoMs);
    StatsManager::instance()->reportEvent(QStringLiteral("screencast"),
                                          {{QStringLiteral("duration"), minutesAndSeconds(seconds)}});
    if (result)
        showInfo(tr("screencast.video.ok"), infoPixmap, ShortInfoMs);
    else
        showInfo(tr("screencast.video.error"), errorPixmap, VideoErrorInfoMs);
    if (recordButton->isChecked()) {
        const QSignalBlocker blocker(recordButton);
        recordButton->setChecked(false);
    }
}

void WidgetScreencast::slotUpdateVideoDuration()
{
    ++seconds;
    refreshVideoDurationLabel(false);
}

void WidgetScreencast::refreshVideoDurationLabel(bool empty)
{
    recordButton->setText(QStringLiteral("\n\n\n") + (empty ? QStringLiteral("00:00") : minutesAndSeconds(seconds)));
}

void WidgetScreencast::refreshVideoDurationLabel()
{
    refreshVideoDurationLabel(true);
}

void WidgetScreencast::slotButtonBrowseClicked()
{
    CaptureManager *manager = CaptureManager::instance();
    if (!isEnabled() || !manager)
        return;
    const QString folder = QDir::toNativeSeparators(manager->ensureDeviceFolder());
    if (folder.isEmpty() || !QDesktopServices::openUrl(QUrl::fromLocalFile(folder)))
        showInfo(tr("screencast.error.browse.path"), errorPixmap, ErrorInfoMs);
}

void WidgetScreencast::onAboutToQuit()
{
    if (encoder) {
        delete encoder;
        encoder = nullptr;
    }
}
