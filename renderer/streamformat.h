#pragma once

// The screen stream between the device (server) and the render library (client).
// renderer/README.md describes every field; this header holds the numbers.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace ScreenStream {

// Server to client: every message starts with this 16-byte header.
constexpr uint8_t kFrameMagic[4] = {'C', 'W', 'S', 'F'};
constexpr uint8_t kVersion = 1;
constexpr size_t kHeaderSize = 16;
constexpr uint8_t kTypeFrame = 1;
constexpr uint16_t kFlagKeyFrame = 0x0001;

// Frame payload: fixed part, then rectangles, each a header and its data.
constexpr size_t kFramePrefixSize = 20;
constexpr size_t kRectHeaderSize = 16;
constexpr uint8_t kPixelFormatBgra = 1;
constexpr uint8_t kEncodingRaw = 0;
constexpr uint8_t kEncodingLz4 = 1;

// Limits every reader checks before allocating anything.
constexpr int kMaxSide = 4096;
constexpr uint32_t kMaxRects = 4096;
// The largest payload a frame of kMaxSide x kMaxSide can legitimately need.
constexpr uint32_t kMaxPayload = 72u * 1024u * 1024u;

// Client to server: fixed 12-byte messages.
constexpr uint8_t kClientMagic[4] = {'C', 'W', 'S', 'C'};
constexpr size_t kClientMessageSize = 12;
constexpr uint32_t kClientHello = 1; // value: frames the client accepts before acknowledging
constexpr uint32_t kClientAck = 2;   // value: sequence number of the newest frame shown
constexpr uint32_t kMaxInFlight = 8;

struct Rect {
    int x = 0, y = 0, width = 0, height = 0;
    bool isEmpty() const { return width <= 0 || height <= 0; }
    // The smallest rectangle holding both; an empty side is ignored.
    Rect united(const Rect &other) const;
};

// The changed part of a picture as a few rectangles; past kMaxParts they collapse into the
// one rectangle that holds them all, so that keeping track never costs more than that.
class Region
{
public:
    static constexpr size_t kMaxParts = 16;

    void add(const Rect &rect);
    void add(const Region &other);
    void clear() { parts.clear(); }
    bool isEmpty() const { return parts.empty(); }
    const std::vector<Rect> &rects() const { return parts; }
    Rect bounds() const;

private:
    std::vector<Rect> parts;
};

// A tightly packed BGRA picture, rows top to bottom.
struct Picture {
    int width = 0;
    int height = 0;
    std::vector<uint8_t> pixels;

    size_t stride() const { return size_t(width) * 4; }
    uint8_t *row(int y) { return pixels.data() + size_t(y) * stride(); }
    const uint8_t *row(int y) const { return pixels.data() + size_t(y) * stride(); }
    // Resizes to width x height; a new size starts black.
    void reset(int newWidth, int newHeight);
};

struct Header {
    uint8_t type = 0;
    uint16_t flags = 0;
    uint32_t sequence = 0;
    uint32_t payloadLength = 0;
};

struct ControlMessage {
    uint32_t kind = 0;
    uint32_t value = 0;
};

// Little-endian field access; the stream never depends on the host's byte order.
inline void put16(uint8_t *p, uint16_t v) { p[0] = uint8_t(v); p[1] = uint8_t(v >> 8); }
inline void put32(uint8_t *p, uint32_t v) { for (int i = 0; i < 4; ++i) p[i] = uint8_t(v >> (8 * i)); }
inline void put64(uint8_t *p, uint64_t v) { for (int i = 0; i < 8; ++i) p[i] = uint8_t(v >> (8 * i)); }
inline uint16_t get16(const uint8_t *p) { return uint16_t(p[0] | (p[1] << 8)); }
inline uint32_t get32(const uint8_t *p)
{
    return uint32_t(p[0]) | (uint32_t(p[1]) << 8) | (uint32_t(p[2]) << 16) | (uint32_t(p[3]) << 24);
}
inline uint64_t get64(const uint8_t *p) { return uint64_t(get32(p)) | (uint64_t(get32(p + 4)) << 32); }

void writeHeader(uint8_t *out, const Header &header);
// False with a reason for a wrong magic, version or an oversized payload.
bool parseHeader(const uint8_t *in, Header &header, std::string &error);

void writeControlMessage(uint8_t *out, const ControlMessage &message);
bool parseControlMessage(const uint8_t *in, ControlMessage &message, std::string &error);

// Microseconds of the monotonic clock, comparable between processes of one host.
uint64_t monotonicMicros();

bool isValidOrientation(int degrees);

} // namespace ScreenStream
