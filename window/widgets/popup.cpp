#include "popup.h"

#include "closepopupbutton.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QVBoxLayout>

namespace {

constexpr int corner = 13;
constexpr int bodyInset = 40;
constexpr int bottomOverhang = 2;

const struct {
    const char *name;
    const char *picture;
} borderPieces[8] = {
    {"borderY0X0", ":/popup/top_left_corner"},    {"borderY0X1", ":/popup/border_top"},
    {"borderY0X2", ":/popup/top_right_corner"},   {"borderY1X0", ":/popup/border_left"},
    {"borderY1X2", ":/popup/border_right"},       {"borderY2X0", ":/popup/bottom_left_corner"},
    {"borderY2X1", ":/popup/border_bottom"},      {"borderY2X2", ":/popup/bottom_right_corner"},
};

enum Piece { TopLeft, Top, TopRight, Left, Right, BottomLeft, Bottom, BottomRight };

} // namespace

Popup::Popup(QWidget *parent)
    : QDialog(parent, Qt::FramelessWindowHint)
{
    setAttribute(Qt::WA_TranslucentBackground);
    setStyleSheet(QStringLiteral("QWidget#body {background: #1D1D1D;}QLabel#icon {background: #FC0;}"
                                 "QLabel#title {background: #0FC;}QWidget#centralWidget {background: #EAEAEA;}"));

    for (int i = 0; i < 8; ++i) {
        borders[i] = new QLabel(this);
        borders[i]->setObjectName(QLatin1String(borderPieces[i].name));
        borders[i]->setScaledContents(true);
        borders[i]->setPixmap(QPixmap(QLatin1String(borderPieces[i].picture)));
    }

    bodyWidget = new QWidget(this);
    bodyWidget->setObjectName(QStringLiteral("body"));
    bodyWidget->setAttribute(Qt::WA_StyledBackground);
    icon = new QLabel(bodyWidget);
    icon->setObjectName(QStringLiteral("icon"));
    title = new QLabel(bodyWidget);
    title->setObjectName(QStringLiteral("title"));
    central = new QWidget(bodyWidget);
    central->setObjectName(QStringLiteral("centralWidget"));
    central->setAttribute(Qt::WA_StyledBackground);

    auto *heading = new QHBoxLayout;
    heading->addWidget(icon);
    heading->addWidget(title, 1);
    auto *bodyLayout = new QVBoxLayout(bodyWidget);
    bodyLayout->setContentsMargins(20, 20, 20, 20);
    bodyLayout->setSpacing(10);
    bodyLayout->addLayout(heading);
    bodyLayout->addWidget(central, 1);

    closer = new ClosePopupButton(this);
    connect(closer, &QPushButton::clicked, this, &QDialog::close);

    resize(400, 300);
    layoutBorders();
}

void Popup::done(int result)
{
    // Every way out (close button, Escape, accept, reject) passes here.
    QDialog::done(result);
    emit closed();
}

void Popup::resizeEvent(QResizeEvent *event)
{
    QDialog::resizeEvent(event);
    layoutBorders();
}

void Popup::paintEvent(QPaintEvent *)
{
    // The band between the border and the body takes the body's colour; outside stays clear.
    QPainter painter(this);
    painter.fillRect(rect().adjusted(corner, corner, -corner, -corner + bottomOverhang), QColor(0x1D, 0x1D, 0x1D));
}

void Popup::layoutBorders()
{
    const int w = width();
    const int h = height();
    const int bottomY = h - corner + bottomOverhang;
    const int middleW = qMax(0, w - 2 * corner);
    const int middleH = qMax(0, bottomY - corner);

    borders[TopLeft]->setGeometry(0, 0, corner, corner);
    borders[Top]->setGeometry(corner, 0, middleW, corner);
    borders[TopRight]->setGeometry(w - corner, 0, corner, corner);
    borders[Left]->setGeometry(0, corner, corner, middleH);
    borders[Right]->setGeometry(w - corner, corner, corner, middleH);
    borders[BottomLeft]->setGeometry(0, bottomY, corner, corner);
    borders[Bottom]->setGeometry(corner, bottomY, middleW, corner);
    borders[BottomRight]->setGeometry(w - corner, bottomY, corner, corner);

    bodyWidget->setGeometry(rect().adjusted(bodyInset, bodyInset, -bodyInset, -bodyInset));
    closer->move(w - corner - closer->width(), corner);
    closer->raise();
}

void Popup::mousePressEvent(QMouseEvent *event)
{
    const QRect handle(QPoint(0, 0), borders[Top]->size());
    if (event->button() == Qt::LeftButton && handle.contains(event->pos())) {
        dragging = true;
        const QPoint offset = event->globalPos() - frameGeometry().topLeft();
        dragOffsetX = offset.x();
        dragOffsetY = offset.y();
        event->accept();
        return;
    }
    QDialog::mousePressEvent(event);
}

void Popup::mouseMoveEvent(QMouseEvent *event)
{
    if (dragging && (event->buttons() & Qt::LeftButton)) {
        const QPointF target = event->screenPos() - QPointF(dragOffsetX, dragOffsetY);
        move(target.toPoint()); // toPoint rounds half away from zero
        event->accept();
        return;
    }
    QDialog::mouseMoveEvent(event);
}

void Popup::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton)
        dragging = false;
    QDialog::mouseReleaseEvent(event);
}
