#pragma once

#include "toolbarbutton.h"

// A toolbar button that acts on press or click: its icon has a default, a hover and a
// disabled form, from ":/panel/button/<icon name>-default", "-hover" and "-disabled".
class ActionButton : public ToolbarButton
{
    Q_OBJECT

public:
    ActionButton(const QString &iconName, quint32 possibleReasons, QWidget *parent = nullptr);

    // Changes the icon, as the pixel-perfect button does between its two states.
    void setIconName(const QString &iconName);

protected:
    void updateIcon() override;

private:
    QString currentIcon;
};
