#include "openglrender.h"

#include "renderlibrary.h"

#define SYLVANE_EXPORT __attribute__((visibility("default")))

extern "C" {

SYLVANE_EXPORT int Sylvane_initLibrary(void) { return RenderLibrary::instance().loadGl() ? 1 : 0; }
SYLVANE_EXPORT void Sylvane_setDPI(int dpi) { RenderLibrary::instance().setDpi(dpi); }
SYLVANE_EXPORT int Sylvane_setVMIP(const char *address) { return RenderLibrary::instance().setAddress(address); }
SYLVANE_EXPORT int Sylvane_setStreamMode(int mode) { return RenderLibrary::instance().setStreamMode(mode); }

SYLVANE_EXPORT int Sylvane_initOpenGLRenderer(int width, int height, int port, int, int)
{
    return RenderLibrary::instance().start(width, height, port);
}

SYLVANE_EXPORT int Sylvane_FrameBuffer_setupSubWindow(unsigned long windowId, int x, int y, int width, int height,
                                                      float rotation)
{
    return RenderLibrary::instance().setupSubWindow(windowId, x, y, width, height, rotation) ? 1 : 0;
}

SYLVANE_EXPORT void Sylvane_FrameBuffer_removeSubWindow(void) { RenderLibrary::instance().removeSubWindow(); }
SYLVANE_EXPORT void Sylvane_setViewport(int width, int height) { RenderLibrary::instance().setViewport(width, height); }
SYLVANE_EXPORT void Sylvane_scrollViewport(int x, int y) { RenderLibrary::instance().scrollViewport(x, y); }
SYLVANE_EXPORT void Sylvane_repaintOpenGLDisplay(void) { RenderLibrary::instance().repaint(); }
SYLVANE_EXPORT void Sylvane_setOpenGLDisplayRotation(float angle) { RenderLibrary::instance().setRotation(angle); }

SYLVANE_EXPORT void Sylvane_setCallbackRotation(SylvaneRotationCallback callback)
{
    RenderLibrary::instance().setRotationCallback(callback);
}

SYLVANE_EXPORT void Sylvane_setLogo(const unsigned char *rgba, int width, int height)
{
    RenderLibrary::instance().setLogo(rgba, width, height);
}

SYLVANE_EXPORT void Sylvane_setWindowHighlight(bool on) { RenderLibrary::instance().setHighlight(on); }

SYLVANE_EXPORT void Sylvane_registerOGLCallback(SylvaneFrameCallback callback, void *context)
{
    RenderLibrary::instance().setFrameCallback(callback, context);
}

SYLVANE_EXPORT void Sylvane_playScreenshotAnimation(void) { RenderLibrary::instance().playScreenshotAnimation(); }
SYLVANE_EXPORT void Sylvane_shutdown(void) { RenderLibrary::instance().shutdown(); }
}
