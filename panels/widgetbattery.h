#pragma once

#include "panelwidget.h"

class QLabel;
class QLineEdit;
class QPushButton;
class QSlider;

// The battery panel. Off: the device follows the host's battery. On: the level and the
// charging state set here are what the device sees.
class WidgetBattery : public PanelWidget
{
    Q_OBJECT

public:
    WidgetBattery(Player *player, EventManager *eventManager, VMToolsMachine *machine, QWidget *parent = nullptr);

signals:
    void sigWidgetBatteryGetMode();
    void sigWidgetBatterySetMode(bool mode);
    void sigWidgetBatteryGetLevel();
    void sigWidgetBatterySetLevel(int level);
    void sigWidgetBatteryGetStatus();
    void sigWidgetBatterySetStatus(QString status);

public slots:
    void updateFromDevice() override;
    void updateActivation() override;

private slots:
    void slotButtonActivatedToggled();
    void slotButtonChargingDischargingToggled();
    void slotEditBatteryLevel();
    void slotSliderBatteryLevelReleased();
    void slotSliderBatteryLevelChanged(int value);
    void batteryGetMode();
    void batterySetMode(bool mode);
    void batteryGetLevel();
    void batterySetLevel(int level);
    void batteryGetStatus();
    void batterySetStatus(QString status);

private:
    void updateLevelIcon();
    void updateChargingDisplay();

    QLineEdit *levelEdit = nullptr;
    QSlider *levelSlider = nullptr;
    QLabel *levelIcon = nullptr;
    QLabel *chargingIcon = nullptr;
    QPushButton *chargingSwitch = nullptr;
    QLabel *statusLabel = nullptr;
};
