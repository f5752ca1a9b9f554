#include "actionbutton.h"

#include <QPixmap>

ActionButton::ActionButton(const QString &iconName, quint32 possibleReasons, QWidget *parent)
    : ToolbarButton(iconName, possibleReasons, parent)
    , currentIcon(iconName)
{
    updateIcon();
}

void ActionButton::setIconName(const QString &iconName)
{
    currentIcon = iconName;
    updateIcon();
}

void ActionButton::updateIcon()
{
    const QString prefix = QStringLiteral(":/panel/button/") + currentIcon;
    setIcon(stateIcon(QPixmap(prefix + QStringLiteral("-default")), QPixmap(prefix + QStringLiteral("-hover")),
                      QPixmap(prefix + QStringLiteral("-disabled"))));
}
