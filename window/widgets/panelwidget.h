#pragma once

#include <QDialog>

class EventManager;
class Player;
class QFrame;
class QHBoxLayout;
class QLabel;
class QPushButton;
class VMToolsMachine;

// The frame of every side panel: a title, a rule, an optional On/Off switch with its two
// labels, and the frame's style sheet. A panel builds its content below headerWidget and lays
// both out itself. Player, event manager and machine are not owned and outlive the panel.
//
// A panel with a switch connects the switch's toggled() to its own handling, which ends in
// updateActivation() and emits activationChanged(); the frame does not guess the order of
// device calls around it.
class PanelWidget : public QDialog
{
    Q_OBJECT

public:
    PanelWidget(bool hasSwitch, Player *player, EventManager *eventManager, VMToolsMachine *machine,
                QWidget *parent = nullptr);

    Player *player() const { return playerWindow; }
    EventManager *eventManager() const { return events; }
    VMToolsMachine *machine() const { return vmMachine; }
    bool hasSwitch() const { return withSwitch; }
    QPushButton *activationSwitch() const { return switchButton; }

signals:
    void widgetClosed();
    void activationChanged(bool activationState);

public slots:
    // Brings the display up to date from the device; called each time the panel is shown.
    virtual void updateFromDevice() = 0;
    // False for a panel without a switch, otherwise the switch's checked state.
    virtual bool isActivated();
    // Colours the switch labels and enables the content only while the panel is active;
    // the header and the switch stay usable. Nothing on a panel without a switch.
    virtual void updateActivation();

protected:
    void closeEvent(QCloseEvent *event) override;
    void updateSwitchLabels(bool on);
    // Gives every label but the title the object name "default", for the frame's label style.
    void setDefaultLabelStyle();

    QLabel *titleLabel = nullptr;
    QFrame *rule = nullptr;
    QLabel *offLabel = nullptr;
    QPushButton *switchButton = nullptr;
    QLabel *onLabel = nullptr;
    QHBoxLayout *switchLayout = nullptr;
    QWidget *headerWidget = nullptr;

private:
    const bool withSwitch;
    Player *const playerWindow;
    EventManager *const events;
    VMToolsMachine *const vmMachine;
};
