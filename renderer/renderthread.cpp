// Qt before X11: Xlib's macros break Qt's headers.
#include <QByteArray>
#include <QtGlobal>
#include "renderthread.h"

#include <X11/Xutil.h>
#include <X11/extensions/shape.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <poll.h>
#include <pthread.h>

using namespace ScreenStream;

namespace {

constexpr uint64_t kFlashMicros = 400000;
// BGRA bytes read as one little-endian word: the layout GL drivers store without converting.
constexpr GLenum kPixelType = GL_UNSIGNED_INT_8_8_8_8_REV;
constexpr int kAnimationFrameMs = 16;
constexpr int kHighlightWidth = 3;
constexpr auto kCommandTimeout = std::chrono::seconds(5);
constexpr auto kParentRetryDelay = std::chrono::milliseconds(100);

// Xlib reports errors through one process-wide handler. Errors on the renderer's own
// connection (a parent window that vanished, a drawable gone with it) are expected and
// only noted; everything else goes to whoever handled errors before.
std::atomic<Display *> rendererDisplay{nullptr};
std::atomic<int> lastXError{0};
XErrorHandler previousHandler = nullptr;
std::once_flag handlerInstalled;

int onXError(Display *display, XErrorEvent *event)
{
    if (display == rendererDisplay.load()) {
        lastXError = event->error_code;
        return 0;
    }
    return previousHandler ? previousHandler(display, event) : 0;
}

// X errors arrive asynchronously; a round trip makes those of the calls so far visible.
bool syncedWithoutError(Display *display)
{
    XSync(display, False);
    return lastXError.exchange(0) == 0;
}

} // namespace

struct RenderThread::Command {
    enum Kind { Setup, Remove } kind = Setup;
    unsigned long parent = 0;
    int x = 0, y = 0, width = 0, height = 0;
    std::promise<int> result;
};

struct RenderThread::SubWindow {
    ::Window id = 0;
    GLXWindow glx = 0;
    Colormap colormap = 0;
    int width = 0;
    int height = 0;
    bool gone = false; // destroyed with its parent
};

RenderThread::RenderThread(GlFunctions &gl, SharedPicture &shared, ViewState &view, Callbacks &callbacks,
                           WakeEvent &wake, Acknowledge acknowledge)
    : gl(gl), shared(shared), view(view), callbacks(callbacks), wake(wake), acknowledge(std::move(acknowledge))
{
}

RenderThread::~RenderThread()
{
    stop();
}

int RenderThread::start(int width, int height)
{
    if (thread.joinable())
        return 0;
    stopping = false;
    auto ready = std::make_shared<Command>();
    std::future<int> status = ready->result.get_future();
    thread = std::thread(&RenderThread::run, this, width, height, ready);
    const int result = status.get();
    if (result != 0)
        thread.join();
    return result;
}

void RenderThread::stop()
{
    if (!thread.joinable())
        return;
    stopping = true;
    wake.wake();
    thread.join();
}

bool RenderThread::runCommand(std::shared_ptr<Command> command)
{
    if (!thread.joinable())
        return false;
    std::future<int> result = command->result.get_future();
    {
        std::lock_guard<std::mutex> lock(commandMutex);
        pending = command;
    }
    wake.wake();
    if (result.wait_for(kCommandTimeout) != std::future_status::ready) {
        qWarning("[OpenglRender] The render thread did not answer in time");
        return false;
    }
    return result.get() != 0;
}

bool RenderThread::setupWindow(unsigned long parent, int x, int y, int width, int height)
{
    auto command = std::make_shared<Command>();
    command->kind = Command::Setup;
    command->parent = parent;
    command->x = x;
    command->y = y;
    command->width = width;
    command->height = height;
    return runCommand(command);
}

void RenderThread::removeWindow()
{
    auto command = std::make_shared<Command>();
    command->kind = Command::Remove;
    runCommand(command);
}

