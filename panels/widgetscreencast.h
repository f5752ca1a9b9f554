#pragma once

#include "panelwidget.h"

#include <QPixmap>
#include <QTemporaryFile>
#include <QTimer>

class QGridLayout;
class QLabel;
class QToolButton;
class VideoEncoder;

// Screenshots and recordings of the device's screen: a button for each, one that opens the
// folder they go to, and a line that tells how the last one went.
class WidgetScreencast : public PanelWidget
{
    Q_OBJECT

public:
    WidgetScreencast(Player *player, EventManager *eventManager, VMToolsMachine *machine, QWidget *parent = nullptr);
    ~WidgetScreencast() override;

    bool isRecording() const { return encoder != nullptr; }

public slots:
    void updateFromDevice() override {}
    void slotButtonScreenshotClicked();
    void slotButtonRecordToggled();
    void slotShortcutScreencastActivated();
    void slotButtonRecordClicked();
    void slotButtonBrowseClicked();
    void slotScreenshotDone(bool result);
    void slotVideoSaved(bool result);
    void slotUpdateVideoDuration();
    void refreshVideoDurationLabel(bool empty);
    void refreshVideoDurationLabel();
    void hideInfos();
    // Ends a running recording so that the file is whole when the player quits.
    void onAboutToQuit();

private slots:
    void slotWriteFailed();

private:
    QToolButton *addButton(QGridLayout *grid, const QString &name, const char *labelKey, const char *toolTipKey, const char *keys, int column);
    void startRecording();
    void stopRecording(bool saved);
    void showInfo(const QString &text, const QPixmap &picture, int milliseconds);

    QPixmap infoPixmap;
    QPixmap errorPixmap;
    QTemporaryFile screenshotSound;
    QTemporaryFile startSound;
    QTemporaryFile stopSound;
    QTimer secondsTimer;
    QTimer resetTimer;
    QTimer hideTimer;
    int seconds = 0;
    VideoEncoder *encoder = nullptr;
    QToolButton *screenshotButton = nullptr;
    QToolButton *recordButton = nullptr;
    QToolButton *browseButton = nullptr;
    QLabel *infoText = nullptr;
    QLabel *infoPicture = nullptr;
};
