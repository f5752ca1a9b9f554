// The conversion as it was before the table, 16-bit and Bayer-interior work, kept verbatim
// (only renamed) so that the benchmark and the tests can compare the new code with it byte for byte.

#include "legacyconvertframe.h"

#include "pixelformat.h"

#include <QDebug>

#include <algorithm>
#include <cmath>
#include <initializer_list>

// The loops run per frame on a pool thread, so the hot paths are built twice, for the baseline
// processor and for AVX2, and the loader picks one when the program starts.
#if defined(__GNUC__) && !defined(__clang__) && defined(__x86_64__)
#define LEGACY_CLONES __attribute__((target_clones("avx2", "default")))
#else
#define LEGACY_CLONES
#endif
#define LEGACY_INLINE inline __attribute__((always_inline))

namespace Legacy {
namespace {

// Pixels handled per step: small enough for the stack, long enough for the vector units.
constexpr int ChunkPixels = 128;
constexpr int ChunkPairs = ChunkPixels / 2;

// scales: red, green, blue. `fast` says that multiplying by `reciprocals` has been checked to
// give, for every component from 0 to 255, the very byte that dividing gives, and that no
// product of the steps can leave the range of int, so the loops may skip the range checks.
struct Factors
{
    float scales[3];
    float exposure;
    float reciprocals[3];
    bool fast;
};

struct Channels
{
    alignas(64) int r[ChunkPixels];
    alignas(64) int g[ChunkPixels];
    alignas(64) int b[ChunkPixels];
};

struct Pairs
{
    alignas(64) int y1[ChunkPairs];
    alignas(64) int y2[ChunkPairs];
    alignas(64) int u[ChunkPairs];
    alignas(64) int v[ChunkPairs];
};

// Truncation toward zero; NaN and out-of-range values give INT_MIN, as the processor's own
// conversion does, so the result never depends on undefined behaviour.
LEGACY_INLINE int truncateFloat(float value)
{
    const bool inRange = (value >= -2147483648.0f) & (value < 2147483648.0f);
    return int(inRange ? value : -2147483648.0f);
}

LEGACY_INLINE int clampByte(int value)
{
    return std::min(std::max(value, 0), 255);
}

LEGACY_INLINE int lumaOf(int r, int g, int b)
{
    return ((66 * r + 129 * g + 25 * b + 128) >> 8) + 16;
}

LEGACY_INLINE int blueDifferenceOf(int r, int g, int b)
{
    return (((-38 * r - 74 * g + 112 * b + 128) >> 8) + 128) & 0xff;
}

LEGACY_INLINE int redDifferenceOf(int r, int g, int b)
{
    return (((112 * r - 94 * g - 18 * b + 128) >> 8) + 128) & 0xff;
}

LEGACY_INLINE int redOf(int c, int e)
{
    return clampByte((298 * c + 409 * e + 128) >> 8);
}

LEGACY_INLINE int greenOf(int c, int d, int e)
{
    return clampByte((298 * c - 100 * d - 208 * e + 128) >> 8);
}

LEGACY_INLINE int blueOf(int c, int d)
{
    return clampByte((298 * c + 516 * d + 128) >> 8);
}

// White balance divides: a scale above 1 dims its channel. The byte keeps the low 8 bits.
LEGACY_INLINE int divideComponent(int component, float scale)
{
    return truncateFloat(float(component) / scale) & 0xff;
}

template <bool Fast>
LEGACY_INLINE int scaleComponent(int component, const Factors &f, int channel)
{
    if (Fast)
        return int(float(component) * f.reciprocals[channel]) & 0xff;
    return divideComponent(component, f.scales[channel]);
}

// Components are bytes, so a multiplier that matches the division on all 256 of them is exact.
// Division is several times slower than multiplication in the vector units.
float exactReciprocal(float scale, bool *found)
{
    const float nearest = 1.0f / scale;
    for (const float candidate : {nearest, std::nextafter(nearest, INFINITY), std::nextafter(nearest, 0.0f)}) {
        bool same = true;
        for (int c = 0; c < 256 && same; ++c)
            same = (truncateFloat(float(c) * candidate) & 0xff) == divideComponent(c, scale);
        if (same) {
            *found = true;
            return candidate;
        }
    }
    *found = false;
    return nearest;
}

Factors makeFactors(float red, float green, float blue, float exposure)
{
    // Lumas lie between 16 and 235 and components below 256.
    Factors f{{red, green, blue}, exposure, {}, exposure >= 0.0f && exposure * 235.0f < 2147483520.0f};
    for (int channel = 0; channel < 3; ++channel) {
        bool found = false;
        const float reciprocal = exactReciprocal(f.scales[channel], &found);
        f.reciprocals[channel] = reciprocal;
        f.fast = f.fast && found && reciprocal >= 0.0f && reciprocal * 255.0f < 2147483520.0f;
    }
    return f;
}

LEGACY_INLINE int exposeLuma(int luma, float exposure)
{
    return clampByte(truncateFloat(float(luma) * exposure));
}

template <bool Fast>
LEGACY_INLINE int exposeLumaWith(int luma, const Factors &f)
{
    if (Fast)
        return std::min(int(float(luma) * f.exposure), 255);
    return exposeLuma(luma, f.exposure);
}

// Scale and exposure steps, in place. Bayer sources come back from the exposure step without
// the luma and chroma offsets; their pictures have always looked that way and stay so.
template <bool BayerSource, bool Fast>
LEGACY_INLINE void adjustColoursWith(int n, Channels &c, const Factors &f)
{
    for (int i = 0; i < n; ++i) {
        const int r = scaleComponent<Fast>(c.r[i], f, 0);
        const int g = scaleComponent<Fast>(c.g[i], f, 1);
        const int b = scaleComponent<Fast>(c.b[i], f, 2);
        const int y = exposeLumaWith<Fast>(lumaOf(r, g, b), f);
        const int u = blueDifferenceOf(r, g, b);
        const int v = redDifferenceOf(r, g, b);
        const int cc = BayerSource ? y : y - 16;
        const int d = BayerSource ? u : u - 128;
        const int e = BayerSource ? v : v - 128;
        c.r[i] = redOf(cc, e);
        c.g[i] = greenOf(cc, d, e);
        c.b[i] = blueOf(cc, d);
    }
}

template <bool BayerSource>
LEGACY_INLINE void adjustColours(int n, Channels &c, const Factors &f)
{
    if (f.fast)
        adjustColoursWith<BayerSource, true>(n, c, f);
    else
        adjustColoursWith<BayerSource, false>(n, c, f);
}

// YUV to YUV keeps the chroma of the balanced first pixel; the second pixel only gets exposure.
template <bool Fast>
LEGACY_INLINE void adjustPairsWith(int n, Pairs &p, const Factors &f)
{
    for (int i = 0; i < n; ++i) {
        const int c = p.y1[i] - 16;
        const int d = p.u[i] - 128;
        const int e = p.v[i] - 128;
        const int r = scaleComponent<Fast>(redOf(c, e), f, 0);
        const int g = scaleComponent<Fast>(greenOf(c, d, e), f, 1);
        const int b = scaleComponent<Fast>(blueOf(c, d), f, 2);
        p.y1[i] = exposeLumaWith<Fast>(lumaOf(r, g, b), f);
        p.u[i] = blueDifferenceOf(r, g, b);
        p.v[i] = redDifferenceOf(r, g, b);
        p.y2[i] = exposeLumaWith<Fast>(p.y2[i], f);
    }
}

LEGACY_INLINE void adjustPairs(int n, Pairs &p, const Factors &f)
{
    if (f.fast)
        adjustPairsWith<true>(n, p, f);
    else
        adjustPairsWith<false>(n, p, f);
}

LEGACY_INLINE void pairsToColours(int n, const Pairs &p, Channels &c)
{
    for (int i = 0; i < n; ++i) {
        const int d = p.u[i] - 128;
        const int e = p.v[i] - 128;
        const int c1 = p.y1[i] - 16;
        const int c2 = p.y2[i] - 16;
        c.r[2 * i] = redOf(c1, e);
        c.g[2 * i] = greenOf(c1, d, e);
        c.b[2 * i] = blueOf(c1, d);
        c.r[2 * i + 1] = redOf(c2, e);
        c.g[2 * i + 1] = greenOf(c2, d, e);
        c.b[2 * i + 1] = blueOf(c2, d);
    }
}

// ---- RGB layouts -------------------------------------------------------------------------

template <RgbLayout Layout>
struct Rgb;

template <>
struct Rgb<RgbLayout::Bgrx>
{
    static constexpr int Size = 4;
    static LEGACY_INLINE void load(const uchar *p, int &r, int &g, int &b) { b = p[0], g = p[1], r = p[2]; }
    static LEGACY_INLINE void save(uchar *p, int r, int g, int b) { p[0] = uchar(b), p[1] = uchar(g), p[2] = uchar(r); }
};

template <>
struct Rgb<RgbLayout::Rgbx>
{
    static constexpr int Size = 4;
    static LEGACY_INLINE void load(const uchar *p, int &r, int &g, int &b) { r = p[0], g = p[1], b = p[2]; }
    static LEGACY_INLINE void save(uchar *p, int r, int g, int b) { p[0] = uchar(r), p[1] = uchar(g), p[2] = uchar(b); }
};

template <>
struct Rgb<RgbLayout::Rgb>
{
    static constexpr int Size = 3;
    static LEGACY_INLINE void load(const uchar *p, int &r, int &g, int &b) { r = p[0], g = p[1], b = p[2]; }
    static LEGACY_INLINE void save(uchar *p, int r, int g, int b) { p[0] = uchar(r), p[1] = uchar(g), p[2] = uchar(b); }
};

template <>
struct Rgb<RgbLayout::Bgr>
{
    static constexpr int Size = 3;
    static LEGACY_INLINE void load(const uchar *p, int &r, int &g, int &b) { b = p[0], g = p[1], r = p[2]; }
    static LEGACY_INLINE void save(uchar *p, int r, int g, int b) { p[0] = uchar(b), p[1] = uchar(g), p[2] = uchar(r); }
};

// Little-endian 16-bit word; the components stay 5, 6 and 5 bits wide on purpose.
template <>
struct Rgb<RgbLayout::Rgb565>
{
    static constexpr int Size = 2;
    static LEGACY_INLINE void load(const uchar *p, int &r, int &g, int &b)
    {
        const int word = p[0] | p[1] << 8;
        r = word & 0x1f, g = (word >> 5) & 0x3f, b = word >> 11;
    }
    static LEGACY_INLINE void save(uchar *p, int r, int g, int b)
    {
        const int word = (r & 0x1f) | (g & 0x3f) << 5 | (b & 0x1f) << 11;
        p[0] = uchar(word), p[1] = uchar(word >> 8);
    }
};

template <RgbLayout Layout>
LEGACY_INLINE void loadRgb(const uchar *p, int n, Channels &c)
{
    for (int i = 0; i < n; ++i)
        Rgb<Layout>::load(p + i * Rgb<Layout>::Size, c.r[i], c.g[i], c.b[i]);
}

template <RgbLayout Layout>
LEGACY_INLINE void saveRgb(uchar *p, int n, const Channels &c)
{
    for (int i = 0; i < n; ++i)
        Rgb<Layout>::save(p + i * Rgb<Layout>::Size, c.r[i], c.g[i], c.b[i]);
}

LEGACY_INLINE void loadRgbChunk(RgbLayout layout, const uchar *p, int n, Channels &c)
{
    switch (layout) {
    case RgbLayout::Bgrx: return loadRgb<RgbLayout::Bgrx>(p, n, c);
    case RgbLayout::Rgbx: return loadRgb<RgbLayout::Rgbx>(p, n, c);
    case RgbLayout::Rgb565: return loadRgb<RgbLayout::Rgb565>(p, n, c);
    case RgbLayout::Rgb: return loadRgb<RgbLayout::Rgb>(p, n, c);
    case RgbLayout::Bgr: return loadRgb<RgbLayout::Bgr>(p, n, c);
    }
}

LEGACY_INLINE void saveRgbChunk(RgbLayout layout, uchar *p, int n, const Channels &c)
{
    switch (layout) {
    case RgbLayout::Bgrx: return saveRgb<RgbLayout::Bgrx>(p, n, c);
    case RgbLayout::Rgbx: return saveRgb<RgbLayout::Rgbx>(p, n, c);
    case RgbLayout::Rgb565: return saveRgb<RgbLayout::Rgb565>(p, n, c);
    case RgbLayout::Rgb: return saveRgb<RgbLayout::Rgb>(p, n, c);
    case RgbLayout::Bgr: return saveRgb<RgbLayout::Bgr>(p, n, c);
    }
}

// ---- YUV layouts -------------------------------------------------------------------------

// The four distances (Y step, Y next, UV step) the YUV rows use; the offsets stay run-time.
enum class YuvShape { Planar, SemiPlanar, Packed, PackedLumaPairs };

YuvShape shapeOf(const YuvFormat &f)
{
    if (f.yNext == 2)
        return f.uvStep == 1 ? YuvShape::Planar : YuvShape::SemiPlanar;
    return f.yStep == 2 ? YuvShape::Packed : YuvShape::PackedLumaPairs;
}

// Where a row of pairs starts in a YUV buffer.
struct YuvRow
{
    std::ptrdiff_t y;
    std::ptrdiff_t u;
    std::ptrdiff_t v;
};

YuvRow yuvRow(const YuvFormat &f, int row, int width, int height)
{
    return {f.lumaPosition(row, width), f.chromaPosition(f.uOffset, row, width, height),
            f.chromaPosition(f.vOffset, row, width, height)};
}

template <int YStep, int YNext, int UvStep>
LEGACY_INLINE void gather(const uchar *base, const YuvRow &at, int firstPair, int n, Pairs &p)
{
    const uchar *y = base + at.y + firstPair * YNext;
    const uchar *u = base + at.u + firstPair * UvStep;
    const uchar *v = base + at.v + firstPair * UvStep;
    for (int i = 0; i < n; ++i) {
        p.y1[i] = y[i * YNext];
        p.y2[i] = y[i * YNext + YStep];
        p.u[i] = u[i * UvStep];
        p.v[i] = v[i * UvStep];
    }
}

template <int YStep, int YNext, int UvStep>
LEGACY_INLINE void scatter(uchar *base, const YuvRow &at, int firstPair, int n, const Pairs &p, bool chroma)
{
    uchar *y = base + at.y + firstPair * YNext;
    uchar *u = base + at.u + firstPair * UvStep;
    uchar *v = base + at.v + firstPair * UvStep;
    for (int i = 0; i < n; ++i) {
        y[i * YNext] = uchar(p.y1[i]);
        y[i * YNext + YStep] = uchar(p.y2[i]);
    }
    if (!chroma)
        return;
    for (int i = 0; i < n; ++i) {
        u[i * UvStep] = uchar(p.u[i]);
        v[i * UvStep] = uchar(p.v[i]);
    }
}

LEGACY_INLINE void gatherChunk(YuvShape shape, const uchar *base, const YuvRow &at, int firstPair, int n, Pairs &p)
{
    switch (shape) {
    case YuvShape::Planar: return gather<1, 2, 1>(base, at, firstPair, n, p);
    case YuvShape::SemiPlanar: return gather<1, 2, 2>(base, at, firstPair, n, p);
    case YuvShape::Packed: return gather<2, 4, 4>(base, at, firstPair, n, p);
    case YuvShape::PackedLumaPairs: return gather<1, 4, 4>(base, at, firstPair, n, p);
    }
}

LEGACY_INLINE void scatterChunk(YuvShape shape, uchar *base, const YuvRow &at, int firstPair, int n, const Pairs &p,
                                 bool chroma)
{
    switch (shape) {
    case YuvShape::Planar: return scatter<1, 2, 1>(base, at, firstPair, n, p, chroma);
    case YuvShape::SemiPlanar: return scatter<1, 2, 2>(base, at, firstPair, n, p, chroma);
    case YuvShape::Packed: return scatter<2, 4, 4>(base, at, firstPair, n, p, chroma);
    case YuvShape::PackedLumaPairs: return scatter<1, 4, 4>(base, at, firstPair, n, p, chroma);
    }
}

// A pair's chroma comes from its first pixel; the second only gives its Y.
LEGACY_INLINE void coloursToPairs(int n, const Channels &c, Pairs &p)
{
    for (int i = 0; i < n; ++i) {
        const int r = c.r[2 * i], g = c.g[2 * i], b = c.b[2 * i];
        p.y1[i] = lumaOf(r, g, b);
        p.u[i] = blueDifferenceOf(r, g, b);
        p.v[i] = redDifferenceOf(r, g, b);
        p.y2[i] = lumaOf(c.r[2 * i + 1], c.g[2 * i + 1], c.b[2 * i + 1]);
    }
}

// ---- Bayer -------------------------------------------------------------------------------

template <typename Sample>
struct BayerPlane
{
    const uchar *data;
    int width;
    int height;
    int mask;

