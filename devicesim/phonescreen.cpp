#include "phonescreen.h"

#include "devicestate.h"

#include <QFont>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QTransform>

using Calderwick::Parameter;

namespace {

const QColor Ink(0xec, 0xef, 0xf4);
const QColor Muted(0x9a, 0xa5, 0xb8);
const QColor CardFill(255, 255, 255, 22);
const QColor Primary(0x4f, 0xc3, 0xf7);
const QColor Multi(0xff, 0xb7, 0x4d);
const QColor Good(0x81, 0xc7, 0x84);
const QColor Bad(0xe5, 0x73, 0x73);

const char *const NetworkModes[] = {"no shaping", "no data", "GPRS", "EDGE", "3G",
                                    "4G", "4G bad DNS", "4G bad network", "Wi-Fi"};

QString networkModeName(int mode)
{
    return mode >= 0 && mode < 9 ? QString::fromLatin1(NetworkModes[mode]) : QStringLiteral("mode %1").arg(mode);
}

} // namespace

PhoneScreen::PhoneScreen(DeviceState *state, QObject *parent)
    : QObject(parent)
    , state(state)
{
    redraw.setSingleShot(true);
    redraw.setInterval(RedrawDelay);
    connect(&redraw, &QTimer::timeout, this, &PhoneScreen::render);
    connect(state, &DeviceState::changed, &redraw, [this] {
        if (!redraw.isActive())
            redraw.start();
    });
    render();
}

QImage PhoneScreen::uprightImage() const
{
    return drawnOrientation == 0 ? picture : picture.transformed(QTransform().rotate(-drawnOrientation));
}

qreal PhoneScreen::dp(qreal value) const
{
    return value * qMax(state->dpi(), 80) / 160.0;
}

