#pragma once

#include "panelwidget.h"

class QLineEdit;
class QPushButton;
class QTextEditLimit;

// The calls and SMS panel: an incoming call or text message from a number the user enters,
// as the mobile network would deliver it to the device. It keeps no device state.
class WidgetBaseband : public PanelWidget
{
    Q_OBJECT

public:
    WidgetBaseband(Player *player, EventManager *eventManager, VMToolsMachine *machine, QWidget *parent = nullptr);

public slots:
    void updateFromDevice() override;

private slots:
    void updateButtons();
    void call();
    void sendMessage();

private:
    QLineEdit *numberEdit = nullptr;
    QPushButton *callButton = nullptr;
    QTextEditLimit *messageEdit = nullptr;
    QPushButton *sendButton = nullptr;
};
