#include "spinner.h"

#include <QDebug>
#include <QTimer>
#include <QTransform>

namespace {
// One turn of 5 degrees per tick: a full turn in 0.72 s.
constexpr int tickMs = 10;
constexpr int stepDegrees = 5;
} // namespace

Spinner::Spinner(int size, QWidget *parent)
    : QLabel(parent)
    , timer(new QTimer(this))
    , spinnerSize(size)
{
    spinnerPixmap = scaledPicture(QStringLiteral(":/picto/spinner"));
    timer->setInterval(tickMs);
    connect(timer, &QTimer::timeout, this, &Spinner::rotate);
    setFixedSize(size, size);
    setAlignment(Qt::AlignCenter);
    hide();
}

bool Spinner::isSpinning() const
{
    return timer->isActive();
}

void Spinner::setInProgress()
{
    setToolTip(QString());
    timer->start();
    rotate();
}

void Spinner::setSuccess()
{
    timer->stop();
    setPixmap(scaledPicture(QStringLiteral(":/picto/check")));
}

void Spinner::setError(QString errorString)
{
    timer->stop();
    setPixmap(scaledPicture(errorPicture));
    setToolTip(errorString);
}

void Spinner::hide()
{
    timer->stop();
    setPixmap(QPixmap());
    setToolTip(QString());
}

void Spinner::rotate()
{
    angle = (angle + stepDegrees) % 360;
    if (spinnerPixmap.isNull())
        return;
    const QPixmap turned = spinnerPixmap.transformed(QTransform().rotate(angle), Qt::SmoothTransformation);
    // The turned picture is larger; its centre, cut to the original size, keeps the label steady.
    const QRect centre((turned.width() - spinnerPixmap.width()) / 2,
                       (turned.height() - spinnerPixmap.height()) / 2, spinnerPixmap.width(), spinnerPixmap.height());
    setPixmap(turned.copy(centre));
}

QPixmap Spinner::scaledPicture(const QString &path) const
{
    const QPixmap picture(path);
    if (picture.isNull()) {
        qWarning() << "[Spinner] missing picture" << path;
        return picture;
    }
    return picture.scaledToHeight(spinnerSize, Qt::SmoothTransformation);
}
