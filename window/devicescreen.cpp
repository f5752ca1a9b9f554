#include "devicescreen.h"

#include "eventmanager.h"
#include "messageboxes.h"
#include "openglrender.h"
#include "player.h"

#include <QDebug>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QScrollBar>
#include <QWheelEvent>

#include <cmath>

namespace {

struct RenderErrorKey
{
    int status;
    const char *key;
};

const RenderErrorKey RenderErrorKeys[] = {
    {1, QT_TRANSLATE_NOOP("DeviceScreen", "error.initialize.frame.buffer")},
    {2, QT_TRANSLATE_NOOP("DeviceScreen", "no.egl")},
    {4, QT_TRANSLATE_NOOP("DeviceScreen", "failed.initialize.display")},
    {6, QT_TRANSLATE_NOOP("DeviceScreen", "failed.create.context")},
    {9, QT_TRANSLATE_NOOP("DeviceScreen", "failed.create.pbuffer.context")},
    {10, QT_TRANSLATE_NOOP("DeviceScreen", "failed.create.pbuffer.surface")},
    {11, QT_TRANSLATE_NOOP("DeviceScreen", "failed.initialize.configs")},
    {12, QT_TRANSLATE_NOOP("DeviceScreen", "failed.initialize.gles.configs")},
    {13, QT_TRANSLATE_NOOP("DeviceScreen", "failed.initialize.gles2.configs")},
    {14, QT_TRANSLATE_NOOP("DeviceScreen", "no.egl.image.ext")},
    {15, QT_TRANSLATE_NOOP("DeviceScreen", "no.fb.image")},
    {16, QT_TRANSLATE_NOOP("DeviceScreen", "failed.current")},
    {18, QT_TRANSLATE_NOOP("DeviceScreen", "no.render.server")},
};

// a * b / c in double precision, rounded half away from zero.
int scaledRound(int a, int b, int c)
{
    return c == 0 ? 0 : static_cast<int>(std::round(double(a) * double(b) / double(c)));
}

QScrollBar *makeScrollBar(Qt::Orientation orientation, QWidget *parent)
{
    auto *bar = new QScrollBar(orientation, parent);
    bar->setContextMenuPolicy(Qt::NoContextMenu);
    bar->setSingleStep(1);
    bar->setValue(0);
    bar->hide();
    return bar;
}

} // namespace

DeviceScreen::DeviceScreen(const QSize &size, int dpi, Player *player)
    : QWidget(player)
    , player(player)
    , dpi(dpi)
    , deviceWidth(size.width())
    , deviceHeight(size.height())
{
    // The bars exist in every case, so that a window that is about to report a missing
    // library never meets a null one.
    hScrollBar = makeScrollBar(Qt::Horizontal, this);
    vScrollBar = makeScrollBar(Qt::Vertical, this);
    if (!Sylvane_initLibrary()) {
        qCritical() << "Unable to load OpenGL libraries";
        libraryStatus = LibraryMissing;
        return;
    }
    Sylvane_setDPI(dpi);

    setMouseTracking(true);
    QSizePolicy policy = sizePolicy();
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    // The render library needs an X window of its own to put its subwindow in.
    setAttribute(Qt::WA_NativeWindow, true);
    setAttribute(Qt::WA_DontCreateNativeAncestors, false);
    setMinimumSize(10, 10);

    connect(hScrollBar, &QScrollBar::valueChanged, this, &DeviceScreen::hScroll);
    connect(vScrollBar, &QScrollBar::valueChanged, this, &DeviceScreen::vScroll);
    // Queued: a resize may start inside a layout pass.
    connect(this, &DeviceScreen::needUpdate, this, qOverload<>(&DeviceScreen::updateViewport), Qt::QueuedConnection);
}

void DeviceScreen::setEventManager(EventManager *manager)
{
    eventManager = manager;
}

void DeviceScreen::setRotation(int value)
{
    angle = static_cast<float>(value);
    updateGeometry();
    Sylvane_setOpenGLDisplayRotation(angle);
}

