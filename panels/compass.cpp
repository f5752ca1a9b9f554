#include "compass.h"

#include <QEvent>
#include <QPainter>
#include <QTransform>

Compass::Compass(QWidget *parent)
    : QDial(parent)
    , background(QStringLiteral(":/widgets/gps/boussole_background.svg"))
{
    loadArrow();
}

void Compass::setMaxAngle(double angle)
{
    angleOfMaximum = angle;
    rotatedValue = -1;
    update();
}

void Compass::loadArrow()
{
    arrow = QPixmap(isEnabled() ? QStringLiteral(":/widgets/gps/boussole_arrow.svg")
                                : QStringLiteral(":/widgets/gps/boussole_arrow_disabled.svg"));
    scaledSide = -1;
    rotatedValue = -1;
}

void Compass::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::EnabledChange) {
        loadArrow();
        update();
    }
    QDial::changeEvent(event);
}

void Compass::rescale(int side)
{
    // Never larger than the images were drawn.
    auto fit = [side](const QPixmap &image) {
        if (image.isNull() || (image.width() <= side && image.height() <= side))
            return image;
        return image.scaled(side, side, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    };
    scaledBackground = fit(background);
    scaledArrow = fit(arrow);
    scaledSide = side;
    rotatedValue = -1;
}

void Compass::paintEvent(QPaintEvent *)
{
    const int side = qMin(width(), height());
    if (side != scaledSide)
        rescale(side);
    if (rotatedValue != value() && !scaledArrow.isNull()) {
        const double angle = maximum() > 0 ? angleOfMaximum * value() / maximum() : 0.0;
        const QPixmap turned = scaledArrow.transformed(QTransform().rotate(angle), Qt::SmoothTransformation);
        // Rotation grows the image; crop it back around its centre.
        rotatedArrow = turned.copy((turned.width() - scaledArrow.width()) / 2,
                                   (turned.height() - scaledArrow.height()) / 2, scaledArrow.width(),
                                   scaledArrow.height());
        rotatedValue = value();
    }
    QPainter painter(this);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawPixmap((width() - scaledBackground.width()) / 2, (height() - scaledBackground.height()) / 2,
                       scaledBackground);
    painter.drawPixmap((width() - rotatedArrow.width()) / 2, (height() - rotatedArrow.height()) / 2, rotatedArrow);
}
