#include "frameencoder.h"

#include <lz4.h>

#include <algorithm>
#include <cstring>

using namespace ScreenStream;

namespace {

bool overlapInX(const Rect &a, const Rect &b)
{
    return a.x < b.x + b.width && b.x < a.x + a.width;
}

} // namespace

std::vector<Rect> FrameEncoder::changedRects(const Picture &current, const Picture &previous)
{
    std::vector<Rect> rects;
    const int width = current.width;
    const size_t stride = current.stride();
    Rect open;
    for (int top = 0; top < current.height; top += kBandRows) {
        const int rows = std::min(kBandRows, current.height - top);
        int minX = width;
        int maxX = -1;
        for (int y = top; y < top + rows; ++y) {
            const uint8_t *a = current.row(y);
            const uint8_t *b = previous.row(y);
            if (std::memcmp(a, b, stride) == 0)
                continue;
            // Only columns outside the extent found so far can widen it.
            for (int x = 0; x < minX; ++x) {
                if (std::memcmp(a + 4 * x, b + 4 * x, 4) != 0) {
                    minX = x;
                    break;
                }
            }
            for (int x = width - 1; x > maxX; --x) {
                if (std::memcmp(a + 4 * x, b + 4 * x, 4) != 0) {
                    maxX = x;
                    break;
                }
            }
        }
        if (maxX < 0) {
            if (!open.isEmpty())
                rects.push_back(open);
            open = Rect();
            continue;
        }
        const Rect band{minX, top, maxX - minX + 1, rows};
        if (!open.isEmpty() && overlapInX(open, band)) {
            open = open.united(band);
        } else {
            if (!open.isEmpty())
                rects.push_back(open);
            open = band;
        }
    }
    if (!open.isEmpty())
        rects.push_back(open);
    return rects;
}

int FrameEncoder::encode(const Picture &current, const Picture *previous, int orientation, uint32_t sequence,
                         uint64_t timestampMicros, std::vector<uint8_t> &out)
{
    const bool keyFrame = !previous || previous->width != current.width || previous->height != current.height;
    std::vector<Rect> rects;
    if (keyFrame)
        rects.push_back(Rect{0, 0, current.width, current.height});
    else
        rects = changedRects(current, *previous);

    const size_t start = out.size();
    out.resize(start + kHeaderSize + kFramePrefixSize);
    uint8_t *prefix = out.data() + start + kHeaderSize;
    put16(prefix, uint16_t(current.width));
    put16(prefix + 2, uint16_t(current.height));
    put16(prefix + 4, uint16_t(orientation));
    prefix[6] = kPixelFormatBgra;
    prefix[7] = 0;
    put64(prefix + 8, timestampMicros);
    put16(prefix + 16, uint16_t(rects.size()));
    put16(prefix + 18, 0);
    for (const Rect &rect : rects)
        appendRect(current, rect, out);

    Header header;
    header.type = kTypeFrame;
    header.flags = keyFrame ? kFlagKeyFrame : 0;
    header.sequence = sequence;
    header.payloadLength = uint32_t(out.size() - start - kHeaderSize);
    writeHeader(out.data() + start, header);
    return int(rects.size());
}

void FrameEncoder::appendRect(const Picture &current, const Rect &rect, std::vector<uint8_t> &out)
{
    const size_t rowBytes = size_t(rect.width) * 4;
    const size_t size = rowBytes * size_t(rect.height);
    const uint8_t *source = current.row(rect.y) + size_t(rect.x) * 4;
    // Full-width rectangles are contiguous in the picture; others are gathered first.
    if (rect.width != current.width) {
        scratch.resize(size);
        for (int r = 0; r < rect.height; ++r)
            std::memcpy(scratch.data() + size_t(r) * rowBytes, current.row(rect.y + r) + size_t(rect.x) * 4, rowBytes);
        source = scratch.data();
    }

    const size_t headerAt = out.size();
    const size_t dataAt = headerAt + kRectHeaderSize;
    uint8_t encoding = kEncodingRaw;
    size_t dataLength = size;
    if (options.compress) {
        const int bound = LZ4_compressBound(int(size));
        out.resize(dataAt + size_t(bound));
        const int packed = LZ4_compress_fast(reinterpret_cast<const char *>(source),
                                             reinterpret_cast<char *>(out.data() + dataAt), int(size), bound,
                                             options.acceleration);
        if (packed > 0 && size_t(packed) < size) {
            encoding = kEncodingLz4;
            dataLength = size_t(packed);
        }
    }
    out.resize(dataAt + dataLength);
    if (encoding == kEncodingRaw)
        std::memcpy(out.data() + dataAt, source, size);

    uint8_t *h = out.data() + headerAt;
    put16(h, uint16_t(rect.x));
    put16(h + 2, uint16_t(rect.y));
    put16(h + 4, uint16_t(rect.width));
    put16(h + 6, uint16_t(rect.height));
    h[8] = encoding;
    h[9] = h[10] = h[11] = 0;
    put32(h + 12, uint32_t(dataLength));
}
