#pragma once

#include "calderwicktoolbar.h"

#include <QList>

class PanelButton;
class PanelWidget;
class Player;

// The buttons that open the side panels: battery, GPS, camera, screencast, remote control,
// device identity, network and baseband. All start disabled until the device tells its
// capabilities.
class WidgetToolbar : public CalderwickToolbar
{
    Q_OBJECT

public:
    explicit WidgetToolbar(Player *player, QWidget *parent = nullptr);

    PanelButton *button(const QString &iconName) const;
    QList<PanelButton *> panelButtons() const { return buttons; }

public slots:
    void capabilitiesChanged(QString capabilities);

private slots:
    void onHideAllSensorWidgets(PanelButton *except);

private:
    struct Entry
    {
        const char *icon;
        const char *toolTipKey;
        const char *shortcut;
        const char *capability;
    };
    static const Entry Entries[];

    PanelWidget *createPanel(const Entry &entry);

    Player *player;
    QList<PanelWidget *> panels;
    QList<PanelButton *> buttons;
};