void RenderThread::run(int width, int height, std::shared_ptr<Command> ready)
{
    const int status = setupGl(width, height);
    // Named only now: threads the GL driver starts meanwhile would inherit the name.
    pthread_setname_np(pthread_self(), "sylvane-render");
    if (status != 0) {
        teardownGl();
        ready->result.set_value(status);
        return;
    }
    ready->result.set_value(0);
    loop();
    teardownGl();
}

int RenderThread::setupGl(int width, int height)
{
    deviceWidth = width;
    deviceHeight = height;
    std::call_once(handlerInstalled, [] { previousHandler = XSetErrorHandler(onXError); });
    display = XOpenDisplay(nullptr);
    if (!display) {
        qCritical("[OpenglRender] Cannot open the X display \"%s\"", qgetenv("DISPLAY").constData());
        return 4;
    }
    rendererDisplay = display;
    int errorBase = 0, eventBase = 0, major = 0, minor = 0;
    if (!gl.glXQueryExtension(display, &errorBase, &eventBase) || !gl.glXQueryVersion(display, &major, &minor)
        || major < 1 || (major == 1 && minor < 3)) {
        qCritical("[OpenglRender] The X server offers no GLX 1.3");
        return 2;
    }
    const int attributes[] = {GLX_X_RENDERABLE, True, GLX_DRAWABLE_TYPE, GLX_WINDOW_BIT | GLX_PBUFFER_BIT,
                              GLX_RENDER_TYPE, GLX_RGBA_BIT, GLX_RED_SIZE, 8, GLX_GREEN_SIZE, 8, GLX_BLUE_SIZE, 8,
                              GLX_DOUBLEBUFFER, True, None};
    int count = 0;
    GLXFBConfig *configs = gl.glXChooseFBConfig(display, DefaultScreen(display), attributes, &count);
    // A visual of the screen's own depth keeps the subwindow like its parent, also for
    // anyone reading the parent's pixels back.
    for (int i = 0; i < count && !visual; ++i) {
        XVisualInfo *candidate = gl.glXGetVisualFromFBConfig(display, configs[i]);
        if (candidate && (candidate->depth == DefaultDepth(display, DefaultScreen(display)) || i == count - 1)) {
            config = configs[i];
            visual = candidate;
        } else if (candidate) {
            XFree(candidate);
        }
    }
    if (configs)
        XFree(configs);
    if (!visual) {
        qCritical("[OpenglRender] No double-buffered RGB frame buffer configuration");
        return 11;
    }
    context = gl.glXCreateNewContext(display, config, GLX_RGBA_TYPE, nullptr, True);
    if (!context || !syncedWithoutError(display)) {
        qCritical("[OpenglRender] Cannot create a GL context");
        return 6;
    }
    const int pbufferAttributes[] = {GLX_PBUFFER_WIDTH, 1, GLX_PBUFFER_HEIGHT, 1, None};
    pbuffer = gl.glXCreatePbuffer(display, config, pbufferAttributes);
    if (!pbuffer || !syncedWithoutError(display)) {
        qCritical("[OpenglRender] Cannot create a GL pixel buffer");
        return 10;
    }
    if (!gl.glXMakeContextCurrent(display, pbuffer, pbuffer, context)) {
        qCritical("[OpenglRender] Cannot make the GL context current");
        return 16;
    }
    GLint maxTexture = 0;
    gl.glGetIntegerv(GL_MAX_TEXTURE_SIZE, &maxTexture);
    if (maxTexture < std::max(width, height)) {
        qCritical("[OpenglRender] Textures of %dx%d exceed this GL's limit of %d", width, height, int(maxTexture));
        return 15;
    }
    gl.glGenTextures(1, &texture);
    gl.glGenTextures(1, &logoTexture);
    qDebug("[OpenglRender] Rendering %dx%d with %s", width, height,
           reinterpret_cast<const char *>(gl.glGetString(GL_RENDERER)));
    return 0;
}

