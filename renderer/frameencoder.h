#pragma once

#include "streamformat.h"

#include <cstdint>
#include <vector>

// Turns pictures into frame messages of the screen stream: only the rectangles that
// differ from the previous picture sent to the same client, each LZ4-compressed when
// that makes it smaller. Not thread-safe; one encoder per client.
class FrameEncoder
{
public:
    struct Options {
        bool compress = true;
        int acceleration = 1; // LZ4 speed against ratio; 1 is LZ4's default
    };

    FrameEncoder() = default;
    explicit FrameEncoder(const Options &options) : options(options) {}

    // Appends one complete message to out. Without a previous picture of the same size the
    // message is a key frame holding every pixel. Returns the number of rectangles sent.
    int encode(const ScreenStream::Picture &current, const ScreenStream::Picture *previous, int orientation,
               uint32_t sequence, uint64_t timestampMicros, std::vector<uint8_t> &out);

    // Rows are compared in bands of this many; a changed band yields one rectangle that
    // spans its changed columns, and bands that touch and overlap in x are merged.
    static constexpr int kBandRows = 16;
    static std::vector<ScreenStream::Rect> changedRects(const ScreenStream::Picture &current,
                                                        const ScreenStream::Picture &previous);

private:
    void appendRect(const ScreenStream::Picture &current, const ScreenStream::Rect &rect, std::vector<uint8_t> &out);

    Options options;
    std::vector<uint8_t> scratch;
};
