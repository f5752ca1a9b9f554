#pragma once

#include <QDial>
#include <QPixmap>

// The bearing dial: a compass rose with an arrow turned to the dial's value. maxAngle is the
// angle of the dial's maximum, so value / maximum * maxAngle is the arrow's angle.
class Compass : public QDial
{
    Q_OBJECT
    Q_PROPERTY(double maxAngle READ maxAngle WRITE setMaxAngle)

public:
    explicit Compass(QWidget *parent = nullptr);

    double maxAngle() const { return angleOfMaximum; }
    void setMaxAngle(double angle);

protected:
    void changeEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void loadArrow();
    void rescale(int side);

    double angleOfMaximum = 360.0;
    QPixmap background;
    QPixmap arrow;
    // The images as drawn at the last side, and the rotated arrow for one value.
    int scaledSide = -1;
    QPixmap scaledBackground;
    QPixmap scaledArrow;
    int rotatedValue = -1;
    QPixmap rotatedArrow;
};
