#pragma once

#include <QDialog>
#include <QPixmap>

class QLabel;
class QProcess;
class QPushButton;
class QTimer;
class VMToolsMachine;

// Asks whether the device may reboot with its Android navigation bar on screen, which the
// remote control needs. "Reboot" sets the machine's two navigation bar flags and ends the
// player with a restart requested: the new process starts the machine with the bar. The
// dialog never waits for the device itself.
class NavigationBarDialog : public QDialog
{
    Q_OBJECT

public:
    // machine is not owned.
    explicit NavigationBarDialog(VMToolsMachine *machine, QWidget *parent = nullptr);

    // Whether the remote control must ask first: the device's adb serial is a valid
    // "address:port" and the machine's two flags are not both on.
    static bool isNeeded(const QString &serial, VMToolsMachine *machine);

private slots:
    void startReboot();
    void rebootFinished();
    void rotateSpinner();
    void error();
    void testReconnection();
    void reconnection();

private:
    VMToolsMachine *machine;
    QProcess *rebootProcess = nullptr;
    QProcess *connectProcess = nullptr;
    QLabel *textLabel = nullptr;
    QLabel *pictureLabel = nullptr;
    // Its resource is deliberately absent: the dialog shows no turning picture.
    QPixmap spinnerPixmap;
    QTimer *spinnerTimer = nullptr;
    QPushButton *cancelButton = nullptr;
    QPushButton *rebootButton = nullptr;
    int spinnerAngle = 0;
};
