#include "previewframes.h"

#include "openglrender.h"

#include <vector>

namespace {
constexpr int GlRgba = 0x1908;
} // namespace

PreviewFrames::PreviewFrames(const QSize &size)
    : frames(new DoubleBuffer(qMax(2, size.width()), qMax(2, size.height())))
{
}

PreviewFrames::~PreviewFrames()
{
    stopCapture();
}

void PreviewFrames::startCapture()
{
    Sylvane_registerOGLCallback(&PreviewFrames::takeFrame, this);
    capturing = true;
    // Frames come with each change of the screen; a still screen needs one asked for.
    Sylvane_repaintOpenGLDisplay();
}

void PreviewFrames::stopCapture()
{
    // The library holds its callback lock while calling, so no frame arrives after this.
    if (capturing)
        Sylvane_registerOGLCallback(nullptr, nullptr);
    capturing = false;
}

void PreviewFrames::takeFrame(void *context, int width, int height, int ydir, int format, int, unsigned char *pixels)
{
    auto *self = static_cast<PreviewFrames *>(context);
    DoubleBuffer *buffer = self->frames.get();
    if (!pixels || width != buffer->width() || height != buffer->height())
        return;
    if (format != GlRgba) {
        buffer->write(pixels, ydir < 0 ? -1 : 1);
        return;
    }
    // The encoder takes BGRA: swap red and blue on a copy, the library's pixels are read-only.
    thread_local std::vector<unsigned char> swapped;
    swapped.assign(pixels, pixels + size_t(width) * size_t(height) * 4);
    for (size_t i = 0; i < swapped.size(); i += 4)
        std::swap(swapped[i], swapped[i + 2]);
    buffer->write(swapped.data(), ydir < 0 ? -1 : 1);
}
