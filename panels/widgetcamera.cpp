#include "widgetcamera.h"

#include "aospcamera.h"
#include "cameramanagerlinux.h"
#include "eventmanager.h"
#include "statsmanager.h"
#include "vmtoolsmachine.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QImage>
#include <QLabel>
#include <QPixmap>
#include <QPushButton>
#include <QSignalBlocker>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

const int HeaderWidth = 370;
const int PanelWidth = 395;
const QSize PreviewSize(347, 260);
const int PreviewPeriodMs = 50;

void stopPreview(AOSPCamera *camera)
{
    if (camera)
        camera->stopCapture(AOSPCamera::HostPreview);
}

// The combo box's entries become the cameras' names; the entry chosen before stays chosen
// while a camera of that name is listed.
void refill(QComboBox *box, const QList<AOSPCamera *> &cameras)
{
    const QSignalBlocker quiet(box);
    const QString chosen = box->currentText();
    box->clear();
    for (AOSPCamera *camera : cameras) {
        box->addItem(camera->name());
        if (camera->name() == chosen)
            box->setCurrentIndex(box->count() - 1);
    }
}

} // namespace

WidgetCamera::WidgetCamera(Player *player, EventManager *eventManager, VMToolsMachine *machine, QWidget *parent)
    : PanelWidget(true, player, eventManager, machine, parent)
{
    QString address = machine ? machine->ip() : QString();
    if (address.isEmpty() && eventManager)
        address = eventManager->deviceAddressText();
    manager = CameraManagerLinux::instance(address, this);
    manager->setPlaceholderImage(QImage(QStringLiteral(":/logo")));
    // The machine's address is known when the player is made; a device reached by address
    // alone tells it when its event channel comes up.
    if (eventManager)
        connect(eventManager, &EventManager::started, this, &WidgetCamera::followDevice);

    titleLabel->setText(tr("CAMERA"));
    headerWidget->setFixedWidth(HeaderWidth);
    setFixedWidth(PanelWidth);

    auto *content = new QWidget(this);
    content->setObjectName(QStringLiteral("content"));
    frontBox = new QComboBox(content);
    frontBox->setObjectName(QStringLiteral("frontCamera"));
    backBox = new QComboBox(content);
    backBox->setObjectName(QStringLiteral("backCamera"));
    previewButton = new QToolButton(content);
    previewButton->setObjectName(QStringLiteral("preview"));
    previewButton->setCheckable(true);
    previewButton->setArrowType(Qt::RightArrow);

    previewChoices = new QWidget(content);
    noneBox = new QCheckBox(tr("widget.webcam.preview.none"), previewChoices);
    noneBox->setChecked(true);
    frontCheck = new QCheckBox(tr("widget.webcam.preview.front"), previewChoices);
    backCheck = new QCheckBox(tr("widget.webcam.preview.back"), previewChoices);
    auto *choicesLayout = new QHBoxLayout(previewChoices);
    choicesLayout->addWidget(noneBox);
    choicesLayout->addWidget(frontCheck);
    choicesLayout->addWidget(backCheck);
    choicesLayout->addStretch();
    previewLabel = new QLabel(content);
    previewLabel->setFixedSize(PreviewSize);
    previewChoices->hide();
    previewLabel->hide();

    auto *previewRow = new QHBoxLayout;
    previewRow->addWidget(new QLabel(tr("PREVIEW"), content));
    previewRow->addWidget(previewButton);
    previewRow->addStretch();
    auto *contentLayout = new QVBoxLayout(content);
    contentLayout->addWidget(new QLabel(tr("widget.webcam.front"), content));
    contentLayout->addWidget(frontBox);
    contentLayout->addWidget(new QLabel(tr("widget.webcam.back"), content));
    contentLayout->addWidget(backBox);
    contentLayout->addSpacing(16);
    contentLayout->addLayout(previewRow);
    contentLayout->addWidget(previewChoices);
    contentLayout->addWidget(previewLabel, 0, Qt::AlignHCenter);
    contentLayout->addStretch();

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(headerWidget);
    layout->addWidget(content);
    setDefaultLabelStyle();
    // A picture, not a text: it keeps no label style.
    previewLabel->setObjectName(QStringLiteral("previewImage"));

    connect(switchButton, &QPushButton::clicked, this, &WidgetCamera::slotButtonActivatedToggled);
    connect(previewButton, &QToolButton::toggled, this, &WidgetCamera::slotButtonShowPreviewToggled);
    connect(noneBox, &QCheckBox::clicked, this, &WidgetCamera::slotCheckboxNone);
    connect(frontCheck, &QCheckBox::clicked, this, &WidgetCamera::slotCheckboxFront);
    connect(backCheck, &QCheckBox::clicked, this, &WidgetCamera::slotCheckboxBack);
    connect(frontBox, qOverload<int>(&QComboBox::currentIndexChanged), this, &WidgetCamera::slotChangedFrontDevice);
    connect(backBox, qOverload<int>(&QComboBox::currentIndexChanged), this, &WidgetCamera::slotChangedBackDevice);
    connect(&updateTimer, &QTimer::timeout, this, &WidgetCamera::updateImage);

    // Until the user turns the webcams on, both combo boxes show the placeholder.
    cameras = {manager->frontCamera()};
    refill(frontBox, cameras);
    refill(backBox, cameras);
    updateActivation();
}