void RenderThread::teardownGl()
{
    if (!display)
        return;
    destroyWindow();
    if (context) {
        if (texture)
            gl.glDeleteTextures(1, &texture);
        if (logoTexture)
            gl.glDeleteTextures(1, &logoTexture);
        gl.glXMakeContextCurrent(display, None, None, nullptr);
        gl.glXDestroyContext(display, context);
    }
    if (pbuffer)
        gl.glXDestroyPbuffer(display, pbuffer);
    if (visual)
        XFree(visual);
    XSync(display, False);
    rendererDisplay = nullptr;
    XCloseDisplay(display);
    display = nullptr;
    context = nullptr;
    pbuffer = 0;
    visual = nullptr;
    config = nullptr;
    texture = logoTexture = 0;
    textureWidth = textureHeight = 0;
}

void RenderThread::loop()
{
    const int xfd = ConnectionNumber(display);
    bool woken = true;
    bool animated = false;
    while (!stopping) {
        bool exposed = false;
        handleXEvents(exposed);
        handleCommands();
        const bool fresh = takeFrame();

        ViewState snapshot;
        {
            std::lock_guard<std::mutex> lock(view.mutex);
            snapshot.viewportWidth = view.viewportWidth;
            snapshot.viewportHeight = view.viewportHeight;
            snapshot.scrollX = view.scrollX;
            snapshot.scrollY = view.scrollY;
            snapshot.rotation = view.rotation;
            snapshot.highlight = view.highlight;
            snapshot.flashStartMicros = view.flashStartMicros;
            snapshot.repaintRequested = view.repaintRequested;
            view.repaintRequested = false;
            if (view.logoGeneration != logoGeneration) {
                snapshot.logo = view.logo;
                snapshot.logoWidth = view.logoWidth;
                snapshot.logoHeight = view.logoHeight;
                snapshot.logoGeneration = view.logoGeneration;
            }
        }
        const uint64_t now = monotonicMicros();
        const bool animating = flashRunning(snapshot, now);
        // One more picture after an animation ends, so that none of it stays behind.
        if (window && !window->gone && (fresh || woken || exposed || animating || animated))
            draw(snapshot, now);
        animated = animating;
        if (fresh || snapshot.repaintRequested)
            deliverFrame();
        if (fresh) {
            uint32_t connection = 0, sequence = 0;
            {
                std::lock_guard<std::mutex> lock(shared.mutex);
                connection = shared.connection;
                sequence = shared.sequence;
            }
            acknowledge(connection, sequence);
        }

        XFlush(display);
        if (XPending(display) > 0) {
            woken = false;
            continue;
        }
        pollfd fds[2] = {{xfd, POLLIN, 0}, {wake.descriptor(), POLLIN, 0}};
        poll(fds, 2, animating ? kAnimationFrameMs : -1);
        woken = fds[1].revents != 0;
        if (woken)
            wake.drain();
    }
}

void RenderThread::handleCommands()
{
    std::shared_ptr<Command> command;
    {
        std::lock_guard<std::mutex> lock(commandMutex);
        command.swap(pending);
    }
    if (!command)
        return;
    if (command->kind == Command::Remove) {
        destroyWindow();
        command->result.set_value(1);
        return;
    }
    destroyWindow();
    bool created = createWindow(command->parent, command->x, command->y, command->width, command->height);
    if (!created) {
        // The parent may have been made on another X connection that has not flushed yet.
        std::this_thread::sleep_for(kParentRetryDelay);
        created = createWindow(command->parent, command->x, command->y, command->width, command->height);
    }
    command->result.set_value(created);
}