void DeviceScreen::initRenderer()
{
    if (rendererReady)
        return;
    const int result = Sylvane_initOpenGLRenderer(deviceWidth, deviceHeight, StreamPort, 0, 0);
    if (result != 0) {
        qCritical() << "Unable to initialize OpenGL renderer. Status:" << result;
        reportRenderError(result);
        fatalExit(10);
        return;
    }
    rendererReady = true;
    Sylvane_setLogo(nullptr, 0, 0);
}

bool DeviceScreen::reportRenderError(int result)
{
    const char *key = nullptr;
    for (const RenderErrorKey &entry : RenderErrorKeys) {
        if (entry.status == result)
            key = entry.key;
    }
    if (!key)
        return false;
    const QString text = tr(key);
    qCritical() << "Unable to initialize OpenGL render. Details:" << text;
    showError(tr("error.run.virtual.device") + QStringLiteral("<br><br>") + tr("error.opengl.update.video.card.drivers")
              + tr("error.opengl.video.card.supported") + QStringLiteral("<br><br>") + tr("error.opengl.details")
              + text + QStringLiteral(" (") + tr("error.opengl.error") + QString::number(result)
              + QStringLiteral(")"));
    return true;
}

void DeviceScreen::setupSubWindow(int width, int height)
{
    if (!isVisible() || !rendererReady)
        return;
    Sylvane_FrameBuffer_removeSubWindow();
    if (Sylvane_FrameBuffer_setupSubWindow(static_cast<unsigned long>(effectiveWinId()), 0, 0, width, height, angle)) {
        if (!inViewportUpdate)
            updateViewport(width, height);
        return;
    }
    qCritical() << "Unable to initialize subwindow";
    showError(tr("error.run.virtual.device") + QStringLiteral("<br><br>") + tr("error.setup.window"));
    fatalExit(9);
}

void DeviceScreen::setupSubWindow()
{
    setupSubWindow(width(), height());
}

bool DeviceScreen::togglePixelPerfect()
{
    pixelPerfect = !pixelPerfect;
    if (!pixelPerfect) {
        hScrollBar->hide();
        vScrollBar->hide();
        Sylvane_scrollViewport(0, 0);
        hOffset = 0;
        vOffset = 0;
    }
    if (!inViewportUpdate)
        updateViewport(width(), height());
    repaintDisplay();
    return pixelPerfect;
}

QSize DeviceScreen::sizeHint() const
{
    return isTurned() ? QSize(deviceHeight, deviceWidth) : QSize(deviceWidth, deviceHeight);
}

int DeviceScreen::heightForWidth(int width) const
{
    return isTurned() ? scaledRound(deviceWidth, width, deviceHeight) : scaledRound(deviceHeight, width, deviceWidth);
}

int DeviceScreen::widthForHeight(int height) const
{
    return isTurned() ? scaledRound(deviceHeight, height, deviceWidth) : scaledRound(deviceWidth, height, deviceHeight);
}

void DeviceScreen::updateViewport()
{
    setupSubWindow();
}

