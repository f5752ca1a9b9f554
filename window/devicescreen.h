#pragma once

#include <QSize>
#include <QWidget>

class EventManager;
class Player;
class QKeyEvent;
class QScrollBar;

// The widget that carries the device's display. The picture never passes through here:
// the render library draws into a native subwindow of this widget. DeviceScreen keeps that
// subwindow's geometry, the scroll bars of pixel-perfect mode, and the arithmetic between
// widget pixels and device pixels for mouse and wheel input. Main thread only.
class DeviceScreen : public QWidget
{
    Q_OBJECT

public:
    // status() after construction: 0, or LibraryMissing when the GL libraries did not load.
    static constexpr int LibraryMissing = 6;
    // The render library's stream port on the device.
    static constexpr int StreamPort = 25000;

    // size in device pixels of the unrotated display; player is not owned and may be null.
    DeviceScreen(const QSize &size, int dpi, Player *player);

    int status() const { return libraryStatus; }
    // Not owned; input reaches the device only once it is set.
    void setEventManager(EventManager *manager);
    EventManager *eventManagerOf() const { return eventManager; }

    void setRotation(int angle);
    int rotation() const { return static_cast<int>(angle); }
    QSize deviceSize() const { return QSize(deviceWidth, deviceHeight); }
    bool isPixelPerfect() const { return pixelPerfect; }
    bool isRendererReady() const { return rendererReady; }

    // Starts the renderer once; a failure reports and ends the player with status 10.
    void initRenderer();
    // Rebuilds the render subwindow at that size (only while shown and with a renderer);
    // a failure reports and ends the player with status 9.
    void setupSubWindow(int width, int height);
    void setupSubWindow();
    // Returns the new state.
    bool togglePixelPerfect();

    QSize sizeHint() const override;
    int heightForWidth(int width) const override;
    int widthForHeight(int height) const;

    // The viewport arithmetic for a widget of w x h; sets the render viewport and, in
    // pixel-perfect mode, the scroll bars.
    void updateViewport(int w, int h);
    // The part of the device picture last given to the render library, in device pixels.
    QSize viewport() const { return lastViewport; }
    QPoint scrollOffset() const { return QPoint(hOffset, vOffset); }

    // Widget position to unrotated device pixels, in place. True when the point lies on the
    // display; the coordinates are written back in every case.
    bool mapToDevice(int &x, int &y) const;

    // Non-repeated keys go to the device and are accepted; auto-repeats are left for the parent.
    void keyPress(QKeyEvent *event);
    void keyRelease(QKeyEvent *event);

    QScrollBar *horizontalScrollBar() const { return hScrollBar; }
    QScrollBar *verticalScrollBar() const { return vScrollBar; }

    // The report of a renderer start failure for a listed status; false (and nothing shown)
    // for any other status.
    static bool reportRenderError(int status);

signals:
    void needUpdate();

public slots:
    void hScroll(int value);
    void vScroll(int value);
    void updateViewport();

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    bool isTurned() const { return angle == 90.0f || angle == 270.0f; }
    void repaintDisplay();
    // The event's position, rounded, mapped as mapToDevice does.
    bool mapEvent(const QMouseEvent *event, int &x, int &y) const;
    void removeBlackEdges();

    Player *player;
    EventManager *eventManager = nullptr;
    float angle = 0.0f;
    int dpi;
    float scale = 1.0f;
    int deviceWidth;
    int deviceHeight;
    bool mousePressed = false;
    int lastDeviceX = 0;
    int lastDeviceY = 0;
    bool rendererReady = false;
    int libraryStatus = 0;
    QScrollBar *hScrollBar = nullptr;
    QScrollBar *vScrollBar = nullptr;
    int hOffset = 0;
    int vOffset = 0;
    bool inViewportUpdate = false;
    bool pixelPerfect = false;
    QSize lastViewport;
};