bool RenderThread::createWindow(unsigned long parent, int x, int y, int width, int height)
{
    if (width < 1 || height < 1 || width > 32767 || height > 32767) {
        qWarning("[OpenglRender] Refused a subwindow of %dx%d", width, height);
        return false;
    }
    lastXError = 0;
    auto created = std::make_unique<SubWindow>();
    const ::Window root = RootWindow(display, visual->screen);
    created->colormap = XCreateColormap(display, root, visual->visual, AllocNone);
    XSetWindowAttributes attributes{};
    attributes.colormap = created->colormap;
    attributes.border_pixel = 0;
    attributes.background_pixmap = None;
    attributes.event_mask = ExposureMask | StructureNotifyMask;
    created->id = XCreateWindow(display, parent, x, y, unsigned(width), unsigned(height), 0, visual->depth,
                                InputOutput, visual->visual, CWColormap | CWBorderPixel | CWBackPixmap | CWEventMask,
                                &attributes);
    created->width = width;
    created->height = height;
    // The picture must not take the pointer: clicks belong to the player's widget beneath.
    int shapeEvent = 0, shapeError = 0;
    if (XShapeQueryExtension(display, &shapeEvent, &shapeError))
        XShapeCombineRectangles(display, created->id, ShapeInput, 0, 0, nullptr, 0, ShapeSet, YXBanded);
    XMapWindow(display, created->id);
    if (!syncedWithoutError(display)) {
        qWarning("[OpenglRender] Cannot create a subwindow in window 0x%lx", parent);
        XDestroyWindow(display, created->id);
        XFreeColormap(display, created->colormap);
        syncedWithoutError(display);
        return false;
    }
    created->glx = gl.glXCreateWindow(display, config, created->id, nullptr);
    if (!created->glx || !syncedWithoutError(display)
        || !gl.glXMakeContextCurrent(display, created->glx, created->glx, context)) {
        qWarning("[OpenglRender] Cannot draw with GL into a subwindow of window 0x%lx", parent);
        window = std::move(created);
        destroyWindow();
        return false;
    }
    window = std::move(created);
    // The texture kept its content, but a new window is a good moment to be sure of it.
    pendingUpload.clear();
    pendingUpload.add(Rect{0, 0, textureWidth, textureHeight});
    qDebug("[OpenglRender] Subwindow 0x%lx of %dx%d in window 0x%lx", window->id, width, height, parent);
    return true;
}

void RenderThread::destroyWindow()
{
    if (!window)
        return;
    gl.glXMakeContextCurrent(display, pbuffer, pbuffer, context);
    if (window->glx)
        gl.glXDestroyWindow(display, window->glx);
    if (!window->gone)
        XDestroyWindow(display, window->id);
    XFreeColormap(display, window->colormap);
    syncedWithoutError(display);
    window.reset();
}

void RenderThread::handleXEvents(bool &exposed)
{
    while (XPending(display) > 0) {
        XEvent event;
        XNextEvent(display, &event);
        if (!window || event.xany.window != window->id)
            continue;
        switch (event.type) {
        case Expose:
            exposed = true;
            break;
        case ConfigureNotify:
            window->width = event.xconfigure.width;
            window->height = event.xconfigure.height;
            exposed = true;
            break;
        case DestroyNotify:
            window->gone = true;
            break;
        default:
            break;
        }
    }
}

bool RenderThread::takeFrame()
{
    int orientation = 0;
    bool fresh = false;
    {
        std::lock_guard<std::mutex> lock(shared.mutex);
        if (shared.generation != seenGeneration) {
            fresh = true;
            seenGeneration = shared.generation;
            orientation = shared.orientation;
            pendingUpload.add(shared.dirty);
            shared.dirty.clear();
        }
        // Without a window there is nothing to draw on; what changed meanwhile is uploaded as
        // soon as one exists, not with the next frame: a rotation rebuilds the subwindow just
        // as the turned picture arrives, and the device may send nothing more for a long time.
        if (window && !window->gone && (fresh || !pendingUpload.isEmpty()))
            upload(shared.picture);
    }
    if (!fresh)
        return false;
    if (orientation != reportedOrientation) {
        reportedOrientation = orientation;
        if (SylvaneRotationCallback callback = callbacks.rotation.load())
            callback(float(orientation));
    }
    return true;
}

