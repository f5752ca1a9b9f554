#pragma once

#include "devicehost.h"

#include <QMainWindow>
#include <QPointer>
#include <QMargins>
#include <QRect>
#include <QString>

class CaptureManager;
class DeviceScreen;
class DeviceScreenContainer;
class DeviceToolbar;
class EventManager;
class ProxyEvent;
class RotateEvent;
class VMToolsEngine;
class VMToolsMachine;
class WidgetToolbar;

// The main window: the device's screen in the middle, the event channel as its child.
// Hidden until the start sequence shows it; closing it ends the player with status 0.
class Player : public QMainWindow, public DeviceHost
{
    Q_OBJECT

public:
    // What the best window size depends on, gathered so that the arithmetic can be tested
    // against any desktop.
    struct Desktop
    {
        QRect available;
        QRect full;
        QSize frame;     // decoration: frame size minus window size
        QSize nonScreen; // window size minus screen widget size
    };

    // engine and machine are not owned.
    Player(const QSize &size, int dpi, VMToolsEngine *engine, VMToolsMachine *machine);
    ~Player() override;

    void connectTo(const QString &ip);
    VMToolsMachine *vmMachine() const override { return machine; }
    QString vmName() const;
    QString vmIp() const;
    EventManager *eventManager() const { return events; }
    // The remote control phone's input; the remote panel attaches the phone's socket.
    ProxyEvent *proxyEvent() const { return proxy; }
    DeviceScreen *deviceScreen() const { return screen; }
    DeviceScreenContainer *screenContainer() const { return container; }
    WidgetToolbar *panelsToolbar() const { return widgetToolbar; }
    DeviceToolbar *keysToolbar() const { return deviceToolbar; }
    float rotation() const;
    QString titleBase() const { return title; }

    void toggleFullScreen();
    bool togglePixelPerfect();
    void placeCentered(const QPoint &point);
    void rotate(const RotateEvent &event);

    QSize sizeHint() const override;
    // The window size that shows the device at its best within that desktop.
    static QSize bestSize(const Desktop &desktop, const DeviceScreen &screen);
    // The window rectangle (without its frame) moved as little as needed for the window and
    // its frame to lie on the available area; one larger than the area keeps its top left
    // corner, title bar and status bar visible.
    static QRect keptOnScreen(const QRect &window, const QMargins &frame, const QRect &available);

    // DeviceHost
    QSize deviceDisplaySize() const override;
    float displayRotation() const override { return rotation(); }

signals:
    void playing();
    void playerError(QString message);
    void needViewPortUpdate();
    void aboutToQuit();

public slots:
    void eventManagerError(QString message);
    void eventManagerStarted();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void keyReleaseEvent(QKeyEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    void setToolbarsVisible(bool visible);
    // The decoration around the window; before the window manager has decorated it, the
    // assumed title bar.
    QMargins frameMargins() const;

    VMToolsEngine *engine;
    VMToolsMachine *machine;
    DeviceScreenContainer *container = nullptr;
    DeviceScreen *screen = nullptr;
    EventManager *events = nullptr;
    ProxyEvent *proxy = nullptr;
    // The process has one manager; a window made after another one went gets a new one.
    QPointer<CaptureManager> capture;
    WidgetToolbar *widgetToolbar = nullptr;
    DeviceToolbar *deviceToolbar = nullptr;
    QString title;
};
