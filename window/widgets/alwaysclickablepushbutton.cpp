#include "alwaysclickablepushbutton.h"

#include "alwaysclickabletoolbutton.h"

bool AlwaysClickablePushButton::event(QEvent *event)
{
    if (!isEnabled() && swallowDisabledClick(event, [this] { emit clickedWhileDisabled(); }))
        return true;
    return QPushButton::event(event);
}