void RenderThread::upload(const Picture &picture)
{
    if (picture.width == 0)
        return;
    gl.glBindTexture(GL_TEXTURE_2D, texture);
    if (textureWidth != picture.width || textureHeight != picture.height) {
        gl.glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, picture.width, picture.height, 0, GL_BGRA, kPixelType, nullptr);
        gl.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
        gl.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
        textureWidth = picture.width;
        textureHeight = picture.height;
        pendingUpload.clear();
        pendingUpload.add(Rect{0, 0, picture.width, picture.height});
    }
    if (pendingUpload.isEmpty())
        return;
    gl.glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    gl.glPixelStorei(GL_UNPACK_ROW_LENGTH, picture.width);
    for (const Rect &r : pendingUpload.rects()) {
        gl.glPixelStorei(GL_UNPACK_SKIP_PIXELS, r.x);
        gl.glPixelStorei(GL_UNPACK_SKIP_ROWS, r.y);
        gl.glTexSubImage2D(GL_TEXTURE_2D, 0, r.x, r.y, r.width, r.height, GL_BGRA, kPixelType, picture.pixels.data());
    }
    pendingUpload.clear();
    gl.glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
    gl.glPixelStorei(GL_UNPACK_SKIP_PIXELS, 0);
    gl.glPixelStorei(GL_UNPACK_SKIP_ROWS, 0);
}

bool RenderThread::flashRunning(const ViewState &state, uint64_t now) const
{
    return state.flashStartMicros != 0 && now - state.flashStartMicros < kFlashMicros;
}

void RenderThread::draw(const ViewState &state, uint64_t now)
{
    gl.glViewport(0, 0, window->width, window->height);
    gl.glClearColor(0.f, 0.f, 0.f, 1.f);
    gl.glClear(GL_COLOR_BUFFER_BIT);
    if (textureWidth > 0)
        drawPicture(state);
    drawOverlays(state, now);
    gl.glXSwapBuffers(display, window->glx);
}

void RenderThread::drawPicture(const ViewState &state)
{
    const bool turned = state.rotation == 90 || state.rotation == 270;
    const int displayWidth = turned ? deviceHeight : deviceWidth;
    const int displayHeight = turned ? deviceWidth : deviceHeight;
    const int viewWidth = state.viewportWidth > 0 ? state.viewportWidth : displayWidth;
    const int viewHeight = state.viewportHeight > 0 ? state.viewportHeight : displayHeight;
    // The visible part of the display, in display pixels with y downwards.
    const double left = (displayWidth - viewWidth) / 2 - state.scrollX;
    const double top = (displayHeight - viewHeight) / 2 + state.scrollY;
    gl.glMatrixMode(GL_PROJECTION);
    gl.glLoadIdentity();
    gl.glOrtho(left, left + viewWidth, top + viewHeight, top, -1.0, 1.0);
    gl.glMatrixMode(GL_MODELVIEW);
    gl.glLoadIdentity();

    gl.glEnable(GL_TEXTURE_2D);
    gl.glBindTexture(GL_TEXTURE_2D, texture);
    gl.glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
    // One picture pixel per screen pixel is copied exactly; any other scale is smoothed.
    const bool exact = viewWidth == window->width && viewHeight == window->height && textureWidth == deviceWidth
                       && textureHeight == deviceHeight;
    const GLint filter = exact ? GL_NEAREST : GL_LINEAR;
    gl.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, filter);
    gl.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, filter);

    // Each corner of the display takes the device pixel that lands there after the turn.
    const float corners[4][2] = {{0.f, 0.f},
                                 {float(displayWidth), 0.f},
                                 {float(displayWidth), float(displayHeight)},
                                 {0.f, float(displayHeight)}};
    gl.glBegin(GL_QUADS);
    for (const auto &corner : corners) {
        const float X = corner[0];
        const float Y = corner[1];
        float dx = X, dy = Y;
        switch (state.rotation) {
        case 90:
            dx = float(deviceWidth) - Y;
            dy = X;
            break;
        case 180:
            dx = float(deviceWidth) - X;
            dy = float(deviceHeight) - Y;
            break;
        case 270:
            dx = Y;
            dy = float(deviceHeight) - X;
            break;
        default:
            break;
        }
        gl.glTexCoord2f(dx / float(deviceWidth), dy / float(deviceHeight));
        gl.glVertex2f(X, Y);
    }
    gl.glEnd();
    gl.glDisable(GL_TEXTURE_2D);
}

