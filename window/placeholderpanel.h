#pragma once

#include "panelwidget.h"

// The frame of a side panel whose content this version of the player does not have yet: it
// says so plainly instead of showing controls that would do nothing.
class PlaceholderPanel : public PanelWidget
{
    Q_OBJECT

public:
    PlaceholderPanel(const QString &title, Player *player, QWidget *parent = nullptr);

public slots:
    void updateFromDevice() override {}
};
