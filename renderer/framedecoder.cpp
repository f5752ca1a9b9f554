#include "framedecoder.h"

#include <lz4.h>

#include <cstring>

using namespace ScreenStream;

bool FrameDecoder::parse(const Header &header, const uint8_t *payload, size_t length, FrameInfo &info,
                         std::string &error)
{
    if (header.type != kTypeFrame) {
        error = "unknown message type " + std::to_string(header.type);
        return false;
    }
    if (length < kFramePrefixSize) {
        error = "frame shorter than its fixed part";
        return false;
    }
    info.width = get16(payload);
    info.height = get16(payload + 2);
    info.orientation = get16(payload + 4);
    const uint8_t format = payload[6];
    info.timestampMicros = get64(payload + 8);
    const uint32_t count = get16(payload + 16);
    if (info.width < 1 || info.height < 1 || info.width > kMaxSide || info.height > kMaxSide) {
        error = "frame size " + std::to_string(info.width) + "x" + std::to_string(info.height) + " out of range";
        return false;
    }
    if (!isValidOrientation(info.orientation)) {
        error = "orientation " + std::to_string(info.orientation) + " is not a right angle";
        return false;
    }
    if (format != kPixelFormatBgra) {
        error = "unknown pixel format " + std::to_string(format);
        return false;
    }
    if (count > kMaxRects) {
        error = "too many rectangles: " + std::to_string(count);
        return false;
    }

    entries.clear();
    size_t at = kFramePrefixSize;
    for (uint32_t i = 0; i < count; ++i) {
        if (length - at < kRectHeaderSize) {
            error = "rectangle " + std::to_string(i) + " cut short";
            return false;
        }
        const uint8_t *h = payload + at;
        RectEntry entry;
        entry.rect = Rect{get16(h), get16(h + 2), get16(h + 4), get16(h + 6)};
        entry.encoding = h[8];
        entry.length = get32(h + 12);
        at += kRectHeaderSize;
        const Rect &r = entry.rect;
        if (r.isEmpty() || r.x + r.width > info.width || r.y + r.height > info.height) {
            error = "rectangle " + std::to_string(r.x) + "," + std::to_string(r.y) + " " + std::to_string(r.width)
                    + "x" + std::to_string(r.height) + " outside the frame";
            return false;
        }
        if (entry.length > length - at) {
            error = "rectangle data runs past the frame";
            return false;
        }
        const size_t raw = size_t(r.width) * size_t(r.height) * 4;
        if (entry.encoding == kEncodingRaw ? entry.length != raw : entry.encoding != kEncodingLz4) {
            error = "rectangle with encoding " + std::to_string(entry.encoding) + " and " + std::to_string(entry.length)
                    + " bytes for " + std::to_string(raw) + " pixel bytes";
            return false;
        }
        entry.data = payload + at;
        at += entry.length;
        info.changed.add(r);
        entries.push_back(entry);
    }
    if (at != length) {
        error = std::to_string(length - at) + " stray bytes after the rectangles";
        return false;
    }
    return true;
}

bool FrameDecoder::apply(const Header &header, const uint8_t *payload, size_t length, Picture &picture,
                         FrameInfo &info, std::string &error)
{
    info = FrameInfo();
    if (!parse(header, payload, length, info, error))
        return false;
    if (header.flags & kFlagKeyFrame) {
        picture.reset(info.width, info.height);
    } else if (info.width != picture.width || info.height != picture.height) {
        error = "frame of " + std::to_string(info.width) + "x" + std::to_string(info.height)
                + " is no key frame but the picture is " + std::to_string(picture.width) + "x"
                + std::to_string(picture.height);
        return false;
    }
    for (const RectEntry &entry : entries) {
        if (!decodeRect(entry, picture, error))
            return false;
    }
    return true;
}

bool FrameDecoder::decodeRect(const RectEntry &entry, Picture &picture, std::string &error)
{
    const Rect &r = entry.rect;
    const size_t rowBytes = size_t(r.width) * 4;
    const size_t size = rowBytes * size_t(r.height);
    const bool contiguous = r.width == picture.width;
    const uint8_t *source = entry.data;
    if (entry.encoding == kEncodingLz4) {
        uint8_t *target = contiguous ? picture.row(r.y) : nullptr;
        if (!target) {
            scratch.resize(size);
            target = scratch.data();
        }
        const int produced = LZ4_decompress_safe(reinterpret_cast<const char *>(entry.data),
                                                 reinterpret_cast<char *>(target), int(entry.length), int(size));
        if (produced != int(size)) {
            error = "compressed rectangle does not unpack to its " + std::to_string(size) + " bytes";
            return false;
        }
        if (contiguous)
            return true;
        source = target;
    }
    if (contiguous) {
        std::memcpy(picture.row(r.y), source, size);
        return true;
    }
    for (int row = 0; row < r.height; ++row)
        std::memcpy(picture.row(r.y + row) + size_t(r.x) * 4, source + size_t(row) * rowBytes, rowBytes);
    return true;
}