void PhoneScreen::render()
{
    const QSize size = state->displaySize().isValid() ? state->displaySize() : QSize(360, 640);
    // The interface is laid out upright for the way the phone is held, then turned into the
    // framebuffer, which keeps the display's own orientation as a real device's does.
    const int orientation = state->orientation();
    const QSize upright = orientation == 90 || orientation == 270 ? size.transposed() : size;
    if (picture.size() != upright)
        picture = QImage(upright, QImage::Format_RGB32);

    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    QLinearGradient background(0, 0, 0, size.height());
    background.setColorAt(0, QColor(0x1b, 0x26, 0x3b));
    background.setColorAt(1, QColor(0x0d, 0x13, 0x1e));
    painter.fillRect(picture.rect(), background);

    drawStatusBar(painter);
    drawCards(painter);
    painter.end();
    if (orientation != 0)
        picture = picture.transformed(QTransform().rotate(orientation));
    drawnOrientation = orientation;

    // Touches arrive in the framebuffer's coordinates: drawn after the turn.
    painter.begin(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    drawTouches(painter);
    painter.end();
    emit changed();
}

void PhoneScreen::drawStatusBar(QPainter &painter)
{
    const qreal height = dp(26);
    const qreal width = picture.width();
    painter.fillRect(QRectF(0, 0, width, height), QColor(0, 0, 0, 90));
    QFont font(QStringLiteral("Lato"));
    font.setPixelSize(qRound(dp(13)));
    painter.setFont(font);

    painter.setPen(Ink);
    const int network = state->value(Parameter::NetworkMode).toInt();
    painter.drawText(QRectF(dp(8), 0, width / 2, height), Qt::AlignVCenter | Qt::AlignLeft,
                     QStringLiteral("devicesim  %1").arg(networkModeName(network)));

    // Battery: outline, fill by level, a bolt when charging, "M" when set by hand.
    const int level = qBound(0, state->value(Parameter::BatteryLevel).toInt(), 100);
    const bool manual = state->value(Parameter::BatteryMode).toBool();
    const QString status = state->value(Parameter::BatteryStatus).toString();
    const QRectF body(width - dp(48), dp(7), dp(24), dp(12));
    painter.setPen(QPen(Ink, dp(1.2)));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(body, dp(2), dp(2));
    painter.fillRect(QRectF(body.right(), body.top() + dp(3), dp(2), dp(6)), Ink);
    const QRectF fill = body.adjusted(dp(2), dp(2), -dp(2), -dp(2));
    painter.fillRect(QRectF(fill.topLeft(), QSizeF(fill.width() * level / 100.0, fill.height())),
                     level <= 15 ? Bad : Good);
    painter.setPen(Ink);
    QString label = QStringLiteral("%1%").arg(level);
    if (status.compare(QLatin1String("charging"), Qt::CaseInsensitive) == 0)
        label.prepend(QStringLiteral("+"));
    if (manual)
        label.prepend(QStringLiteral("M "));
    painter.drawText(QRectF(width / 2, 0, body.left() - width / 2 - dp(6), height),
                     Qt::AlignVCenter | Qt::AlignRight, label);

    // GPS: a filled dot when on, a hollow one when off.
    const bool gps = state->value(Parameter::GpsStatus).toBool();
    painter.setPen(QPen(gps ? Good : Muted, dp(1.5)));
    painter.setBrush(gps ? QBrush(Good) : Qt::NoBrush);
    painter.drawEllipse(QPointF(width / 2, height / 2), dp(4), dp(4));
    painter.setBrush(Qt::NoBrush);
}

void PhoneScreen::drawCards(QPainter &painter)
{
    const qreal margin = dp(10);
    const qreal width = picture.width() - 2 * margin;
    qreal top = dp(26) + margin;

    QFont title(QStringLiteral("Lato"));
    title.setPixelSize(qRound(dp(11)));
    title.setBold(true);
    QFont body(QStringLiteral("Lato"));
    body.setPixelSize(qRound(dp(14)));

    auto card = [&](const QString &heading, const QString &text, int lines) {
        const qreal height = dp(22) + lines * dp(18);
        if (top + height > picture.height())
            return;
        const QRectF box(margin, top, width, height);
        painter.setPen(Qt::NoPen);
        painter.setBrush(CardFill);
        painter.drawRoundedRect(box, dp(8), dp(8));
        painter.setPen(Muted);
        painter.setFont(title);
        painter.drawText(box.adjusted(dp(10), dp(4), -dp(10), 0), Qt::AlignTop | Qt::AlignLeft, heading.toUpper());
        painter.setPen(Ink);
        painter.setFont(body);
        painter.drawText(box.adjusted(dp(10), dp(20), -dp(10), -dp(4)),
                         Qt::AlignTop | Qt::AlignLeft | Qt::TextWrapAnywhere, text);
        top += height + margin;
    };

    const QString typed = state->typedText().right(120);
    card(QStringLiteral("Keyboard"), typed.isEmpty() ? QStringLiteral("-") : typed, 3);
    const QString clipboard = state->value(Parameter::Clipboard).toString();
    card(QStringLiteral("Clipboard"), clipboard.isEmpty() ? QStringLiteral("-") : clipboard.left(120), 2);
    card(QStringLiteral("GPS"),
         QStringLiteral("%1, %2\nalt %3 m  acc %4 m  bearing %5")
             .arg(state->value(Parameter::GpsLatitude).toDouble(), 0, 'g', 10)
             .arg(state->value(Parameter::GpsLongitude).toDouble(), 0, 'g', 10)
             .arg(state->value(Parameter::GpsAltitude).toDouble(), 0, 'g', 10)
             .arg(state->value(Parameter::GpsAccuracy).toDouble(), 0, 'g', 10)
             .arg(state->value(Parameter::GpsBearing).toDouble(), 0, 'g', 10),
         2);
    card(QStringLiteral("Network"),
         QStringLiteral("%1  up %2 kb/s %3 ms %4%  down %5 kb/s %6 ms %7%  dns %8 ms")
             .arg(networkModeName(state->value(Parameter::NetworkMode).toInt()))
             .arg(state->value(Parameter::NetworkUpRate).toInt())
             .arg(state->value(Parameter::NetworkUpDelay).toInt())
             .arg(state->value(Parameter::NetworkUpPktLoss).toDouble())
             .arg(state->value(Parameter::NetworkDownRate).toInt())
             .arg(state->value(Parameter::NetworkDownDelay).toInt())
             .arg(state->value(Parameter::NetworkDownPktLoss).toDouble())
             .arg(state->value(Parameter::NetworkDnsDelay).toInt()),
         2);
    // What the modem received: the call that rings and the last text message, decoded.
    QStringList modem;
    if (!state->ringingNumber().isEmpty())
        modem << QStringLiteral("Incoming call %1 ringing").arg(state->ringingNumber());
    if (!state->smsNumber().isEmpty())
        modem << QStringLiteral("SMS from %1: %2").arg(state->smsNumber(), state->smsText().simplified().left(80));
    card(QStringLiteral("Identity and modem"),
         QStringLiteral("IMEI %1  Android id %2\n%3")
             .arg(state->value(Parameter::DeviceId).toString(), state->value(Parameter::AndroidId).toString(),
                  modem.isEmpty() ? QStringLiteral("no call, no message") : modem.join(QLatin1Char('\n'))),
         modem.size() > 1 ? 3 : 2);

    const qreal side = qMin(width, dp(120));
    if (top + side <= picture.height()) {
        drawOrientation(painter, QRectF(margin, top, width, side));
        top += side + margin;
    }
    const qreal cameraHeight = dp(22) + dp(80);
    if (top + cameraHeight <= picture.height())
        drawCameras(painter, QRectF(margin, top, width, cameraHeight));
}

void PhoneScreen::drawCameras(QPainter &painter, const QRectF &area)
{
    const QString directions[] = {QStringLiteral("front"), QStringLiteral("back")};
    if (state->cameraFrameCount(directions[0]) == 0 && state->cameraFrameCount(directions[1]) == 0)
        return;
    painter.setPen(Qt::NoPen);
    painter.setBrush(CardFill);
    painter.drawRoundedRect(area, dp(8), dp(8));

    QFont font(QStringLiteral("Lato"));
    font.setPixelSize(qRound(dp(11)));
    font.setBold(true);
    painter.setFont(font);
    const qreal slot = (area.width() - dp(30)) / 2;
    for (int i = 0; i < 2; ++i) {
        const QRectF box(area.left() + dp(10) + i * (slot + dp(10)), area.top() + dp(4), slot, area.height() - dp(8));
        const int count = state->cameraFrameCount(directions[i]);
        painter.setPen(Muted);
        const QString name = state->cameraName(directions[i]);
        const QString title = QStringLiteral("%1 %2  %3")
                                  .arg(directions[i].toUpper(), name.isEmpty() ? QStringLiteral("CAMERA") : name)
                                  .arg(count);
        painter.drawText(box, Qt::AlignTop | Qt::AlignLeft | Qt::TextSingleLine,
                         painter.fontMetrics().elidedText(title, Qt::ElideMiddle, int(box.width())));
        const QImage frame = state->cameraFrame(directions[i]);
        if (frame.isNull())
            continue;
        // The newest frame the player delivered, fitted into the card.
        const QRectF picture = box.adjusted(0, dp(18), 0, 0);
        const QSizeF fitted = QSizeF(frame.size()).scaled(picture.size(), Qt::KeepAspectRatio);
        painter.drawImage(QRectF(picture.topLeft(), fitted), frame);
    }
}

void PhoneScreen::drawOrientation(QPainter &painter, const QRectF &area)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(CardFill);
    painter.drawRoundedRect(area, dp(8), dp(8));

    QFont font(QStringLiteral("Lato"));
    font.setPixelSize(qRound(dp(13)));
    painter.setFont(font);
    painter.setPen(Ink);
    const QSize configured = state->configuredSize();
    painter.drawText(area.adjusted(dp(10), dp(6), -dp(10), -dp(6)), Qt::AlignLeft | Qt::AlignTop,
                     QStringLiteral("Orientation %1\u00b0\ng = %2, %3, %4\nDisplay %5x%6")
                         .arg(state->orientation())
                         .arg(state->gravityX(), 0, 'f', 2)
                         .arg(state->gravityY(), 0, 'f', 2)
                         .arg(state->gravityZ(), 0, 'f', 2)
                         .arg(configured.width())
                         .arg(configured.height()));

    // A small phone, turned as the device believes it is held.
    const qreal h = area.height() * 0.7;
    const QPointF centre(area.right() - area.height() * 0.6, area.center().y());
    painter.save();
    painter.translate(centre);
    painter.rotate(-state->orientation());
    painter.setPen(QPen(Primary, dp(2)));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(QRectF(-h * 0.28, -h / 2, h * 0.56, h), dp(6), dp(6));
    painter.drawLine(QPointF(-h * 0.08, h / 2 - dp(6)), QPointF(h * 0.08, h / 2 - dp(6)));
    painter.restore();
}

