#pragma once

#include "glfunctions.h"
#include "openglrender.h"
#include "renderthread.h"
#include "sharedpicture.h"
#include "streamclient.h"
#include "wakeevent.h"

#include <memory>
#include <mutex>
#include <string>

// The state behind the C entry points: one per process. Lifecycle calls (start, subwindow,
// shutdown) are serialised; view settings and callbacks may come from any thread at any
// time, also before start and after shutdown, and are kept for the next start.
class RenderLibrary
{
public:
    static RenderLibrary &instance();

    bool loadGl();
    void setDpi(int dpi);
    int setAddress(const char *address);
    int setStreamMode(int mode);
    int start(int width, int height, int port);
    bool setupSubWindow(unsigned long windowId, int x, int y, int width, int height, float rotation);
    void removeSubWindow();
    void shutdown();

    void setViewport(int width, int height);
    void scrollViewport(int x, int y);
    void setRotation(float angle);
    void setHighlight(bool on);
    void setLogo(const unsigned char *rgba, int width, int height);
    void playScreenshotAnimation();
    void repaint();
    void setRotationCallback(SylvaneRotationCallback callback);
    void setFrameCallback(SylvaneFrameCallback callback, void *context);

    // The only stream mode: changed rectangles, LZ4-compressed.
    static constexpr int kStreamMode = 4;

private:
    RenderLibrary() = default;
    void stopLocked();
    // Runs change under the view lock, then wakes the render thread.
    template <typename Change> void changeView(Change change);

    std::mutex lifecycle;
    GlFunctions gl;
    std::string address;
    int deviceWidth = 0;
    int deviceHeight = 0;

    SharedPicture shared;
    ViewState view;
    Callbacks callbacks;
    WakeEvent renderWake;
    std::unique_ptr<StreamClient> client;
    std::unique_ptr<RenderThread> renderer;
};
