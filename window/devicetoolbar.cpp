#include "devicetoolbar.h"

#include "actionbutton.h"
#include "capabilities.h"
#include "eventmanager.h"
#include "player.h"
#include "sensormanager.h"
#include "statsmanager.h"

#include <QKeyEvent>

namespace {

// Gravity along the device's x axis, then along its y axis: the two ways the rotate button
// holds the device in turn.
constexpr double Gravity = 9.776218750101208;
constexpr double Tilt = 0.8134168366646887;

} // namespace

DeviceToolbar::DeviceToolbar(Player *owner, QWidget *parent)
    : CalderwickToolbar(parent)
    , player(owner)
{
    setWindowTitle(tr("device.toolbar.title") + QLatin1Char('\t')
                   + QKeySequence(QStringLiteral("Ctrl+D")).toString(QKeySequence::PortableText));

    ActionButton *up = addButton(QStringLiteral("sound-up"), QT_TR_NOOP("tooltip.soundup"), QStringLiteral("Ctrl++"), 0);
    ActionButton *down =
        addButton(QStringLiteral("sound-down"), QT_TR_NOOP("tooltip.sounddown"), QStringLiteral("Ctrl+-"), 0);
    ActionButton *rotate = addButton(QStringLiteral("rotate"), QT_TR_NOOP("tooltip.rotate"), QStringLiteral("Ctrl+F11"),
                                     DisabledReason::Capability);
    ActionButton *pixelPerfect =
        addButton(QStringLiteral("pixelperfect"), QT_TR_NOOP("tooltip.pixelperfect"), QStringLiteral("Ctrl+R"), 0);

    // The upper group and the lower group sit at the two ends of the bar.
    auto *spacer = new QWidget(this);
    spacer->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    addWidget(spacer);

    ActionButton *back =
        addButton(QStringLiteral("back"), QT_TR_NOOP("tooltip.back"), QStringLiteral("Ctrl+Backspace"), 0);
    ActionButton *recent =
        addButton(QStringLiteral("recent"), QT_TR_NOOP("tooltip.recent"), QStringLiteral("Ctrl+Space"), 0);
    ActionButton *menu = addButton(QStringLiteral("menu"), QT_TR_NOOP("tooltip.menu"), QStringLiteral("Ctrl+M"), 0);
    ActionButton *home = addButton(QStringLiteral("home"), QT_TR_NOOP("tooltip.home"), QStringLiteral("Ctrl+Home"), 0);
    ActionButton *power =
        addButton(QStringLiteral("power"), QT_TR_NOOP("tooltip.power"), QStringLiteral("Ctrl+Escape"), 0);
    gatedButtons << rotate;

    connect(up, &QToolButton::pressed, this, &DeviceToolbar::onVolumeUpPressed);
    connect(up, &QToolButton::released, this, &DeviceToolbar::onVolumeUpReleased);
    connect(down, &QToolButton::pressed, this, &DeviceToolbar::onVolumeDownPressed);
    connect(down, &QToolButton::released, this, &DeviceToolbar::onVolumeDownReleased);
    connect(rotate, &QToolButton::clicked, this, &DeviceToolbar::onRotateClicked);
    connect(pixelPerfect, &QToolButton::clicked, this, &DeviceToolbar::onPixelPerfectClicked);
    connect(back, &QToolButton::pressed, this, &DeviceToolbar::onBackPressed);
    connect(back, &QToolButton::released, this, &DeviceToolbar::onBackReleased);
    connect(recent, &QToolButton::pressed, this, &DeviceToolbar::onRecentPressed);
    connect(recent, &QToolButton::released, this, &DeviceToolbar::onRecentReleased);
    connect(menu, &QToolButton::pressed, this, &DeviceToolbar::onMenuPressed);
    connect(menu, &QToolButton::released, this, &DeviceToolbar::onMenuReleased);
    connect(home, &QToolButton::pressed, this, &DeviceToolbar::onHomePressed);
    connect(home, &QToolButton::released, this, &DeviceToolbar::onHomeReleased);
    connect(power, &QToolButton::pressed, this, &DeviceToolbar::onPowerPressed);
    connect(power, &QToolButton::released, this, &DeviceToolbar::onPowerReleased);
}

ActionButton *DeviceToolbar::addButton(const QString &iconName, const char *toolTipKey, const QString &shortcut,
                                       quint32 reasons)
{
    auto *button = new ActionButton(iconName, reasons, this);
    button->setShortcut(QKeySequence(shortcut));
    button->setToolTipText(tr(toolTipKey));
    button->updateToolTip();
    addWidget(button);
    buttons << button;
    return button;
}

ActionButton *DeviceToolbar::button(const QString &iconName) const
{
    for (ActionButton *candidate : buttons) {
        if (candidate->iconName() == iconName)
            return candidate;
    }
    return nullptr;
}

void DeviceToolbar::capabilitiesChanged(QString capabilities)
{
    QVariantMap map;
    if (!parseCapabilities(capabilities, map))
        return;
    applyCapability(button(QStringLiteral("rotate")), QStringLiteral("accelerometer"), map, tr("tooltip.rotate"));
}

void DeviceToolbar::sendKey(bool press, int key)
{
    QKeyEvent event(press ? QEvent::KeyPress : QEvent::KeyRelease, key, Qt::NoModifier, QString(), false);
    if (press)
        player->eventManager()->keyPressEvent(&event);
    else
        player->eventManager()->keyReleaseEvent(&event);
}

void DeviceToolbar::onVolumeUpPressed() { sendKey(true, Qt::Key_VolumeUp); }
void DeviceToolbar::onVolumeUpReleased() { sendKey(false, Qt::Key_VolumeUp); }
void DeviceToolbar::onVolumeDownPressed() { sendKey(true, Qt::Key_VolumeDown); }
void DeviceToolbar::onVolumeDownReleased() { sendKey(false, Qt::Key_VolumeDown); }
void DeviceToolbar::onPowerPressed() { sendKey(true, Qt::Key_PowerDown); }
void DeviceToolbar::onPowerReleased() { sendKey(false, Qt::Key_PowerDown); }
void DeviceToolbar::onRecentPressed() { sendKey(true, Qt::Key_Shop); }
void DeviceToolbar::onRecentReleased() { sendKey(false, Qt::Key_Shop); }
void DeviceToolbar::onMenuPressed() { sendKey(true, Qt::Key_Menu); }
void DeviceToolbar::onMenuReleased() { sendKey(false, Qt::Key_Menu); }
void DeviceToolbar::onBackPressed() { sendKey(true, Qt::Key_Back); }
void DeviceToolbar::onBackReleased() { sendKey(false, Qt::Key_Back); }
void DeviceToolbar::onHomePressed() { sendKey(true, Qt::Key_Home); }
void DeviceToolbar::onHomeReleased() { sendKey(false, Qt::Key_Home); }

void DeviceToolbar::onRotateClicked()
{
    // The device turns itself from the gravity it feels; the picture follows its report.
    SensorManager *sensors = player->eventManager()->sensorManager();
    if (sensors) {
        if (rotated)
            sensors->sendAccelerometerValues(0.0, Gravity, Tilt);
        else
            sensors->sendAccelerometerValues(Gravity, 0.0, Tilt);
    }
    rotated = !rotated;
}

void DeviceToolbar::onPixelPerfectClicked()
{
    StatsManager::instance()->reportEvent(QStringLiteral("ratio1-1"));
    const bool on = player->togglePixelPerfect();
    button(QStringLiteral("pixelperfect"))->setIconName(on ? QStringLiteral("pixelperfect-active")
                                                          : QStringLiteral("pixelperfect"));
}
