#include "renderlibrary.h"

#include <QtGlobal>

#include <arpa/inet.h>
#include <cmath>

namespace {

constexpr int kMaxLogoSide = 1024;

int quarterTurn(float angle)
{
    if (!std::isfinite(angle))
        return 0;
    const long turns = std::lround(angle / 90.f);
    return int(((turns % 4) + 4) % 4) * 90;
}

} // namespace

RenderLibrary &RenderLibrary::instance()
{
    static RenderLibrary library;
    return library;
}

bool RenderLibrary::loadGl()
{
    std::lock_guard<std::mutex> lock(lifecycle);
    std::string error;
    if (!gl.load(error)) {
        qCritical("[OpenglRender] Cannot load the GL library: %s", error.c_str());
        return false;
    }
    return true;
}

void RenderLibrary::setDpi(int dpi)
{
    // The picture arrives in device pixels; density changes nothing in how it is drawn.
    qDebug("[OpenglRender] Device density %d", dpi);
}

int RenderLibrary::setAddress(const char *text)
{
    in_addr parsed{};
    if (!text || inet_pton(AF_INET, text, &parsed) != 1) {
        qWarning("[OpenglRender] Not an IPv4 address: \"%s\"", text ? text : "");
        return -1;
    }
    std::lock_guard<std::mutex> lock(lifecycle);
    address = text;
    return 0;
}

int RenderLibrary::setStreamMode(int mode)
{
    if (mode != kStreamMode) {
        qWarning("[OpenglRender] Unknown stream mode %d", mode);
        return -1;
    }
    return 0;
}

int RenderLibrary::start(int width, int height, int port)
{
    std::lock_guard<std::mutex> lock(lifecycle);
    if (renderer) {
        if (width == deviceWidth && height == deviceHeight)
            return 0;
        stopLocked();
    }
    if (!gl.isLoaded()) {
        qCritical("[OpenglRender] The GL library is not loaded");
        return 2;
    }
    if (width < 1 || height < 1 || width > ScreenStream::kMaxSide || height > ScreenStream::kMaxSide) {
        qCritical("[OpenglRender] Cannot render a display of %dx%d", width, height);
        return 1;
    }
    if (address.empty() || port < 1 || port > 65535) {
        qCritical("[OpenglRender] No device address to stream from (\"%s\", port %d)", address.c_str(), port);
        return 18;
    }
    {
        std::lock_guard<std::mutex> pictureLock(shared.mutex);
        shared.picture = ScreenStream::Picture();
        shared.dirty.clear();
        shared.generation = 0;
        shared.sequence = 0;
        shared.orientation = 0;
    }
    client = std::make_unique<StreamClient>(shared, [this] { renderWake.wake(); });
    StreamClient *acknowledger = client.get();
    renderer = std::make_unique<RenderThread>(gl, shared, view, callbacks, renderWake,
                                              [acknowledger](uint32_t connection, uint32_t sequence) {
                                                  acknowledger->acknowledge(connection, sequence);
                                              });
    const int status = renderer->start(width, height);
    if (status != 0) {
        renderer.reset();
        client.reset();
        return status;
    }
    if (!client->start(address, uint16_t(port))) {
        qCritical("[OpenglRender] Cannot start the screen stream thread");
        stopLocked();
        return 18;
    }
    deviceWidth = width;
    deviceHeight = height;
    qDebug("[OpenglRender] Renderer started for %dx%d, stream from %s:%d", width, height, address.c_str(), port);
    return 0;
}

bool RenderLibrary::setupSubWindow(unsigned long windowId, int x, int y, int width, int height, float rotation)
{
    std::lock_guard<std::mutex> lock(lifecycle);
    if (!renderer) {
        qWarning("[OpenglRender] No subwindow before the renderer is initialised");
        return false;
    }
    changeView([&] { view.rotation = quarterTurn(rotation); });
    return renderer->setupWindow(windowId, x, y, width, height);
}

void RenderLibrary::removeSubWindow()
{
    std::lock_guard<std::mutex> lock(lifecycle);
    if (renderer)
        renderer->removeWindow();
}

void RenderLibrary::shutdown()
{
    std::lock_guard<std::mutex> lock(lifecycle);
    if (renderer && renderer->isCurrentThread()) {
        qWarning("[OpenglRender] Shutdown from a render callback refused");
        return;
    }
    stopLocked();
}

void RenderLibrary::stopLocked()
{
    // The render thread goes first: it acknowledges frames through the client.
    if (renderer)
        renderer->stop();
    if (client)
        client->stop();
    const bool wasRunning = renderer != nullptr;
    renderer.reset();
    client.reset();
    deviceWidth = deviceHeight = 0;
    if (wasRunning)
        qDebug("[OpenglRender] Renderer stopped");
}

template <typename Change> void RenderLibrary::changeView(Change change)
{
    {
        std::lock_guard<std::mutex> lock(view.mutex);
        change();
    }
    renderWake.wake();
}

void RenderLibrary::setViewport(int width, int height)
{
    changeView([&] {
        view.viewportWidth = std::max(0, width);
        view.viewportHeight = std::max(0, height);
    });
}

void RenderLibrary::scrollViewport(int x, int y)
{
    changeView([&] {
        view.scrollX = x;
        view.scrollY = y;
    });
}

void RenderLibrary::setRotation(float angle)
{
    changeView([&] { view.rotation = quarterTurn(angle); });
}

void RenderLibrary::setHighlight(bool on)
{
    changeView([&] { view.highlight = on; });
}

void RenderLibrary::setLogo(const unsigned char *rgba, int width, int height)
{
    const bool none = !rgba || width < 1 || height < 1;
    if (!none && (width > kMaxLogoSide || height > kMaxLogoSide)) {
        qWarning("[OpenglRender] Refused a logo of %dx%d", width, height);
        return;
    }
    changeView([&] {
        view.logoWidth = none ? 0 : width;
        view.logoHeight = none ? 0 : height;
        view.logo.assign(rgba, none ? rgba : rgba + size_t(width) * size_t(height) * 4);
        ++view.logoGeneration;
    });
}

void RenderLibrary::playScreenshotAnimation()
{
    changeView([&] { view.flashStartMicros = ScreenStream::monotonicMicros(); });
}

void RenderLibrary::repaint()
{
    changeView([&] { view.repaintRequested = true; });
}

void RenderLibrary::setRotationCallback(SylvaneRotationCallback callback)
{
    callbacks.rotation = callback;
}

void RenderLibrary::setFrameCallback(SylvaneFrameCallback callback, void *context)
{
    std::lock_guard<std::recursive_mutex> lock(callbacks.mutex);
    callbacks.frame = callback;
    callbacks.context = callback ? context : nullptr;
}