void RenderThread::drawOverlays(const ViewState &state, uint64_t now)
{
    const float w = float(window->width);
    const float h = float(window->height);
    gl.glMatrixMode(GL_PROJECTION);
    gl.glLoadIdentity();
    gl.glOrtho(0.0, w, h, 0.0, -1.0, 1.0);
    gl.glMatrixMode(GL_MODELVIEW);
    gl.glLoadIdentity();
    gl.glEnable(GL_BLEND);
    gl.glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);

    if (state.logoGeneration != logoGeneration) {
        logoGeneration = state.logoGeneration;
        gl.glBindTexture(GL_TEXTURE_2D, logoTexture);
        gl.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        gl.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
        gl.glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
        gl.glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, state.logoWidth, state.logoHeight, 0, GL_RGBA, GL_UNSIGNED_BYTE,
                        state.logo.empty() ? nullptr : state.logo.data());
        logoSize[0] = state.logoWidth;
        logoSize[1] = state.logoHeight;
    }
    if (logoSize[0] > 0) {
        // In the bottom right corner, at its own size.
        const float x0 = w - float(logoSize[0]);
        const float y0 = h - float(logoSize[1]);
        gl.glEnable(GL_TEXTURE_2D);
        gl.glBindTexture(GL_TEXTURE_2D, logoTexture);
        gl.glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
        gl.glBegin(GL_QUADS);
        gl.glTexCoord2f(0.f, 0.f);
        gl.glVertex2f(x0, y0);
        gl.glTexCoord2f(1.f, 0.f);
        gl.glVertex2f(w, y0);
        gl.glTexCoord2f(1.f, 1.f);
        gl.glVertex2f(w, h);
        gl.glTexCoord2f(0.f, 1.f);
        gl.glVertex2f(x0, h);
        gl.glEnd();
        gl.glDisable(GL_TEXTURE_2D);
    }

    auto fill = [this](float x0, float y0, float x1, float y1) {
        gl.glBegin(GL_QUADS);
        gl.glVertex2f(x0, y0);
        gl.glVertex2f(x1, y0);
        gl.glVertex2f(x1, y1);
        gl.glVertex2f(x0, y1);
        gl.glEnd();
    };
    if (state.highlight) {
        const float b = float(kHighlightWidth);
        gl.glColor4f(0.2f, 0.6f, 1.f, 1.f);
        fill(0.f, 0.f, w, b);
        fill(0.f, h - b, w, h);
        fill(0.f, b, b, h - b);
        fill(w - b, b, w, h - b);
    }
    if (flashRunning(state, now)) {
        const float progress = float(now - state.flashStartMicros) / float(kFlashMicros);
        gl.glColor4f(1.f, 1.f, 1.f, 0.9f * (1.f - progress));
        fill(0.f, 0.f, w, h);
    }
    gl.glColor4f(1.f, 1.f, 1.f, 1.f);
    gl.glDisable(GL_BLEND);
}

void RenderThread::deliverFrame()
{
    std::lock_guard<std::recursive_mutex> callbackLock(callbacks.mutex);
    if (!callbacks.frame)
        return;
    std::lock_guard<std::mutex> lock(shared.mutex);
    Picture &picture = shared.picture;
    if (picture.width == 0)
        return;
    uint8_t *pixels = picture.pixels.data();
    // Consumers count on frames of the device's size; a stream of another size is scaled.
    if (picture.width != deviceWidth || picture.height != deviceHeight) {
        scaled.resize(size_t(deviceWidth) * size_t(deviceHeight) * 4);
        for (int y = 0; y < deviceHeight; ++y) {
            const uint8_t *source = picture.row(int(int64_t(y) * picture.height / deviceHeight));
            uint8_t *row = scaled.data() + size_t(y) * size_t(deviceWidth) * 4;
            for (int x = 0; x < deviceWidth; ++x)
                std::memcpy(row + 4 * x, source + 4 * (int64_t(x) * picture.width / deviceWidth), 4);
        }
        pixels = scaled.data();
    }
    callbacks.frame(callbacks.context, deviceWidth, deviceHeight, 1, GL_BGRA, GL_UNSIGNED_BYTE, pixels);
}
