#pragma once

#include <GL/gl.h>
#include <GL/glx.h>

#include <string>

// The GL and GLX entry points the renderer draws with, taken from libGL at run time so
// that a host without GL gives a clean failure instead of a process that cannot start.
#define SYLVANE_GL_FUNCTIONS(F)                                                                                       \
    F(glXQueryExtension) F(glXQueryVersion) F(glXChooseFBConfig) F(glXGetVisualFromFBConfig) F(glXCreateNewContext)  \
    F(glXDestroyContext) F(glXCreatePbuffer) F(glXDestroyPbuffer) F(glXCreateWindow) F(glXDestroyWindow)             \
    F(glXMakeContextCurrent) F(glXSwapBuffers) F(glGetError) F(glGetString) F(glGetIntegerv) F(glViewport)           \
    F(glClearColor) F(glClear) F(glMatrixMode) F(glLoadIdentity) F(glOrtho) F(glGenTextures) F(glDeleteTextures)      \
    F(glBindTexture) F(glTexParameteri) F(glTexImage2D) F(glTexSubImage2D) F(glPixelStorei) F(glEnable) F(glDisable) \
    F(glBlendFunc) F(glColor4f) F(glBegin) F(glEnd) F(glTexCoord2f) F(glVertex2f) F(glTexEnvi)

struct GlFunctions {
#define SYLVANE_GL_MEMBER(name) decltype(&::name) name = nullptr;
    SYLVANE_GL_FUNCTIONS(SYLVANE_GL_MEMBER)
#undef SYLVANE_GL_MEMBER

    // Opens the GL library (CALDERWICK_GL_LIBRARY names another one) and resolves every
    // entry point. False with the reason when the library or one function is missing.
    bool load(std::string &error);
    bool isLoaded() const { return handle != nullptr; }

private:
    void *handle = nullptr;
};
