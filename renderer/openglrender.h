#pragma once

// The render library lib64OpenglRender.so: it receives the device's screen from the
// device's address and draws it into a native X11 subwindow of the player.
// All functions are plain C so that the player and the library need not share a C++ ABI.
// renderer/README.md describes the stream, the threads and every status.

#ifdef __cplusplus
extern "C" {
#endif

// Called on a render thread when the device's orientation changes; angle in degrees.
typedef void (*SylvaneRotationCallback)(float angle);
// Called on a render thread with each composed frame while registered.
// ydir is 1 when rows run top to bottom, -1 when bottom to top; format and type are
// GL enums (GL_RGBA / GL_BGRA, GL_UNSIGNED_BYTE). The pixels are only valid during the call.
typedef void (*SylvaneFrameCallback)(void *context, int width, int height, int ydir, int format, int type,
                                     unsigned char *pixels);

// Non-zero when the GL libraries could be loaded.
int Sylvane_initLibrary(void);
void Sylvane_setDPI(int dpi);
// Zero on success; the address is a NUL-terminated text.
int Sylvane_setVMIP(const char *address);
// Zero on success.
int Sylvane_setStreamMode(int mode);
// Zero on success, else a status: 1 bad size, 2 no GL/GLX, 4 no X display, 6 no context,
// 10 no pixel buffer, 11 no frame buffer configuration, 15 display beyond the texture limit,
// 16 context not current, 18 no address or port. port is the device's stream port (25000).
int Sylvane_initOpenGLRenderer(int width, int height, int port, int reserved1, int reserved2);
// Non-zero on success.
int Sylvane_FrameBuffer_setupSubWindow(unsigned long windowId, int x, int y, int width, int height,
                                       float rotation);
void Sylvane_FrameBuffer_removeSubWindow(void);
void Sylvane_setViewport(int width, int height);
void Sylvane_scrollViewport(int x, int y);
void Sylvane_repaintOpenGLDisplay(void);
void Sylvane_setOpenGLDisplayRotation(float angle);
void Sylvane_setCallbackRotation(SylvaneRotationCallback callback);
void Sylvane_setLogo(const unsigned char *rgba, int width, int height);
void Sylvane_setWindowHighlight(bool on);
void Sylvane_registerOGLCallback(SylvaneFrameCallback callback, void *context);
void Sylvane_playScreenshotAnimation(void);
void Sylvane_shutdown(void);

#ifdef __cplusplus
}
#endif
