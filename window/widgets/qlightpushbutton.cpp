#include "qlightpushbutton.h"

QLightPushButton::QLightPushButton(QWidget *parent)
    : QLightPushButton(QString(), parent)
{
}

QLightPushButton::QLightPushButton(const QString &text, QWidget *parent)
    : QPushButton(text, parent)
{
    setCursor(Qt::PointingHandCursor);
    setStyleSheet(QStringLiteral(
        "QLightPushButton {border: 1px solid #D2D3D3;border-image: none;border-radius: 3px;background: #EAEAEA;"
        "color: #262626;padding: 6px 10px;}"
        "QLightPushButton:hover {border-color: #E6195E;background: #FFFFFF;}"
        "QLightPushButton:pressed {background: #D2D3D3;}"
        "QLightPushButton:disabled {color: #9B9C9B;border-color: #EAEAEA;}"));
}
