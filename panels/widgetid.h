#pragma once

#include "panelwidget.h"

class QLineEdit;
class QPushButton;

// The identity panel: the device's Android ID and device ID (its IMEI), typed or drawn at
// random. A value goes to the device when its field's editing ends with a changed text.
class WidgetID : public PanelWidget
{
    Q_OBJECT

public:
    WidgetID(Player *player, EventManager *eventManager, VMToolsMachine *machine, QWidget *parent = nullptr);

public slots:
    void updateFromDevice() override;

private slots:
    void slotGetDeviceID();
    void slotGetAndroidID();
    void slotEditingFinishedDeviceID();
    void slotEditingFinishedAndroidID();
    void slotTextChangedAndroidID();
    void slotRandomizeDeviceID();
    void slotRandomizeAndroidID();

private:
    QLineEdit *androidIdEdit = nullptr;
    QLineEdit *deviceIdEdit = nullptr;
    QPushButton *randomAndroidIdButton = nullptr;
    QPushButton *randomDeviceIdButton = nullptr;
    QString lastAndroidId; // the values last known on the device
    QString lastDeviceId;
    bool randomPending = false; // the next value written was drawn at random
};
