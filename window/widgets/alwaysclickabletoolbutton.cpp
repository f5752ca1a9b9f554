#include "alwaysclickabletoolbutton.h"

#include <QEvent>

bool swallowDisabledClick(QEvent *event, const std::function<void()> &released)
{
    switch (event->type()) {
    case QEvent::MouseButtonPress:
        event->accept();
        return true;
    case QEvent::MouseButtonRelease:
        event->accept();
        released();
        return true;
    default:
        return false;
    }
}

bool AlwaysClickableToolButton::event(QEvent *event)
{
    if (!isEnabled() && swallowDisabledClick(event, [this] { emit clickedWhileDisabled(); }))
        return true;
    return QToolButton::event(event);
}
