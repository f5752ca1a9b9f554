#include "widgettoolbar.h"

#include "capabilities.h"
#include "panelbutton.h"
#include "player.h"
#include "widgetbaseband.h"
#include "widgetbattery.h"
#include "widgetremote.h"
#include "widgetid.h"
#include "widgetnetwork.h"
#include "widgetgps.h"
#include "widgetcamera.h"
#include "widgetscreencast.h"

const WidgetToolbar::Entry WidgetToolbar::Entries[] = {
    {"battery", QT_TR_NOOP("tooltip.battery"), "Ctrl+1", "battery"},
    {"gps", QT_TR_NOOP("tooltip.gps"), "Ctrl+2", "gps"},
    {"camera", QT_TR_NOOP("tooltip.camera"), "Ctrl+3", "camera"},
    {"screencast", QT_TR_NOOP("tooltip.screencast"), "Ctrl+4", "screencast"},
    {"remote", QT_TR_NOOP("tooltip.remote"), "Ctrl+5", "remotectl"},
    {"deviceid", QT_TR_NOOP("tooltip.device-id"), "Ctrl+6", "deviceid"},
    {"network", QT_TR_NOOP("tooltip.network"), "Ctrl+7", "network"},
    {"baseband", QT_TR_NOOP("tooltip.baseband"), "Ctrl+8", "baseband"},
};

WidgetToolbar::WidgetToolbar(Player *owner, QWidget *parent)
    : CalderwickToolbar(parent)
    , player(owner)
{
    setWindowTitle(tr("widget.toolbar.title") + QLatin1Char('\t')
                   + QKeySequence(QStringLiteral("Ctrl+T")).toString(QKeySequence::PortableText));

    for (const Entry &entry : Entries) {
        PanelWidget *panel = createPanel(entry);
        auto *button = new PanelButton(QLatin1String(entry.icon), DisabledReason::Capability, panel, this);
        button->setShortcut(QKeySequence(QLatin1String(entry.shortcut)));
        button->setToolTipText(tr(entry.toolTipKey));
        button->updateToolTip();
        connect(button, &PanelButton::hideAllSensorWidgets, this, &WidgetToolbar::onHideAllSensorWidgets);
        addWidget(button);
        panels << panel;
        buttons << button;
    }
    auto *spacer = new QWidget(this);
    spacer->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    addWidget(spacer);
}

PanelWidget *WidgetToolbar::createPanel(const Entry &entry)
{
    // Each panel stands in its own window, owned by the player's window.
    EventManager *events = player ? player->eventManager() : nullptr;
    VMToolsMachine *machine = player ? player->vmMachine() : nullptr;
    if (qstrcmp(entry.icon, "battery") == 0)
        return new WidgetBattery(player, events, machine, player);
    if (qstrcmp(entry.icon, "baseband") == 0)
        return new WidgetBaseband(player, events, machine, player);
    if (qstrcmp(entry.icon, "deviceid") == 0)
        return new WidgetID(player, events, machine, player);
    if (qstrcmp(entry.icon, "network") == 0)
        return new WidgetNetwork(player, events, machine, player);
    if (qstrcmp(entry.icon, "gps") == 0)
        return new WidgetGps(player, events, machine, player);
    if (qstrcmp(entry.icon, "camera") == 0)
        return new WidgetCamera(player, events, machine, player);
    if (qstrcmp(entry.icon, "screencast") == 0)
        return new WidgetScreencast(player, events, machine, player);
    // The entries' table names no other panel.
    Q_ASSERT(qstrcmp(entry.icon, "remote") == 0);
    return new WidgetRemote(player, events, machine, player ? player->proxyEvent() : nullptr, player);
}

PanelButton *WidgetToolbar::button(const QString &iconName) const
{
    for (PanelButton *candidate : buttons) {
        if (candidate->iconName() == iconName)
            return candidate;
    }
    return nullptr;
}

void WidgetToolbar::capabilitiesChanged(QString capabilities)
{
    QVariantMap map;
    if (!parseCapabilities(capabilities, map))
        return;
    for (int i = 0; i < buttons.size(); ++i)
        applyCapability(buttons.at(i), QLatin1String(Entries[i].capability), map, tr(Entries[i].toolTipKey));
}

void WidgetToolbar::onHideAllSensorWidgets(PanelButton *except)
{
    for (PanelButton *button : buttons)
        button->setChecked(button == except);
}
