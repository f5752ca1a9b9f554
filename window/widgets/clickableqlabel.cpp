#include "clickableqlabel.h"

#include <QMouseEvent>

ClickableQLabel::ClickableQLabel(QWidget *parent)
    : QLabel(parent)
{
    setFixedWidth(350);
}

void ClickableQLabel::mousePressEvent(QMouseEvent *event)
{
    pressed = true;
    event->accept();
}

void ClickableQLabel::mouseReleaseEvent(QMouseEvent *event)
{
    // The release comes here even when the pointer left the label; only one on it clicks.
    const bool wasPressed = pressed;
    pressed = false;
    event->accept();
    if (wasPressed && rect().contains(event->pos()))
        emit clicked();
}
