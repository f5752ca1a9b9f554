#include "closepopupbutton.h"

ClosePopupButton::ClosePopupButton(QWidget *parent)
    : QPushButton(parent)
{
    setStyleSheet(QStringLiteral("ClosePopupButton {border: 2px solid #FFFFFF;border-image: url(:/buttons/close_popup);"
                                 "background: transparent;margin: 0px;}"));
    setFocusPolicy(Qt::NoFocus);
    setFixedSize(31, 33);
}
