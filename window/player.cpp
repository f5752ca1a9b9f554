#include "player.h"

#include "capturemanager.h"
#include "devicescreen.h"
#include "devicescreencontainer.h"
#include "devicetoolbar.h"
#include "eventmanager.h"
#include "messageboxes.h"
#include "openglrender.h"
#include "panelbutton.h"
#include "panelwidget.h"
#include "proxyevent.h"
#include "rotateevent.h"
#include "vmtoolsmachine.h"
#include "widgetscreencast.h"
#include "widgettoolbar.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDebug>
#include <QDesktopWidget>
#include <QGridLayout>
#include <QIcon>
#include <QKeyEvent>
#include <QScreen>
#include <QScrollBar>
#include <QShortcut>

#include <cstdlib>

namespace {

const int AdbPort = 5555;
// Title bar height assumed before the window manager has decorated the window.
const int UnknownTitleBarHeight = 29;
// Taken off a desktop that claims to have no panels at all: it is not believed.
const int UntrustedDesktopMargin = 30;

} // namespace

Player::Player(const QSize &size, int dpi, VMToolsEngine *engine, VMToolsMachine *machine)
    : engine(engine)
    , machine(machine)
{
    const QString name = machine ? machine->name() : QString();
    title = name + QStringLiteral(" (") + QString::number(size.width()) + QStringLiteral("x")
            + QString::number(size.height()) + QStringLiteral(", ") + QString::number(dpi) + QStringLiteral("dpi)");

    setWindowIcon(QIcon(QStringLiteral(":/icon")));
    setStyleSheet(QStringLiteral("background: #000;"));
    setFocusPolicy(Qt::StrongFocus);

    events = new EventManager(this, this);

    capture = CaptureManager::instance(quint32(size.width()), quint32(size.height()), machine, this);
    proxy = new ProxyEvent(this, this);
    widgetToolbar = new WidgetToolbar(this, this);
    addToolBar(Qt::RightToolBarArea, widgetToolbar);
    deviceToolbar = new DeviceToolbar(this, this);
    addToolBar(Qt::RightToolBarArea, deviceToolbar);
    if (PanelButton *button = widgetToolbar->button(QStringLiteral("screencast"))) {
        auto *screencast = qobject_cast<WidgetScreencast *>(button->panel());
        const std::pair<const char *, void (WidgetScreencast::*)()> captureKeys[] = {
            {"Ctrl+Shift+S", &WidgetScreencast::slotButtonScreenshotClicked},
            {"Ctrl+Shift+V", &WidgetScreencast::slotShortcutScreencastActivated},
            {"Ctrl+Shift+E", &WidgetScreencast::slotButtonBrowseClicked}};
        for (const auto &key : captureKeys) {
            auto *shortcut = new QShortcut(QKeySequence(QLatin1String(key.first)), this);
            shortcut->setContext(Qt::ApplicationShortcut);
            if (screencast)
                connect(shortcut, &QShortcut::activated, screencast, key.second);
        }
        // A recording running when the player goes is closed into a whole file.
        if (screencast)
            connect(this, &Player::aboutToQuit, screencast, &WidgetScreencast::onAboutToQuit);
    }
    auto *panelsShortcut = new QShortcut(QKeySequence(QStringLiteral("Ctrl+T")), this);
    panelsShortcut->setContext(Qt::ApplicationShortcut);
    connect(panelsShortcut, &QShortcut::activated, widgetToolbar, &CalderwickToolbar::toogleVisibility);
    auto *keysShortcut = new QShortcut(QKeySequence(QStringLiteral("Ctrl+D")), this);
    keysShortcut->setContext(Qt::ApplicationShortcut);
    connect(keysShortcut, &QShortcut::activated, deviceToolbar, &CalderwickToolbar::toogleVisibility);

    const QString adbAddress = QStringLiteral("%1:%2").arg(machine ? machine->ip() : QString()).arg(AdbPort);
    container = new DeviceScreenContainer(adbAddress, events, this);

    screen = new DeviceScreen(size, dpi, this);
    if (screen->status() == DeviceScreen::LibraryMissing) {
        showError(tr("error.run.virtual.device") + QStringLiteral("<br><br>") + tr("error.opengl.unable.load.libraries")
                  + QStringLiteral("<br><br>") + tr("error.opengl.update.video.card.drivers"));
        fatalExit(6);
        return;
    }

    connect(this, &Player::needViewPortUpdate, screen, qOverload<>(&DeviceScreen::updateViewport),
            Qt::QueuedConnection);

    auto *layout = new QGridLayout(container);
    layout->setSpacing(0);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(screen, 0, 0);
    layout->addWidget(screen->horizontalScrollBar(), 1, 0);
    layout->addWidget(screen->verticalScrollBar(), 0, 1);
    setCentralWidget(container);

    connect(events, &EventManager::started, this, &Player::eventManagerStarted);
    connect(events, &EventManager::error, this, &Player::eventManagerError);
    connect(events, &EventManager::capabilitiesChanged, widgetToolbar, &WidgetToolbar::capabilitiesChanged);
    connect(events, &EventManager::capabilitiesChanged, deviceToolbar, &DeviceToolbar::capabilitiesChanged);

    setWindowTitle(QStringLiteral("Calderwick - ") + title);
}

