#include "widgetbattery.h"

#include "eventmanager.h"
#include "statsmanager.h"

#include <QCursor>
#include <QHBoxLayout>
#include <QIcon>
#include <QIntValidator>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSlider>
#include <QToolTip>
#include <QVBoxLayout>

namespace {

const int PanelWidth = 290;
const char *const ImageFolder = ":/widgets/battery/";

QPixmap batteryImage(const char *name, int size)
{
    return QIcon(QLatin1String(ImageFolder) + QLatin1String(name)).pixmap(size, size);
}

const char *levelImage(int level)
{
    if (level <= 0)
        return "battery0_default.svg";
    if (level <= 33)
        return "battery25_default.svg";
    if (level <= 66)
        return "battery50_default.svg";
    if (level <= 99)
        return "battery75_default.svg";
    return "battery100_default.svg";
}

} // namespace

WidgetBattery::WidgetBattery(Player *player, EventManager *eventManager, VMToolsMachine *machine, QWidget *parent)
    : PanelWidget(true, player, eventManager, machine, parent)
{
    titleLabel->setText(tr("BATTERY"));
    headerWidget->setFixedWidth(PanelWidth);

    auto *content = new QWidget(this);
    content->setObjectName(QStringLiteral("content"));
    content->setFixedWidth(PanelWidth);

    levelIcon = new QLabel(content);
    levelEdit = new QLineEdit(content);
    levelEdit->setObjectName(QStringLiteral("level"));
    levelEdit->setFixedWidth(50);
    levelEdit->setAlignment(Qt::AlignRight);
    levelEdit->setValidator(new QIntValidator(0, 100, levelEdit));
    auto *percent = new QLabel(QStringLiteral("%"), content);
    levelSlider = new QSlider(Qt::Horizontal, content);
    levelSlider->setObjectName(QStringLiteral("levelSlider"));
    levelSlider->setRange(0, 100);
    levelSlider->setTracking(false);

    chargingIcon = new QLabel(content);
    chargingSwitch = new QPushButton(content);
    chargingSwitch->setObjectName(QStringLiteral("chargingSwitch"));
    chargingSwitch->setCheckable(true);
    chargingSwitch->setFocusPolicy(Qt::NoFocus);
    chargingSwitch->setFixedSize(77, 27);
    statusLabel = new QLabel(content);

    auto *levelRow = new QHBoxLayout;
    levelRow->addWidget(levelIcon);
    levelRow->addWidget(levelEdit);
    levelRow->addWidget(percent);
    levelRow->addStretch();
    auto *chargingRow = new QHBoxLayout;
    chargingRow->addWidget(chargingIcon);
    chargingRow->addWidget(chargingSwitch);
    chargingRow->addWidget(statusLabel);
    chargingRow->addStretch();

    auto *contentLayout = new QVBoxLayout(content);
    contentLayout->addWidget(new QLabel(tr("Charging level"), content));
    contentLayout->addLayout(levelRow);
    contentLayout->addWidget(levelSlider);
    contentLayout->addSpacing(16);
    contentLayout->addWidget(new QLabel(tr("Connection status"), content));
    contentLayout->addLayout(chargingRow);
    contentLayout->addStretch();

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(headerWidget);
    layout->addWidget(content);
    setDefaultLabelStyle();

    connect(this, &WidgetBattery::sigWidgetBatteryGetMode, this, &WidgetBattery::batteryGetMode);
    connect(this, &WidgetBattery::sigWidgetBatterySetMode, this, &WidgetBattery::batterySetMode);
    connect(this, &WidgetBattery::sigWidgetBatteryGetLevel, this, &WidgetBattery::batteryGetLevel);
    connect(this, &WidgetBattery::sigWidgetBatterySetLevel, this, &WidgetBattery::batterySetLevel);
    connect(this, &WidgetBattery::sigWidgetBatteryGetStatus, this, &WidgetBattery::batteryGetStatus);
    connect(this, &WidgetBattery::sigWidgetBatterySetStatus, this, &WidgetBattery::batterySetStatus);

    connect(switchButton, &QPushButton::clicked, this, &WidgetBattery::slotButtonActivatedToggled);
    connect(chargingSwitch, &QPushButton::clicked, this, &WidgetBattery::slotButtonChargingDischargingToggled);
    connect(levelSlider, &QSlider::valueChanged, this, &WidgetBattery::slotSliderBatteryLevelReleased);
    connect(levelSlider, &QSlider::sliderMoved, this, &WidgetBattery::slotSliderBatteryLevelChanged);
    connect(levelEdit, &QLineEdit::editingFinished, this, &WidgetBattery::slotEditBatteryLevel);

    levelEdit->setText(QString::number(levelSlider->value()));
    updateLevelIcon();
    updateActivation();
}

