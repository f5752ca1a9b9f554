#include "panelbutton.h"

#include "panelwidget.h"

#include <QPixmap>

PanelButton::PanelButton(const QString &iconName, quint32 possibleReasons, PanelWidget *panel, QWidget *parent)
    : ToolbarButton(iconName, possibleReasons, parent)
    , widget(panel)
{
    setCheckable(true);
    setChecked(false);
    connect(widget, &PanelWidget::activationChanged, this, &PanelButton::widgetActivationChanged);
    connect(this, &QToolButton::toggled, this, &PanelButton::buttonToggled);
    connect(this, &ToolbarButton::buttonEnabled, widget, &QWidget::setEnabled);
    connect(widget, &PanelWidget::widgetClosed, this, &PanelButton::widgetClosed);
    connect(widget, &QDialog::accepted, this, &PanelButton::widgetClosed);
    connect(widget, &QDialog::rejected, this, &PanelButton::widgetClosed);
    updateIcon(false);
    emit buttonEnabled(isEnabled());
}

void PanelButton::updateIcon()
{
    updateIcon(activated);
}

void PanelButton::updateIcon(bool isActivated)
{
    activated = isActivated;
    const QString prefix = QStringLiteral(":/panel/") + iconName();
    const QString state = activated ? QStringLiteral("activate") : QStringLiteral("notactivate");
    setIcon(stateIcon(QPixmap(prefix + QStringLiteral("-notvisible-") + state),
                      QPixmap(prefix + QStringLiteral("-visible-") + state), QPixmap(prefix + QStringLiteral("-disabled"))));
}

void PanelButton::buttonToggled(bool checked)
{
    widget->setVisible(checked);
    if (checked) {
        widget->updateFromDevice();
        widget->raise();
    } else {
        widget->close();
    }
}

void PanelButton::widgetClosed()
{
    setChecked(false);
}

void PanelButton::widgetActivationChanged(bool state)
{
    updateIcon(state);
}
