// Frame conversion with the layouts and sizes a device asks for or a webcam announces, and the
// factors of a device's frame command: every buffer exactly as large as its layout needs, so
// that a loop leaving one is caught.
//
// Input: source layout, target layout (indices into the table), target count (0-2), width and
// height (0-40), four raw floats (red, green, blue, exposure), then the source pixels, repeated
// as needed.

#include "convertframe.h"
#include "fuzzsupport.h"
#include "pixelformat.h"

#include <cstdint>
#include <cstring>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    constexpr size_t HeaderSize = 5 + 4 * sizeof(float);
    if (size < HeaderSize)
        return 0;
    FuzzSupport::silenceLog();
    std::size_t rows = 0;
    const PixelFormatEntry *table = pixelFormatTable(&rows);
    const PixelFormatEntry &from = table[data[0] % rows];
    const PixelFormatEntry &to = table[data[1] % rows];
    const int count = data[2] % 3;
    const int width = data[3] % 41;
    const int height = data[4] % 41;
    float factors[4];
    std::memcpy(factors, data + 5, sizeof factors);
    data += HeaderSize;
    size -= HeaderSize;

    std::vector<uchar> source(frameBytes(from, width, height));
    for (std::size_t i = 0; i < source.size() && size > 0; ++i)
        source[i] = data[i % size];
    // A second target, as in a camera frame, is the "8RGB" preview.
    std::vector<uchar> video(frameBytes(to, width, height));
    std::vector<uchar> preview(frameBytes(table[0], width, height));
    const FrameBuffer targets[2] = {{video.data(), to.fourcc}, {preview.data(), table[0].fourcc}};
    convertFrame(source.data(), from.fourcc, width, height, targets, count, factors[0], factors[1], factors[2],
                 factors[3]);
    return 0;
}
