#pragma once

#include <QPushButton>

// The cross at the top right corner of a Popup.
class ClosePopupButton : public QPushButton
{
    Q_OBJECT

public:
    explicit ClosePopupButton(QWidget *parent = nullptr);
};
