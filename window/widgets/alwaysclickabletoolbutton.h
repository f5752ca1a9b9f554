#pragma once

#include <QToolButton>

#include <functional>

class QEvent;

// For a disabled widget: takes a mouse press (swallowed) or release (calls `released`) and
// returns true; any other event returns false and is left to the widget's base class.
bool swallowDisabledClick(QEvent *event, const std::function<void()> &released);

// A tool button that still answers a click while disabled, so that the user can be told why
// it is disabled: the click emits clickedWhileDisabled() instead of clicked().
class AlwaysClickableToolButton : public QToolButton
{
    Q_OBJECT

public:
    using QToolButton::QToolButton;

signals:
    void clickedWhileDisabled();

protected:
    bool event(QEvent *event) override;
};
