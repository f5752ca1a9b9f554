// Megapixels per second of convertFrame (white balance and exposure included) beside libyuv's
// nearest plain conversion, for the sizes and layouts cameras deliver.
//
//   bench_convertframe [milliseconds per measurement, default 400]

#include "convertframe.h"

#include <libyuv.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <algorithm>
#include <functional>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

// Runs the conversion until the time is up, after one warm-up call.
double megapixelsPerSecond(int width, int height, int milliseconds, const std::function<void()> &run)
{
    run();
    long long frames = 0;
    const auto start = Clock::now();
    const auto end = start + std::chrono::milliseconds(milliseconds);
    auto now = start;
    while (now < end) {
        for (int i = 0; i < 4; ++i)
            run();
        frames += 4;
        now = Clock::now();
    }
    const double seconds = std::chrono::duration<double>(now - start).count();
    return double(frames) * width * height / seconds / 1e6;
}

quint32 fourccOf(const char *name)
{
    return quint32(uint8_t(name[0])) | quint32(uint8_t(name[1])) << 8 | quint32(uint8_t(name[2])) << 16
         | quint32(uint8_t(name[3])) << 24;
}

// libyuv's closest call for each pair; its "RAW" is our "RGB3" and its "ARGB" our "8RGB".
void theirs(const char *from, const char *to, const uint8_t *s, uint8_t *t, int w, int h)
{
    const bool toI420 = !std::strcmp(to, "YU12");
    uint8_t *tu = t + w * h;
    uint8_t *tv = tu + w * h / 4;
    const uint8_t *su = s + w * h;
    const uint8_t *sv = su + w * h / 4;
    if (!std::strcmp(from, "YUYV")) {
        if (toI420)
            libyuv::YUY2ToI420(s, w * 2, t, w, tu, w / 2, tv, w / 2, w, h);
        else
            libyuv::YUY2ToARGB(s, w * 2, t, w * 4, w, h);
    } else if (!std::strcmp(from, "NV12")) {
        if (toI420)
            libyuv::NV12ToI420(s, w, su, w, t, w, tu, w / 2, tv, w / 2, w, h);
        else
            libyuv::NV12ToARGB(s, w, su, w, t, w * 4, w, h);
    } else if (!std::strcmp(from, "YU12")) {
        if (toI420)
            libyuv::I420Copy(s, w, su, w / 2, sv, w / 2, t, w, tu, w / 2, tv, w / 2, w, h);
        else
            libyuv::I420ToARGB(s, w, su, w / 2, sv, w / 2, t, w * 4, w, h);
    } else {
        if (toI420)
            libyuv::RAWToI420(s, w * 3, t, w, tu, w / 2, tv, w / 2, w, h);
        else
            libyuv::RAWToARGB(s, w * 3, t, w * 4, w, h);
    }
}

} // namespace

int main(int argc, char **argv)
{
    const int milliseconds = argc > 1 ? std::max(50, std::atoi(argv[1])) : 400;
    const int sizes[][2] = {{640, 480}, {1280, 720}};
    const char *sources[] = {"YUYV", "NV12", "YU12", "RGB3"};
    const char *targets[] = {"YU12", "8RGB"};

    std::printf("%-10s %-5s %-5s %12s %12s %7s\n", "size", "from", "to", "ours MP/s", "libyuv MP/s", "ratio");
    for (const auto &size : sizes) {
        const int w = size[0], h = size[1];
        std::vector<uint8_t> source(w * h * 4), target(w * h * 4);
        for (size_t i = 0; i < source.size(); ++i)
            source[i] = uint8_t((i * 2654435761u) >> 13);
        for (const char *from : sources) {
            for (const char *to : targets) {
                const quint32 fromFourcc = fourccOf(from);
                const FrameBuffer buffer{target.data(), fourccOf(to)};
                const double ours = megapixelsPerSecond(w, h, milliseconds, [&] {
                    convertFrame(source.data(), fromFourcc, w, h, &buffer, 1, 1.1f, 1.0f, 0.9f, 1.2f);
                });
                const double lib = megapixelsPerSecond(w, h, milliseconds, [&] {
                    theirs(from, to, source.data(), target.data(), w, h);
                });
                char label[16];
                std::snprintf(label, sizeof label, "%dx%d", w, h);
                std::printf("%-10s %-5s %-5s %12.1f %12.1f %7.2f\n", label, from, to, ours, lib, ours / lib);
            }
        }
    }
    return 0;
}
