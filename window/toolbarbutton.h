#pragma once

#include "alwaysclickabletoolbutton.h"

#include <QKeySequence>
#include <QString>
#include <QVariantMap>

// A button of the player's toolbars: a square icon button that is enabled exactly while no
// disabled reason is set, and whose tool tip tells its shortcut, or why it is disabled.
class ToolbarButton : public AlwaysClickableToolButton
{
    Q_OBJECT

public:
    // possibleReasons: the disabled reasons this button can ever have, also its initial mask.
    ToolbarButton(const QString &iconName, quint32 possibleReasons, QWidget *parent = nullptr);

    QString iconName() const { return iconBaseName; }
    quint32 disabledReasons() const { return reasons; }
    void addDisabledReason(quint32 reason);
    void removeDisabledReason(quint32 reason);
    void setToolTipText(const QString &text);
    void updateToolTip();

signals:
    void buttonEnabled(bool enable);

protected:
    void enterEvent(QEvent *event) override;
    void leaveEvent(QEvent *event) override;

    // The icon as the subclass draws it from its resources.
    virtual void updateIcon() = 0;
    // An icon showing `rest` normally, `lit` when hovered or checked, `disabled` when disabled.
    static QIcon stateIcon(const QPixmap &rest, const QPixmap &lit, const QPixmap &disabled);

private:
    void applyReasons();

    quint32 reasons;
    const quint32 possible;
    QString iconBaseName;
    QString toolTipText;
};

// Enables `button` when the device's capability `name` reads "on" in `map`, else disables it
// for the capability reason; then gives it `toolTip` as its tool tip text.
void applyCapability(ToolbarButton *button, const QString &name, const QVariantMap &map, const QString &toolTip);