void PhoneScreen::drawTouches(QPainter &painter)
{
    const QSize configured = state->configuredSize();
    // Touches come in the coordinates of the display the player configured.
    const qreal sx = configured.width() > 0 ? qreal(picture.width()) / configured.width() : 1.0;
    const qreal sy = configured.height() > 0 ? qreal(picture.height()) / configured.height() : 1.0;
    const QVector<DeviceState::Trail> &trails = state->trails();
    for (int i = 0; i < trails.size(); ++i) {
        const DeviceState::Trail &trail = trails.at(i);
        QColor colour = trail.multiTouch ? Multi : Primary;
        colour.setAlphaF(0.35 + 0.65 * (i + 1) / trails.size());
        QPainterPath path;
        for (int p = 0; p < trail.points.size(); ++p) {
            const QPointF point(trail.points.at(p).x() * sx, trail.points.at(p).y() * sy);
            if (p == 0)
                path.moveTo(point);
            else
                path.lineTo(point);
        }
        painter.setPen(QPen(colour, dp(4), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.setBrush(Qt::NoBrush);
        painter.drawPath(path);
        painter.setBrush(colour);
        painter.drawEllipse(path.currentPosition(), dp(5), dp(5));
    }
    const QMap<int, QPoint> touches = state->multiTouchPoints();
    painter.setPen(QPen(Multi, dp(2)));
    painter.setBrush(Qt::NoBrush);
    for (const QPoint &point : touches)
        painter.drawEllipse(QPointF(point.x() * sx, point.y() * sy), dp(18), dp(18));
}
