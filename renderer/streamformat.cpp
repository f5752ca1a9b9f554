#include "streamformat.h"

#include <algorithm>
#include <cstring>
#include <time.h>

namespace ScreenStream {

Rect Rect::united(const Rect &other) const
{
    if (other.isEmpty())
        return *this;
    if (isEmpty())
        return other;
    const int left = std::min(x, other.x);
    const int top = std::min(y, other.y);
    const int right = std::max(x + width, other.x + other.width);
    const int bottom = std::max(y + height, other.y + other.height);
    return Rect{left, top, right - left, bottom - top};
}

void Region::add(const Rect &rect)
{
    if (rect.isEmpty())
        return;
    if (parts.size() < kMaxParts) {
        parts.push_back(rect);
        return;
    }
    const Rect all = bounds().united(rect);
    parts.assign(1, all);
}

void Region::add(const Region &other)
{
    for (const Rect &rect : other.parts)
        add(rect);
}

Rect Region::bounds() const
{
    Rect all;
    for (const Rect &rect : parts)
        all = all.united(rect);
    return all;
}

void Picture::reset(int newWidth, int newHeight)
{
    if (newWidth == width && newHeight == height && pixels.size() == stride() * size_t(height))
        return;
    width = newWidth;
    height = newHeight;
    pixels.assign(stride() * size_t(height), 0);
}

void writeHeader(uint8_t *out, const Header &header)
{
    std::memcpy(out, kFrameMagic, 4);
    out[4] = kVersion;
    out[5] = header.type;
    put16(out + 6, header.flags);
    put32(out + 8, header.sequence);
    put32(out + 12, header.payloadLength);
}

bool parseHeader(const uint8_t *in, Header &header, std::string &error)
{
    if (std::memcmp(in, kFrameMagic, 4) != 0) {
        error = "wrong magic";
        return false;
    }
    if (in[4] != kVersion) {
        error = "unsupported version " + std::to_string(in[4]);
        return false;
    }
    header.type = in[5];
    header.flags = get16(in + 6);
    header.sequence = get32(in + 8);
    header.payloadLength = get32(in + 12);
    if (header.payloadLength > kMaxPayload) {
        error = "payload of " + std::to_string(header.payloadLength) + " bytes is too large";
        return false;
    }
    return true;
}

void writeControlMessage(uint8_t *out, const ControlMessage &message)
{
    std::memcpy(out, kClientMagic, 4);
    put32(out + 4, message.kind);
    put32(out + 8, message.value);
}

bool parseControlMessage(const uint8_t *in, ControlMessage &message, std::string &error)
{
    if (std::memcmp(in, kClientMagic, 4) != 0) {
        error = "wrong magic";
        return false;
    }
    message.kind = get32(in + 4);
    message.value = get32(in + 8);
    if (message.kind != kClientHello && message.kind != kClientAck) {
        error = "unknown message kind " + std::to_string(message.kind);
        return false;
    }
    if (message.kind == kClientHello && (message.value < 1 || message.value > kMaxInFlight)) {
        error = "frames in flight out of range: " + std::to_string(message.value);
        return false;
    }
    return true;
}

uint64_t monotonicMicros()
{
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return uint64_t(ts.tv_sec) * 1000000u + uint64_t(ts.tv_nsec) / 1000u;
}

bool isValidOrientation(int degrees)
{
    return degrees == 0 || degrees == 90 || degrees == 180 || degrees == 270;
}

} // namespace ScreenStream
