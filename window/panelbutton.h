#pragma once

#include "toolbarbutton.h"

class PanelWidget;

// A checkable toolbar button that shows and hides one side panel (not owned). Its icon tells
// whether the panel is activated; disabling the button disables the panel too.
class PanelButton : public ToolbarButton
{
    Q_OBJECT

public:
    PanelButton(const QString &iconName, quint32 possibleReasons, PanelWidget *panel, QWidget *parent = nullptr);

    PanelWidget *panel() const { return widget; }
    void updateIcon(bool activated);

signals:
    void hideAllSensorWidgets(PanelButton *except);

protected:
    void updateIcon() override;

private slots:
    void buttonToggled(bool checked);
    void widgetClosed();
    void widgetActivationChanged(bool state);

private:
    PanelWidget *widget;
    bool activated = false;
};
