#pragma once

#include <QPushButton>

// A push button that still answers a click while disabled, so that the user can be told why
// it is disabled: the click emits clickedWhileDisabled() instead of clicked().
class AlwaysClickablePushButton : public QPushButton
{
    Q_OBJECT

public:
    using QPushButton::QPushButton;

signals:
    void clickedWhileDisabled();

protected:
    bool event(QEvent *event) override;
};