Player::~Player()
{
    // Panels reach the device through the event manager even as they go (a field in focus
    // finishes its editing when its window hides), so they go before it.
    qDeleteAll(findChildren<PanelWidget *>(QString(), Qt::FindDirectChildrenOnly));
}

void Player::connectTo(const QString &ip)
{
    setWindowTitle(windowTitle() + QStringLiteral(" - ") + ip);
    if (capture)
        capture->setDeviceAddress(ip);
    events->start(ip);
}

QString Player::vmName() const
{
    return machine ? machine->name() : QString();
}

QString Player::vmIp() const
{
    return machine ? machine->ip() : QString();
}

float Player::rotation() const
{
    return screen ? static_cast<float>(screen->rotation()) : 0.0f;
}

QSize Player::deviceDisplaySize() const
{
    return screen ? screen->deviceSize() : QSize();
}

bool Player::togglePixelPerfect()
{
    return screen->togglePixelPerfect();
}

void Player::eventManagerStarted()
{
    if (Sylvane_setStreamMode(4) != 0) {
        qCritical() << "Unable to set stream mode";
        return;
    }
    screen->initRenderer();
    // A renderer that did not start has reported and ended the player already.
    if (!screen->isRendererReady())
        return;
    screen->setEventManager(events);
    emit playing();
}

void Player::eventManagerError(QString message)
{
    emit playerError(message);
}

QSize Player::sizeHint() const
{
    if (!screen)
        return QMainWindow::sizeHint();
    Desktop desktop;
    const QDesktopWidget *desk = QApplication::desktop();
    desktop.available = desk->availableGeometry(this);
    desktop.full = desk->screenGeometry(this);
    desktop.frame = frameSize() - size();
    desktop.nonScreen = size() - screen->size();
    return bestSize(desktop, *screen);
}

QSize Player::bestSize(const Desktop &desktop, const DeviceScreen &screen)
{
    const QRect &avail = desktop.available;
    const QRect &full = desktop.full;
    const int nonScreenW = desktop.nonScreen.width();
    const int nonScreenH = desktop.nonScreen.height();

    int usableH = avail.height();
    if (avail.width() == full.width() && avail.bottom() + full.top() == full.bottom() + avail.top())
        usableH -= UntrustedDesktopMargin;

    const int frameW = desktop.frame.width();
    int frameH = desktop.frame.height();
    if (frameH == 0 && frameW == 0)
        frameH = UnknownTitleBarHeight;

    const int maxH = usableH - frameH - nonScreenH;
    int w = screen.sizeHint().width();
    int h = screen.sizeHint().height();
    if (maxH < h) {
        h = maxH;
        w = screen.widthForHeight(maxH);
    }
    const int maxW = avail.width() - frameW - nonScreenW;
    if (w <= maxW)
        return QSize(w + nonScreenW, h + nonScreenH);
    return QSize(maxW + nonScreenW, screen.heightForWidth(maxW) + nonScreenH);
}

