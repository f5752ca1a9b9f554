// Megapixels per second and milliseconds per frame of convertFrame (white balance and exposure
// included) beside the conversion it replaced, for the layouts cameras deliver; every line also
// says whether the two gave the same bytes.
//
//   bench_convertframe [milliseconds per measurement, default 300] [size filter, e.g. 1280x720]

#include "convertframe.h"
#include "legacyconvertframe.h"
#include "pixelformat.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <algorithm>
#include <functional>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

// Seconds per call, after one warm-up call, over at least the given time.
double secondsPerCall(int milliseconds, const std::function<void()> &run)
{
    run();
    long long calls = 0;
    const auto start = Clock::now();
    const auto end = start + std::chrono::milliseconds(milliseconds);
    auto now = start;
    while (now < end) {
        run();
        ++calls;
        now = Clock::now();
    }
    return std::chrono::duration<double>(now - start).count() / double(calls);
}

} // namespace

int main(int argc, char **argv)
{
    const int milliseconds = argc > 1 ? std::max(50, std::atoi(argv[1])) : 300;
    const char *only = argc > 2 ? argv[2] : nullptr;
    const int sizes[][2] = {{640, 480}, {1280, 720}};
    const char *sources[] = {"YUYV", "UYVY", "NV12", "YU12", "RGB3", "8RGB", "RGBP", "BA81", "GRBG", "RG10", "BG12"};
    const char *targets[] = {"YU12", "8RGB"};

    std::printf("%-10s %-5s %-5s %11s %11s %10s %10s %7s %s\n", "size", "from", "to", "before MP/s", "after MP/s",
                "before ms", "after ms", "speedup", "bytes");
    for (const auto &size : sizes) {
        const int w = size[0], h = size[1];
        char label[16];
        std::snprintf(label, sizeof label, "%dx%d", w, h);
        if (only && std::strcmp(only, label) != 0)
            continue;
        std::vector<uchar> source(std::size_t(w) * h * 4);
        for (std::size_t i = 0; i < source.size(); ++i)
            source[i] = uchar((i * 2654435761u) >> 13);
        std::vector<uchar> before(source.size()), after(source.size());
        for (const char *from : sources) {
            for (const char *to : targets) {
                const char(&fromName)[5] = *reinterpret_cast<const char(*)[5]>(from);
                const char(&toName)[5] = *reinterpret_cast<const char(*)[5]>(to);
                const quint32 fromFourcc = makeFourcc(fromName);
                const FrameBuffer old{before.data(), makeFourcc(toName)};
                const FrameBuffer now{after.data(), makeFourcc(toName)};
                const double oldSeconds = secondsPerCall(milliseconds, [&] {
                    Legacy::convertFrame(source.data(), fromFourcc, w, h, &old, 1, 1.1f, 1.0f, 0.9f, 1.2f);
                });
                const double newSeconds = secondsPerCall(milliseconds, [&] {
                    convertFrame(source.data(), fromFourcc, w, h, &now, 1, 1.1f, 1.0f, 0.9f, 1.2f);
                });
                const bool same = before == after;
                const double pixels = double(w) * h / 1e6;
                std::printf("%-10s %-5s %-5s %11.1f %11.1f %10.3f %10.3f %7.2f %s\n", label, from, to,
                            pixels / oldSeconds, pixels / newSeconds, oldSeconds * 1e3, newSeconds * 1e3,
                            oldSeconds / newSeconds, same ? "same" : "DIFFERENT");
            }
        }
    }
    return 0;
}
