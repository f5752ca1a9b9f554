#include "toolbarbutton.h"

#include "capabilities.h"

#include <QDebug>
#include <QIcon>
#include <QPixmap>

ToolbarButton::ToolbarButton(const QString &iconName, quint32 possibleReasons, QWidget *parent)
    : AlwaysClickableToolButton(parent)
    , reasons(possibleReasons)
    , possible(possibleReasons)
    , iconBaseName(iconName)
{
    setAutoRaise(true);
    setFocusPolicy(Qt::NoFocus);
    setIconSize(QSize(30, 30));
    setFixedSize(48, 48);
    setEnabled(reasons == 0);
}

void ToolbarButton::addDisabledReason(quint32 reason)
{
    reasons = withDisabledReason(reasons, possible, reason);
    applyReasons();
}

void ToolbarButton::removeDisabledReason(quint32 reason)
{
    reasons = withoutDisabledReason(reasons, reason);
    applyReasons();
}

void ToolbarButton::applyReasons()
{
    setEnabled(reasons == 0);
    updateToolTip();
    emit buttonEnabled(isEnabled());
}

void ToolbarButton::setToolTipText(const QString &text)
{
    toolTipText = text;
}

void ToolbarButton::updateToolTip()
{
    if (reasons == 0) {
        setToolTip(toolTipText + QStringLiteral("        ") + shortcut().toString(QKeySequence::PortableText));
    } else if (reasons & DisabledReason::Capability) {
        setToolTip(toolTipText + QStringLiteral(" : ") + tr("virtual.device.not.compatible"));
    }
}

QIcon ToolbarButton::stateIcon(const QPixmap &rest, const QPixmap &lit, const QPixmap &disabled)
{
    QIcon icon;
    icon.addPixmap(rest, QIcon::Normal, QIcon::Off);
    icon.addPixmap(lit, QIcon::Normal, QIcon::On);
    icon.addPixmap(lit, QIcon::Active, QIcon::Off);
    icon.addPixmap(lit, QIcon::Active, QIcon::On);
    icon.addPixmap(disabled, QIcon::Disabled, QIcon::Off);
    icon.addPixmap(disabled, QIcon::Disabled, QIcon::On);
    return icon;
}

void ToolbarButton::enterEvent(QEvent *event)
{
    // A disabled button still lights up a little, since a click on it tells why it is off.
    if (!isEnabled())
        setStyleSheet(QStringLiteral("background: #303030;"));
    AlwaysClickableToolButton::enterEvent(event);
}

void ToolbarButton::leaveEvent(QEvent *event)
{
    setStyleSheet(QStringLiteral("background: #000;"));
    AlwaysClickableToolButton::leaveEvent(event);
}

void applyCapability(ToolbarButton *button, const QString &name, const QVariantMap &map, const QString &toolTip)
{
    if (capabilityEnabled(name, map))
        button->removeDisabledReason(DisabledReason::Capability);
    else
        button->addDisabledReason(DisabledReason::Capability);
    button->setToolTipText(toolTip);
    button->updateToolTip();
}
