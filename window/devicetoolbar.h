#pragma once

#include "calderwicktoolbar.h"

#include <QList>

class ActionButton;
class Player;

// The device's hardware keys beside the screen: volume, rotate, pixel-perfect, back, recent,
// menu, home and power. Key buttons send a press and a release to the device; rotate turns
// the device through its accelerometer.
class DeviceToolbar : public CalderwickToolbar
{
    Q_OBJECT

public:
    explicit DeviceToolbar(Player *player, QWidget *parent = nullptr);

    ActionButton *button(const QString &iconName) const;

public slots:
    void capabilitiesChanged(QString capabilities);

private slots:
    void onVolumeUpPressed();
    void onVolumeUpReleased();
    void onVolumeDownPressed();
    void onVolumeDownReleased();
    void onPowerPressed();
    void onPowerReleased();
    void onRecentPressed();
    void onRecentReleased();
    void onMenuPressed();
    void onMenuReleased();
    void onBackPressed();
    void onBackReleased();
    void onHomePressed();
    void onHomeReleased();
    void onRotateClicked();
    void onPixelPerfectClicked();

private:
    ActionButton *addButton(const QString &iconName, const char *toolTipKey, const QString &shortcut,
                            quint32 reasons);
    void sendKey(bool press, int key);

    Player *player;
    QList<ActionButton *> buttons;
    QList<ActionButton *> gatedButtons;
    bool rotated = false;
};
