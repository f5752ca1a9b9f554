#pragma once

#include "doublebuffer.h"

#include <QSize>

#include <memory>

// The device's screen as the render library composes it, kept in a DoubleBuffer for the
// remote control's preview encoder. Frames are taken only while capturing, so the render
// thread does no copying when nobody watches; a frame of another size than the buffer is
// skipped. One capture at a time in the process: the library has one frame callback.
class PreviewFrames
{
public:
    explicit PreviewFrames(const QSize &size);
    ~PreviewFrames();

    DoubleBuffer *buffer() { return frames.get(); }
    void startCapture();
    void stopCapture();

    // The render library's frame callback; context is the PreviewFrames.
    static void takeFrame(void *context, int width, int height, int ydir, int format, int type, unsigned char *pixels);

private:
    std::unique_ptr<DoubleBuffer> frames;
    bool capturing = false;
};