WidgetCamera::~WidgetCamera()
{
    updateTimer.stop();
}

void WidgetCamera::updateFromDevice()
{
    // The device keeps no camera setting to read back: what the panel shows is the host's
    // webcams, listed each time the panel is shown.
}

void WidgetCamera::showEvent(QShowEvent *event)
{
    PanelWidget::showEvent(event);
    slotButtonActivatedToggled();
}

void WidgetCamera::followDevice()
{
    manager->setDeviceAddress(eventManager()->deviceAddressText());
}

void WidgetCamera::slotButtonActivatedToggled()
{
    const bool on = switchButton->isChecked();
    emit activationChanged(on);
    StatsManager::instance()->reportEvent(QStringLiteral("widget_camera"));
    updateActivation();
    if (on) {
        cameras = manager->listCameras();
        slotCamerasListed();
        return;
    }
    previewButton->setChecked(false);
    stopPreview(manager->frontCamera());
    stopPreview(manager->backCamera());
    // The combo boxes keep the user's choice for the next time the webcams are turned on.
    cameras = manager->listCameras();
    manager->setFrontCamera(cameras.first());
    manager->setBackCamera(cameras.first());
    refill(frontBox, cameras);
    refill(backBox, cameras);
    plugPreview();
}

void WidgetCamera::slotCamerasListed()
{
    refill(frontBox, cameras);
    refill(backBox, cameras);
    // A listing makes new camera objects, and the webcams may have been off: the camera chosen
    // by name is bound again.
    if (listed(frontBox->currentIndex()) != manager->frontCamera())
        slotChangedFrontDevice(frontBox->currentIndex());
    if (listed(backBox->currentIndex()) != manager->backCamera())
        slotChangedBackDevice(backBox->currentIndex());
    plugPreview();
    checkPreview();
}

AOSPCamera *WidgetCamera::listed(int index) const
{
    return index >= 0 && index < cameras.size() ? cameras.at(index) : nullptr;
}

void WidgetCamera::slotChangedFrontDevice(int index)
{
    bindListed(index, true);
}

void WidgetCamera::slotChangedBackDevice(int index)
{
    bindListed(index, false);
}

void WidgetCamera::bindListed(int index, bool front)
{
    AOSPCamera *camera = listed(index);
    if (!camera)
        return;
    stopPreview(front ? manager->frontCamera() : manager->backCamera());
    if (front)
        manager->setFrontCamera(camera);
    else
        manager->setBackCamera(camera);
    checkPreview();
}

void WidgetCamera::checkOnly(QCheckBox *box)
{
    // The three boxes act as radio buttons; clicking the checked one leaves it checked.
    for (QCheckBox *each : {noneBox, frontCheck, backCheck})
        each->setChecked(each == box);
    checkPreview();
}

void WidgetCamera::slotCheckboxNone()
{
    checkOnly(noneBox);
}

void WidgetCamera::slotCheckboxFront()
{
    checkOnly(frontCheck);
}

void WidgetCamera::slotCheckboxBack()
{
    checkOnly(backCheck);
}

void WidgetCamera::checkPreview()
{
    if (previewButton->isChecked() && !noneBox->isChecked()) {
        const bool front = frontCheck->isChecked();
        AOSPCamera *shown = front ? manager->frontCamera() : manager->backCamera();
        stopPreview(front ? manager->backCamera() : manager->frontCamera());
        if (shown)
            shown->startCapture(AOSPCamera::HostPreview);
        updateTimer.start(PreviewPeriodMs);
        return;
    }
    updateTimer.stop();
    QPixmap empty(PreviewSize);
    empty.fill(Qt::transparent);
    previewLabel->setPixmap(empty);
    updateImage();
    stopPreview(manager->frontCamera());
    stopPreview(manager->backCamera());
}

void WidgetCamera::updateImage()
{
    QImage image(PreviewSize, QImage::Format_RGB32);
    if (frontCheck->isChecked())
        manager->frontPreview(image);
    else if (backCheck->isChecked())
        manager->backPreview(image);
    else
        image.fill(Qt::black);
    previewLabel->setPixmap(QPixmap::fromImage(image.scaled(PreviewSize, Qt::KeepAspectRatio)));
}

void WidgetCamera::slotButtonShowPreviewToggled()
{
    plugPreview();
}

void WidgetCamera::plugPreview()
{
    const bool open = previewButton->isChecked();
    previewButton->setArrowType(open ? Qt::DownArrow : Qt::RightArrow);
    previewChoices->setVisible(open);
    previewLabel->setVisible(open);
    if (open) {
        checkPreview();
        return;
    }
    // The front camera's preview capture runs on until the next preview check.
    stopPreview(manager->backCamera());
}