void DeviceScreen::updateViewport(int w, int h)
{
    inViewportUpdate = true;
    const QSize hint = sizeHint();
    const int hintW = hint.width();
    const int hintH = hint.height();

    if (!pixelPerfect) {
        // The device picture plus the black bands that the window's other proportion leaves.
        const int fitW = widthForHeight(h);
        const int fitH = heightForWidth(w);
        if (h < fitH)
            lastViewport = QSize(fitW > 0 ? w * hintW / fitW : hintW, hintH);
        else
            lastViewport = QSize(hintW, fitH > 0 ? h * hintH / fitH : hintH);
        Sylvane_setViewport(lastViewport.width(), lastViewport.height());
    } else {
        const int barH = hScrollBar->sizeHint().height();
        const int barW = vScrollBar->sizeHint().width();
        // Space that the visible bars take belongs to the screen when deciding afresh.
        if (hScrollBar->isVisible())
            h += barH;
        if (vScrollBar->isVisible())
            w += barW;

        bool needH = false;
        bool needV = false;
        if (hintW <= w && hintH <= h) {
        } else if (hintW <= w) {
            needV = true;
            needH = w < hintW + barW;
        } else if (hintH + barH <= h) {
            needH = true;
        } else {
            needH = true;
            needV = true;
        }
        if (needV)
            w -= barW;
        if (needH)
            h -= barH;
        lastViewport = QSize(w, h);
        Sylvane_setViewport(w, h);

        if (needH) {
            const int d = hintW - w;
            hScrollBar->setRange(d / 2 - d, d / 2);
            hScrollBar->setPageStep(width());
            hScrollBar->show();
        } else {
            hScrollBar->hide();
            hScrollBar->setValue(0);
        }
        if (needV) {
            const int d = hintH - h;
            vScrollBar->setRange(-(d / 2), d - d / 2);
            vScrollBar->setPageStep(height());
            vScrollBar->show();
        } else {
            vScrollBar->hide();
            vScrollBar->setValue(0);
        }
    }
    repaintDisplay();
    inViewportUpdate = false;
}

void DeviceScreen::hScroll(int value)
{
    if (!pixelPerfect)
        return;
    hOffset = -value;
    Sylvane_scrollViewport(hOffset, vOffset);
    repaintDisplay();
}

void DeviceScreen::vScroll(int value)
{
    if (!pixelPerfect)
        return;
    // The library scrolls upwards for positive y: the opposite sign of the horizontal axis.
    vOffset = value;
    Sylvane_scrollViewport(hOffset, vOffset);
    repaintDisplay();
}

bool DeviceScreen::mapToDevice(int &x, int &y) const
{
    const float sw = static_cast<float>(width());
    const float sh = static_cast<float>(height());
    const QSize hint = sizeHint();
    const float w = static_cast<float>(hint.width());
    const float h = static_cast<float>(hint.height());

    const float px = static_cast<float>(x) - sw * 0.5f - static_cast<float>(hOffset);
    const float py = static_cast<float>(y) - sh * 0.5f + static_cast<float>(vOffset);
    float s = 1.0f;
    if (!pixelPerfect)
        s = sh >= static_cast<float>(heightForWidth(width())) ? w / sw : h / sh;
    const int dx = static_cast<int>(std::trunc(w * 0.5f + px * s));
    const int dy = static_cast<int>(std::trunc(h * 0.5f + py * s));

    if (angle == 90.0f) {
        x = deviceWidth - dy;
        y = dx;
    } else if (angle == 180.0f) {
        x = deviceWidth - dx;
        y = deviceHeight - dy;
    } else if (angle == 270.0f) {
        x = dy;
        y = deviceHeight - dx;
    } else {
        x = dx;
        y = dy;
    }
    return x >= 0 && y >= 0 && x < deviceWidth && y < deviceHeight;
}

bool DeviceScreen::mapEvent(const QMouseEvent *event, int &x, int &y) const
{
    x = qRound(event->localPos().x());
    y = qRound(event->localPos().y());
    return mapToDevice(x, y);
}

void DeviceScreen::keyPress(QKeyEvent *event)
{
    if (event->isAutoRepeat() || !eventManager)
        return;
    eventManager->keyPressEvent(event);
    event->accept();
}

void DeviceScreen::keyRelease(QKeyEvent *event)
{
    if (event->isAutoRepeat() || !eventManager)
        return;
    eventManager->keyReleaseEvent(event);
    event->accept();
}

