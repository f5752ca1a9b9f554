#pragma once

#include "streamformat.h"

#include <cstdint>
#include <mutex>

// The device's newest picture, written by the stream thread and read by the render thread,
// both under the mutex. Frames are decoded straight into it, so no copy is made between.
struct SharedPicture {
    std::mutex mutex;
    ScreenStream::Picture picture;
    ScreenStream::Region dirty;  // changed since the render thread last took it
    uint64_t generation = 0;     // counts decoded frames
    uint32_t connection = 0;     // counts stream connections; sequences restart with each
    uint32_t sequence = 0;       // of the newest frame on that connection
    int orientation = 0;
    uint64_t timestampMicros = 0; // when the newest frame left the device
};
