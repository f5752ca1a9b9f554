#include "openglrender.h"

#include <cstdio>

// The drawing side of the library is not written yet. Until it is, every entry point
// says so on standard error and reports failure wherever its caller can see a result,
// so that the player takes its documented failure paths instead of showing a blank screen.
namespace {
void notImplemented(const char *function)
{
    std::fprintf(stderr, "[OpenglRender] %s: not implemented yet\n", function);
}
}

extern "C" {

int Sylvane_initLibrary(void) { notImplemented(__func__); return 0; }
void Sylvane_setDPI(int) { notImplemented(__func__); }
int Sylvane_setVMIP(const char *) { notImplemented(__func__); return -1; }
int Sylvane_setStreamMode(int) { notImplemented(__func__); return -1; }
int Sylvane_initOpenGLRenderer(int, int, int, int, int) { notImplemented(__func__); return -1; }
int Sylvane_FrameBuffer_setupSubWindow(unsigned long, int, int, int, int, float) { notImplemented(__func__); return 0; }
void Sylvane_FrameBuffer_removeSubWindow(void) {}
void Sylvane_setViewport(int, int) { notImplemented(__func__); }
void Sylvane_scrollViewport(int, int) { notImplemented(__func__); }
void Sylvane_repaintOpenGLDisplay(void) { notImplemented(__func__); }
void Sylvane_setOpenGLDisplayRotation(float) { notImplemented(__func__); }
void Sylvane_setCallbackRotation(SylvaneRotationCallback) {}
void Sylvane_setLogo(const unsigned char *, int, int) { notImplemented(__func__); }
void Sylvane_setWindowHighlight(bool) { notImplemented(__func__); }
void Sylvane_registerOGLCallback(SylvaneFrameCallback, void *) { notImplemented(__func__); }
void Sylvane_playScreenshotAnimation(void) { notImplemented(__func__); }
void Sylvane_shutdown(void) {}
}
