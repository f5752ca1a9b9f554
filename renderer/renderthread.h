#pragma once

#include "glfunctions.h"
#include "openglrender.h"
#include "sharedpicture.h"
#include "wakeevent.h"

#include <X11/Xlib.h>

#include <atomic>
#include <future>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

// What the player asks of the picture; written by the API calls, read by the render thread.
struct ViewState {
    std::mutex mutex;
    int viewportWidth = 0; // 0: the whole display
    int viewportHeight = 0;
    int scrollX = 0; // device pixels; x moves the picture right, y moves it up
    int scrollY = 0;
    int rotation = 0; // 0, 90, 180 or 270: the picture turns counter-clockwise by it
    bool highlight = false;
    uint64_t flashStartMicros = 0; // 0: no screenshot flash running
    bool repaintRequested = false; // also hands the picture to the frame callback
    std::vector<uint8_t> logo;     // RGBA
    int logoWidth = 0;
    int logoHeight = 0;
    uint64_t logoGeneration = 0;
};

struct Callbacks {
    // Held while the frame callback runs, so that after unregistering it is no longer called.
    std::recursive_mutex mutex;
    SylvaneFrameCallback frame = nullptr;
    void *context = nullptr;
    std::atomic<SylvaneRotationCallback> rotation{nullptr};
};

// The thread that owns the X connection and the GL context: it creates the subwindow, uploads
// what changed in the device's picture, draws it turned and scaled, runs the overlays, hands
// frames to the frame callback and reports rotations. Everything X and GL happens on it.
class RenderThread
{
public:
    using Acknowledge = std::function<void(uint32_t connection, uint32_t sequence)>;

    RenderThread(GlFunctions &gl, SharedPicture &shared, ViewState &view, Callbacks &callbacks, WakeEvent &wake,
                 Acknowledge acknowledge);
    ~RenderThread();
    RenderThread(const RenderThread &) = delete;
    RenderThread &operator=(const RenderThread &) = delete;

    // Sets up the display connection and GL for a device of that size; 0 or the failure status
    // of Sylvane_initOpenGLRenderer. The thread is gone again after a failure.
    int start(int deviceWidth, int deviceHeight);
    // Removes the subwindow, releases GL and joins; safe to call twice.
    void stop();
    // Creates the subwindow inside parent; false when the parent does not exist or GL fails.
    bool setupWindow(unsigned long parent, int x, int y, int width, int height);
    void removeWindow();
    bool isCurrentThread() const { return std::this_thread::get_id() == thread.get_id(); }

private:
    struct Command;
    struct SubWindow;

    void run(int deviceWidth, int deviceHeight, std::shared_ptr<Command> ready);
    int setupGl(int deviceWidth, int deviceHeight);
    void teardownGl();
    void loop();
    bool runCommand(std::shared_ptr<Command> command);
    void handleCommands();
    bool createWindow(unsigned long parent, int x, int y, int width, int height);
    void destroyWindow();
    void handleXEvents(bool &exposed);
    bool takeFrame();
    void upload(const ScreenStream::Picture &picture);
    void draw(const ViewState &view, uint64_t now);
    void drawPicture(const ViewState &view);
    void drawOverlays(const ViewState &view, uint64_t now);
    void deliverFrame();
    bool flashRunning(const ViewState &view, uint64_t now) const;

    GlFunctions &gl;
    SharedPicture &shared;
    ViewState &view;
    Callbacks &callbacks;
    WakeEvent &wake;
    Acknowledge acknowledge;
    std::thread thread;
    std::atomic<bool> stopping{false};

    std::mutex commandMutex;
    std::shared_ptr<Command> pending;

    // Render thread only.
    int deviceWidth = 0;
    int deviceHeight = 0;
    Display *display = nullptr;
    GLXFBConfig config = nullptr;
    XVisualInfo *visual = nullptr;
    GLXContext context = nullptr;
    GLXPbuffer pbuffer = 0;
    std::unique_ptr<SubWindow> window;
    GLuint texture = 0;
    int textureWidth = 0;
    int textureHeight = 0;
    ScreenStream::Region pendingUpload;
    GLuint logoTexture = 0;
    int logoSize[2] = {0, 0};
    uint64_t logoGeneration = 0;
    uint64_t seenGeneration = 0;
    int reportedOrientation = 0;
    std::vector<uint8_t> scaled;
};