QRect Player::keptOnScreen(const QRect &window, const QMargins &frame, const QRect &available)
{
    QRect outer = window.marginsAdded(frame);
    if (outer.right() > available.right())
        outer.moveRight(available.right());
    if (outer.bottom() > available.bottom())
        outer.moveBottom(available.bottom());
    if (outer.left() < available.left())
        outer.moveLeft(available.left());
    if (outer.top() < available.top())
        outer.moveTop(available.top());
    return outer.marginsRemoved(frame);
}

QMargins Player::frameMargins() const
{
    const QRect outer = frameGeometry();
    const QRect inner = geometry();
    const QMargins frame(inner.left() - outer.left(), inner.top() - outer.top(), outer.right() - inner.right(),
                         outer.bottom() - inner.bottom());
    return frame.isNull() ? QMargins(0, UnknownTitleBarHeight, 0, 0) : frame;
}

void Player::placeCentered(const QPoint &point)
{
    move(point);
    if (QLayout *windowLayout = layout())
        windowLayout->activate();
    show();
    const QSize hint = sizeHint();
    // The point (the start dialog's centre) need not be the screen's: the window is centred
    // on it only as far as it then stays whole on the screen.
    const QRect centred(point.x() - hint.width() / 2, point.y() - hint.height() / 2, hint.width(), hint.height());
    const QScreen *target = QGuiApplication::screenAt(point);
    const QRect available = target ? target->availableGeometry() : QApplication::desktop()->availableGeometry(this);
    setGeometry(keptOnScreen(centred, frameMargins(), available));
}

void Player::setToolbarsVisible(bool visible)
{
    // Both toolbars hide in full screen and come back with the normal window.
    widgetToolbar->setVisible(visible);
    deviceToolbar->setVisible(visible);
}

void Player::toggleFullScreen()
{
    if (!isFullScreen()) {
        setToolbarsVisible(false);
        showFullScreen();
    } else {
        setToolbarsVisible(true);
        showNormal();
        resize(size());
    }
    emit needViewPortUpdate();
}

void Player::rotate(const RotateEvent &event)
{
    const int oldAngle = screen->rotation();
    const int newAngle = static_cast<int>(event.angle());
    screen->setRotation(newAngle);
    if (capture)
        capture->setRotation(newAngle);
    // A phone driving the device maps its touches by the rotation it was last told.
    proxy->sendDisplay();

    if (std::abs(oldAngle - newAngle) % 180 != 90)
        return;
    // The shape changed: the screen widget's width and height change places.
    screen->updateGeometry();
    QScrollBar *hBar = screen->horizontalScrollBar();
    QScrollBar *vBar = screen->verticalScrollBar();
    const int hValue = hBar->value();
    const int vValue = vBar->value();
    const QRect screenRect = screen->geometry();
    const QRect windowRect = geometry();
    if (!isFullScreen()) {
        QRect turned(windowRect.topLeft(), QSize(windowRect.width() - screenRect.width() + screenRect.height(),
                                                 windowRect.height() + screenRect.width() - screenRect.height()));
        // The turned window stays whole on the screen: moved back from the edge it would run
        // over, or, when it is too large for the screen, at the best size the screen allows.
        const QRect available = QApplication::desktop()->availableGeometry(this);
        const QMargins frame = frameMargins();
        const QSize outer = turned.marginsAdded(frame).size();
        if (outer.width() > available.width() || outer.height() > available.height())
            turned.setSize(sizeHint());
        setGeometry(keptOnScreen(turned, frame, available));
    } else {
        screen->setupSubWindow();
    }
    hBar->setValue(vValue);
    vBar->setValue(hValue);
}

void Player::keyPressEvent(QKeyEvent *event)
{
    const Qt::KeyboardModifiers modifiers = event->modifiers();
    if (event->key() == Qt::Key_F11 && (modifiers == Qt::NoModifier || modifiers == Qt::MetaModifier))
        toggleFullScreen();
    // F11 reaches the device as well.
    screen->keyPress(event);
    event->accept();
}

void Player::keyReleaseEvent(QKeyEvent *event)
{
    if (event->isAutoRepeat()) {
        event->ignore();
        return;
    }
    events->keyReleaseEvent(event);
    event->accept();
}

void Player::closeEvent(QCloseEvent *event)
{
    engine = nullptr;
    machine = nullptr;
    event->accept();
    emit aboutToQuit();
    QCoreApplication::exit(0);
}
