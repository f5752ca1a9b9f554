#pragma once

#include "panelwidget.h"

#include <QList>
#include <QTimer>

class AOSPCamera;
class CameraManager;
class QCheckBox;
class QComboBox;
class QLabel;
class QToolButton;

// The camera panel: which host webcam, or the placeholder picture, feeds the device's front
// and back camera, and a preview of one of them. It makes the player's camera manager, so the
// device's camera service is answered from the moment the toolbar exists.
class WidgetCamera : public PanelWidget
{
    Q_OBJECT

public:
    WidgetCamera(Player *player, EventManager *eventManager, VMToolsMachine *machine, QWidget *parent = nullptr);
    ~WidgetCamera() override;

    CameraManager *cameraManager() const { return manager; }

public slots:
    void updateFromDevice() override;

private slots:
    void slotButtonActivatedToggled();
    void slotButtonShowPreviewToggled();
    void updateImage();
    void slotCheckboxNone();
    void slotCheckboxFront();
    void slotCheckboxBack();
    void slotChangedFrontDevice(int index);
    void slotChangedBackDevice(int index);
    void plugPreview();
    void slotCamerasListed();
    // The event channel is up: the cameras follow the device to its address.
    void followDevice();

protected:
    void showEvent(QShowEvent *event) override;

private:
    void checkPreview();
    void checkOnly(QCheckBox *box);
    // The camera that a combo box names, or null when the list has no such entry.
    AOSPCamera *listed(int index) const;
    // Binds the listed camera at index to the front or the back socket.
    void bindListed(int index, bool front);

    QList<AOSPCamera *> cameras;
    QComboBox *frontBox = nullptr;
    QComboBox *backBox = nullptr;
    QToolButton *previewButton = nullptr;
    QLabel *previewLabel = nullptr;
    QWidget *previewChoices = nullptr;
    QCheckBox *noneBox = nullptr;
    QCheckBox *frontCheck = nullptr;
    QCheckBox *backCheck = nullptr;
    QTimer updateTimer;
    CameraManager *manager = nullptr;
};
