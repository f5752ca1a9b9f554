#pragma once

#include <QImage>
#include <QObject>
#include <QTimer>

class DeviceState;
class QPainter;

// An off-screen picture of the simulated phone's display, in device pixels, showing what
// the device received: touches and their trails, typed text, battery, GPS, network,
// clipboard, orientation. Redrawn shortly after each change of the state; changed() then
// tells a viewer (a stream server, a test) to fetch image().
class PhoneScreen : public QObject
{
    Q_OBJECT

public:
    // Pause that gathers a burst of changes into one redraw.
    static constexpr int RedrawDelay = 16;

    explicit PhoneScreen(DeviceState *state, QObject *parent = nullptr);

    // The framebuffer: device pixels in the display's own (unrotated) orientation. While the
    // device is turned, its interface is drawn turned within it.
    QImage image() const { return picture; }
    // What a viewer shows: the framebuffer turned back by the device's orientation.
    QImage uprightImage() const;
    // The orientation image() was drawn for: 0, 90, 180 or 270.
    int orientation() const { return drawnOrientation; }
    // Draws at once, without waiting for the redraw pause.
    void render();
    bool save(const QString &path) const { return picture.save(path, "PNG"); }

signals:
    void changed();

private:
    void drawStatusBar(QPainter &painter);
    void drawCards(QPainter &painter);
    void drawOrientation(QPainter &painter, const QRectF &area);
    void drawCameras(QPainter &painter, const QRectF &area);
    void drawTouches(QPainter &painter);
    qreal dp(qreal value) const;

    DeviceState *state;
    QImage picture;
    int drawnOrientation = 0;
    QTimer redraw;
};
