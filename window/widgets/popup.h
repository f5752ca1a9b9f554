#pragma once

#include <QDialog>

class ClosePopupButton;
class QLabel;

// A frameless dialog with a drawn border, an icon, a title and a light central area, which
// the user moves by dragging its top edge.
class Popup : public QDialog
{
    Q_OBJECT

public:
    explicit Popup(QWidget *parent = nullptr);

    QWidget *centralWidget() const { return central; }
    QLabel *iconLabel() const { return icon; }
    QLabel *titleLabel() const { return title; }
    QWidget *body() const { return bodyWidget; }
    ClosePopupButton *closeButton() const { return closer; }

public slots:
    void done(int result) override;

signals:
    void closed();

protected:
    void resizeEvent(QResizeEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    void layoutBorders();

    // Row-major: Y0X0 Y0X1 Y0X2 Y1X0 Y1X2 Y2X0 Y2X1 Y2X2.
    QLabel *borders[8] = {};
    QWidget *bodyWidget = nullptr;
    QWidget *central = nullptr;
    QLabel *icon = nullptr;
    QLabel *title = nullptr;
    ClosePopupButton *closer = nullptr;
    bool dragging = false;
    int dragOffsetX = 0;
    int dragOffsetY = 0;
};