    int at(int x, int y) const
    {
        const std::ptrdiff_t index = std::ptrdiff_t(y) * width + x;
        if (sizeof(Sample) == 1)
            return data[index];
        return (data[2 * index] | data[2 * index + 1] << 8) & mask;
    }
    int horizontal(int x, int y) const
    {
        if (x == 0)
            return at(1, y);
        if (x == width - 1)
            return at(width - 2, y);
        return (at(x - 1, y) + at(x + 1, y)) / 2;
    }
    int vertical(int x, int y) const
    {
        if (y == 0)
            return at(x, 1);
        if (y == height - 1)
            return at(x, height - 2);
        return (at(x, y - 1) + at(x, y + 1)) / 2;
    }
    // Mean of those of the four neighbours (dx, dy) that lie in the frame.
    int mean(int x, int y, const int (&offsets)[4][2]) const
    {
        int sum = 0;
        int count = 0;
        for (const auto &o : offsets) {
            const int nx = x + o[0];
            const int ny = y + o[1];
            if (nx >= 0 && nx < width && ny >= 0 && ny < height) {
                sum += at(nx, ny);
                ++count;
            }
        }
        return sum / count;
    }
    int cross(int x, int y) const
    {
        static constexpr int Offsets[4][2] = {{0, -1}, {-1, 0}, {1, 0}, {0, 1}};
        return mean(x, y, Offsets);
    }
    int diagonal(int x, int y) const
    {
        static constexpr int Offsets[4][2] = {{-1, -1}, {1, -1}, {-1, 1}, {1, 1}};
        return mean(x, y, Offsets);
    }
};

template <typename Sample>
void demosaic(const BayerPlane<Sample> &plane, const BayerFormat &format, int y, int x0, int n, Channels &c)
{
    const int shift = plane.mask == 0x3ff ? 2 : (plane.mask == 0xfff ? 4 : 0);
    const char evenColour = format.order[(y & 1) * 2];
    const char oddColour = format.order[(y & 1) * 2 + 1];
    for (int i = 0; i < n; ++i) {
        const int x = x0 + i;
        const char colour = (x & 1) ? oddColour : evenColour;
        int r, g, b;
        if (colour == 'G') {
            g = plane.at(x, y);
            const char sideColour = (x & 1) ? evenColour : oddColour;
            const int side = plane.horizontal(x, y);
            const int other = plane.vertical(x, y);
            r = sideColour == 'R' ? side : other;
            b = sideColour == 'R' ? other : side;
        } else {
            const int own = plane.at(x, y);
            const int opposite = plane.diagonal(x, y);
            g = plane.cross(x, y);
            r = colour == 'R' ? own : opposite;
            b = colour == 'R' ? opposite : own;
        }
        c.r[i] = r >> shift;
        c.g[i] = g >> shift;
        c.b[i] = b >> shift;
    }
}

// ---- Loops per pair of kinds -------------------------------------------------------------

struct Job
{
    const uchar *source;
    const PixelFormatEntry *from;
    uchar *target;
    const PixelFormatEntry *to;
    int width;
    int height;
    Factors factors;
};

// Colours after the scale and exposure steps go to an RGB target, or in pairs to a YUV one.
LEGACY_INLINE void storeColours(const Job &job, int row, int x0, int n, Channels &c)
{
    if (job.to->kind == PixelKind::Rgb) {
        const std::ptrdiff_t offset = (std::ptrdiff_t(row) * job.width + x0) * job.to->rgb.pixelSize;
        saveRgbChunk(job.to->rgb.layout, job.target + offset, n, c);
        return;
    }
    const YuvFormat &yuv = job.to->yuv;
    Pairs pairs;
    coloursToPairs(n / 2, c, pairs);
    // Both rows of a 4:2:0 pair of rows write the same chroma and the second wins.
    const bool chroma = !yuv.subsampledRows() || (row & 1);
    scatterChunk(shapeOf(yuv), job.target, yuvRow(yuv, row, job.width, job.height), x0 / 2, n / 2, pairs, chroma);
}

LEGACY_CLONES void convertFromRgb(const Job &job)
{
    Channels c;
    for (int row = 0; row < job.height; ++row) {
        const uchar *line = job.source + std::ptrdiff_t(row) * job.width * job.from->rgb.pixelSize;
        for (int x0 = 0; x0 < job.width; x0 += ChunkPixels) {
            const int n = std::min(ChunkPixels, job.width - x0);
            loadRgbChunk(job.from->rgb.layout, line + x0 * job.from->rgb.pixelSize, n, c);
            adjustColours<false>(n, c, job.factors);
            storeColours(job, row, x0, n, c);
        }
    }
}

LEGACY_CLONES void convertFromYuvToRgb(const Job &job)
{
    const YuvShape shape = shapeOf(job.from->yuv);
    Channels c;
    Pairs pairs;
    for (int row = 0; row < job.height; ++row) {
        const YuvRow at = yuvRow(job.from->yuv, row, job.width, job.height);
        for (int x0 = 0; x0 < job.width; x0 += ChunkPixels) {
            const int n = std::min(ChunkPixels, job.width - x0);
            gatherChunk(shape, job.source, at, x0 / 2, n / 2, pairs);
            pairsToColours(n / 2, pairs, c);
            adjustColours<false>(n, c, job.factors);
            storeColours(job, row, x0, n, c);
        }
    }
}

LEGACY_CLONES void convertFromYuvToYuv(const Job &job)
{
    const YuvShape fromShape = shapeOf(job.from->yuv);
    const YuvShape toShape = shapeOf(job.to->yuv);
    Pairs pairs;
    for (int row = 0; row < job.height; ++row) {
        const YuvRow from = yuvRow(job.from->yuv, row, job.width, job.height);
        const YuvRow to = yuvRow(job.to->yuv, row, job.width, job.height);
        const bool chroma = !job.to->yuv.subsampledRows() || (row & 1);
        for (int p0 = 0; p0 < job.width / 2; p0 += ChunkPairs) {
            const int n = std::min(ChunkPairs, job.width / 2 - p0);
            gatherChunk(fromShape, job.source, from, p0, n, pairs);
            adjustPairs(n, pairs, job.factors);
            scatterChunk(toShape, job.target, to, p0, n, pairs, chroma);
        }
    }
}

template <typename Sample>
void convertFromBayer(const Job &job)
{
    const BayerPlane<Sample> plane{job.source, job.width, job.height, job.from->bayer.mask};
    Channels c;
    for (int row = 0; row < job.height; ++row) {
        for (int x0 = 0; x0 < job.width; x0 += ChunkPixels) {
            const int n = std::min(ChunkPixels, job.width - x0);
            demosaic(plane, job.from->bayer, row, x0, n, c);
            adjustColours<true>(n, c, job.factors);
            storeColours(job, row, x0, n, c);
        }
    }
}

// Pixels of YUV layouts come in pairs, and 4:2:0 layouts share chroma between pairs of rows:
// sizes that don't fit would make the loops leave the buffers.
bool sizeFits(const PixelFormatEntry &format, int width, int height)
{
    switch (format.kind) {
    case PixelKind::Rgb:
        return true;
    case PixelKind::Yuv:
        return width % 2 == 0 && (!format.yuv.subsampledRows() || height % 2 == 0);
    case PixelKind::Bayer:
        return width >= 2 && height >= 2;
    }
    return false;
}

const PixelFormatEntry *findLogged(quint32 fourcc, const char *role)
{
    const PixelFormatEntry *entry = findPixelFormat(fourcc);
    if (!entry) {
        qWarning() << "Pixel format" << fourccText(fourcc) << "is unknown";
        qCritical() << "[CAMERA]" << role << "pixel format" << fourccText(fourcc) << "is unknown";
    }
    return entry;
}

bool convertOne(Job &job)
{
    if (job.to->kind == PixelKind::Bayer)
        return false;
    if (!sizeFits(*job.from, job.width, job.height) || !sizeFits(*job.to, job.width, job.height)) {
        qCritical() << "[CAMERA]" << "Frame size" << job.width << "x" << job.height << "doesn't suit"
                    << fourccText(job.from->fourcc) << "to" << fourccText(job.to->fourcc);
        return false;
    }
    switch (job.from->kind) {
    case PixelKind::Rgb:
        convertFromRgb(job);
        break;
    case PixelKind::Yuv:
        if (job.to->kind == PixelKind::Rgb)
            convertFromYuvToRgb(job);
        else
            convertFromYuvToYuv(job);
        break;
    case PixelKind::Bayer:
        if (job.from->bayer.mask == 0xff)
            convertFromBayer<quint8>(job);
        else
            convertFromBayer<quint16>(job);
        break;
    }
    return true;
}

} // namespace

bool convertFrame(const uchar *source, quint32 sourceFourcc, int width, int height,
                  const FrameBuffer *targets, int count, float redScale, float greenScale,
                  float blueScale, float exposure)
{
    const PixelFormatEntry *from = findLogged(sourceFourcc, "Source");
    if (!from)
        return false;
    Job job{source, from, nullptr, nullptr, std::max(width, 0), std::max(height, 0),
            makeFactors(redScale, greenScale, blueScale, exposure)};
    for (int i = 0; i < count; ++i) {
        job.to = findLogged(targets[i].fourcc, "Destination");
        if (!job.to)
            return false;
        job.target = targets[i].data;
        if (!convertOne(job))
            return false;
    }
    return true;
}

} // namespace Legacy