void DeviceScreen::mousePressEvent(QMouseEvent *event)
{
    if (!eventManager)
        return;
    int x = 0;
    int y = 0;
    // Off the display still goes to the device: it decides what a touch outside means.
    mapEvent(event, x, y);
    const bool ctrl = event->modifiers() & Qt::ControlModifier;
    if (event->button() == Qt::LeftButton && !ctrl) {
        eventManager->mousePressEvent(x, y);
        mousePressed = true;
    } else if ((event->button() == Qt::LeftButton && ctrl) || event->button() == Qt::RightButton) {
        eventManager->multitouchPressEvent(x, y, (event->modifiers() & Qt::ShiftModifier) ? 2 : 1);
    } else {
        return;
    }
    event->accept();
}

void DeviceScreen::mouseReleaseEvent(QMouseEvent *event)
{
    if (!eventManager)
        return;
    int x = 0;
    int y = 0;
    mapEvent(event, x, y);
    if (event->button() == Qt::LeftButton) {
        eventManager->mouseReleaseEvent(x, y);
        mousePressed = false;
    } else if (event->button() == Qt::RightButton) {
        eventManager->multitouchReleaseEvent(x, y);
    } else {
        return;
    }
    event->accept();
}

void DeviceScreen::mouseMoveEvent(QMouseEvent *event)
{
    if (!eventManager)
        return;
    int x = 0;
    int y = 0;
    if (mapEvent(event, x, y)) {
        eventManager->mouseMoveEvent(x, y);
        lastDeviceX = x;
        lastDeviceY = y;
    } else if (mousePressed) {
        // A drag leaving the picture ends where it last was on it; mousePressed stays set so
        // that further moves outside repeat the release until the real one comes.
        eventManager->mouseReleaseEvent(lastDeviceX, lastDeviceY);
    }
    event->accept();
}

void DeviceScreen::wheelEvent(QWheelEvent *event)
{
    if (!eventManager)
        return;
    int x = static_cast<int>(event->position().x());
    int y = static_cast<int>(event->position().y());
    mapToDevice(x, y);
    eventManager->wheelEvent(x, y, event->angleDelta().y() != 0 ? event->angleDelta().y() : event->angleDelta().x());
    event->accept();
}

void DeviceScreen::mouseDoubleClickEvent(QMouseEvent *event)
{
    mousePressEvent(event);
    QWidget *window = this->window();
    if (!window || window == this || window->isFullScreen())
        return;
    int x = 0;
    int y = 0;
    if (mapEvent(event, x, y))
        return;
    removeBlackEdges();
}

void DeviceScreen::removeBlackEdges()
{
    QWidget *window = this->window();
    window->showNormal();
    if (pixelPerfect) {
        const QSize device = sizeHint();
        int extraW = width() - device.width();
        int extraH = height() - device.height();
        if (vScrollBar->isVisible())
            extraW += vScrollBar->width();
        if (hScrollBar->isVisible())
            extraH += hScrollBar->height();
        window->resize(window->width() - extraW, window->height() - extraH);
        return;
    }
    int d = height() - heightForWidth(width());
    if (d > 0)
        window->resize(window->width(), window->height() - d);
    d = width() - widthForHeight(height());
    if (d > 0)
        window->resize(window->width() - d, window->height());
}

void DeviceScreen::paintEvent(QPaintEvent *)
{
    repaintDisplay();
    QWidget *barParent = hScrollBar->parentWidget();
    if (hScrollBar->isVisible() && barParent) {
        const int barH = hScrollBar->sizeHint().height();
        hScrollBar->setGeometry(0, barParent->height() - barH + 1, width(), barH);
        hScrollBar->setValue(-hOffset);
    }
    barParent = vScrollBar->parentWidget();
    if (vScrollBar->isVisible() && barParent) {
        const int barW = vScrollBar->sizeHint().width();
        vScrollBar->setGeometry(barParent->width() - barW + 1, 0, barW, height());
        vScrollBar->setValue(vOffset);
    }
}

void DeviceScreen::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    setupSubWindow(width(), height());
}

void DeviceScreen::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    repaintDisplay();
}

void DeviceScreen::repaintDisplay()
{
    if (rendererReady)
        Sylvane_repaintOpenGLDisplay();
}
