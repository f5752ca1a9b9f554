#pragma once

#include "streamformat.h"

#include <cstdint>
#include <string>
#include <vector>

// Applies frame messages of the screen stream onto a picture. Every length, size and
// rectangle from the stream is checked before it is used; a refused frame leaves the
// reason in error and the picture must then wait for the next key frame.
class FrameDecoder
{
public:
    struct FrameInfo {
        int width = 0;
        int height = 0;
        int orientation = 0;
        uint64_t timestampMicros = 0;
        ScreenStream::Region changed; // the part of the picture this frame painted
    };

    // False with a reason when the frame is malformed or does not fit the picture.
    bool apply(const ScreenStream::Header &header, const uint8_t *payload, size_t length,
               ScreenStream::Picture &picture, FrameInfo &info, std::string &error);

private:
    struct RectEntry {
        ScreenStream::Rect rect;
        uint8_t encoding = 0;
        const uint8_t *data = nullptr;
        size_t length = 0;
    };

    bool parse(const ScreenStream::Header &header, const uint8_t *payload, size_t length, FrameInfo &info,
               std::string &error);
    bool decodeRect(const RectEntry &entry, ScreenStream::Picture &picture, std::string &error);

    std::vector<RectEntry> entries;
    std::vector<uint8_t> scratch;
};
