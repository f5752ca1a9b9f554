#pragma once

#include <QPushButton>

// A secondary push button for light content areas: dark text on a light face, without the
// image border of the program's main buttons, and a pointing hand over it.
class QLightPushButton : public QPushButton
{
    Q_OBJECT

public:
    explicit QLightPushButton(QWidget *parent = nullptr);
    explicit QLightPushButton(const QString &text, QWidget *parent = nullptr);
};
