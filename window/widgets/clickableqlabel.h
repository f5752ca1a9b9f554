#pragma once

#include <QLabel>

// A label that emits clicked() for a press and a release both on itself, like a button.
class ClickableQLabel : public QLabel
{
    Q_OBJECT

public:
    explicit ClickableQLabel(QWidget *parent = nullptr);

signals:
    void clicked();

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    bool pressed = false;
};