void WidgetBattery::updateFromDevice()
{
    emit sigWidgetBatteryGetMode();
    emit sigWidgetBatteryGetLevel();
    emit sigWidgetBatteryGetStatus();
}

void WidgetBattery::updateActivation()
{
    PanelWidget::updateActivation();
    // The status label's colour depends on whether the content is enabled.
    updateChargingDisplay();
}

void WidgetBattery::slotButtonActivatedToggled()
{
    const bool state = switchButton->isChecked();
    emit activationChanged(state);
    levelEdit->setText(QStringLiteral("%1").arg(levelSlider->value()));
    updateLevelIcon();
    emit sigWidgetBatterySetMode(state);
    if (state)
        StatsManager::instance()->reportEvent(QStringLiteral("widget_battery"));
    updateFromDevice();
}

void WidgetBattery::slotButtonChargingDischargingToggled()
{
    updateChargingDisplay();
    emit sigWidgetBatterySetStatus(chargingSwitch->isChecked() ? QStringLiteral("Charging")
                                                               : QStringLiteral("Discharging"));
}

void WidgetBattery::slotEditBatteryLevel()
{
    bool ok = false;
    const int level = levelEdit->text().toInt(&ok, 10);
    if (!ok || level < 0 || level >= 101)
        return;
    // A new slider value sends the level through valueChanged().
    levelSlider->setValue(level);
    updateLevelIcon();
}

void WidgetBattery::slotSliderBatteryLevelChanged(int value)
{
    levelEdit->setText(QStringLiteral("%1").arg(value));
    QToolTip::showText(QCursor::pos(), tr("Level: ") + QString::number(value) + QLatin1Char('%'), levelSlider);
}

void WidgetBattery::slotSliderBatteryLevelReleased()
{
    const int value = levelSlider->value();
    levelEdit->setText(QStringLiteral("%1").arg(value));
    updateLevelIcon();
    if (switchButton->isChecked())
        emit sigWidgetBatterySetLevel(value);
}

void WidgetBattery::batteryGetMode()
{
    switchButton->setChecked(eventManager()->batteryGetMode());
    updateActivation();
}

void WidgetBattery::batterySetMode(bool mode)
{
    eventManager()->batterySetMode(mode);
}

void WidgetBattery::batteryGetLevel()
{
    const int level = eventManager()->batteryGetLevel();
    if (level < 0 || level > 100)
        return;
    {
        // What the device reports is not sent back to it.
        const QSignalBlocker quiet(levelSlider);
        levelSlider->setValue(level);
    }
    levelEdit->setText(QString::number(level));
    updateLevelIcon();
}

void WidgetBattery::batterySetLevel(int level)
{
    eventManager()->batterySetLevel(level);
}

void WidgetBattery::batteryGetStatus()
{
    QString status = eventManager()->batteryGetStatus().toLower();
    // A full battery is on its charger.
    if (status == QLatin1String("full"))
        status = QStringLiteral("charging");
    chargingSwitch->setChecked(status == QLatin1String("charging"));
    updateChargingDisplay();
}

void WidgetBattery::batterySetStatus(QString status)
{
    eventManager()->batterySetStatus(status);
}

void WidgetBattery::updateLevelIcon()
{
    levelIcon->setPixmap(batteryImage(levelImage(levelSlider->value()), 64));
}

void WidgetBattery::updateChargingDisplay()
{
    const bool charging = chargingSwitch->isChecked();
    chargingIcon->setPixmap(batteryImage(charging ? "charging_on.svg" : "charging_off.svg", 32));
    statusLabel->setText(charging ? tr("charging") : tr("discharging"));
    if (!statusLabel->isEnabled())
        statusLabel->setStyleSheet(QStringLiteral("QLabel { color: #3C3C39; }"));
    else
        statusLabel->setStyleSheet(charging ? QStringLiteral("QLabel { color: #E6195E; }")
                                            : QStringLiteral("QLabel { color: #FFF; }"));
}
