#include "convertframe.h"

#include "pixelformat.h"

#include <QDebug>

#include <algorithm>
#include <cmath>
#include <initializer_list>

// The scale and exposure steps of YUV and RGB sources also exist as 16-bit AVX2 kernels, used
// when the processor has AVX2 and the frame's factors have exact fixed-point forms.
#if defined(__x86_64__) && defined(__GNUC__)
#include <immintrin.h>
#define CONVERT_AVX2_KERNELS 1
#endif

// The loops run per frame on a pool thread, so the hot paths are built twice, for the baseline
// processor and for AVX2, and the loader picks one when the program starts.
#if defined(__GNUC__) && !defined(__clang__) && defined(__x86_64__)
#define CONVERT_CLONES __attribute__((target_clones("avx2", "default")))
#else
#define CONVERT_CLONES
#endif
#define CONVERT_INLINE inline __attribute__((always_inline))

namespace {

// Pixels handled per step: small enough for the stack, long enough for the vector units.
constexpr int ChunkPixels = 128;
constexpr int ChunkPairs = ChunkPixels / 2;

// The scale and exposure steps for one frame. Components and lumas are bytes, so each step is
// a table of 256 entries, filled once per frame with the very float arithmetic it stands for.
// Multiplying by `reciprocals` gives the same bytes as the tables where `fast` says so; the
// vector units multiply faster than they look up.
// A step on bytes as a 16-bit fixed-point product: ((value << shift) * multiplier) >> 16.
struct FixedStep
{
    int shift;
    int multiplier;
};

// `fixed` says that the FixedSteps give the tables' bytes for every component and luma, and
// that the processor has the 16-bit vector kernels.
struct Factors
{
    alignas(64) int scaled[3][256];
    alignas(64) int exposed[256];
    float reciprocals[3];
    float exposure;
    bool fast;
    FixedStep fixedScales[3];
    FixedStep fixedExposure;
    bool fixed;
};

// Components, lumas and chroma fit 16 bits: the kernels take twice as many per vector as ints.
struct Channels
{
    alignas(64) qint16 r[ChunkPixels];
    alignas(64) qint16 g[ChunkPixels];
    alignas(64) qint16 b[ChunkPixels];
};

struct Pairs
{
    alignas(64) qint16 y1[ChunkPairs];
    alignas(64) qint16 y2[ChunkPairs];
    alignas(64) qint16 u[ChunkPairs];
    alignas(64) qint16 v[ChunkPairs];
};

// Truncation toward zero; NaN and out-of-range values give INT_MIN, as the processor's own
// conversion does, so the result never depends on undefined behaviour.
CONVERT_INLINE int truncateFloat(float value)
{
    const bool inRange = (value >= -2147483648.0f) & (value < 2147483648.0f);
    return int(inRange ? value : -2147483648.0f);
}

CONVERT_INLINE int clampByte(int value)
{
    return std::min(std::max(value, 0), 255);
}

CONVERT_INLINE int lumaOf(int r, int g, int b)
{
    return ((66 * r + 129 * g + 25 * b + 128) >> 8) + 16;
}

CONVERT_INLINE int blueDifferenceOf(int r, int g, int b)
{
    return (((-38 * r - 74 * g + 112 * b + 128) >> 8) + 128) & 0xff;
}

CONVERT_INLINE int redDifferenceOf(int r, int g, int b)
{
    return (((112 * r - 94 * g - 18 * b + 128) >> 8) + 128) & 0xff;
}

CONVERT_INLINE int redOf(int c, int e)
{
    return clampByte((298 * c + 409 * e + 128) >> 8);
}

CONVERT_INLINE int greenOf(int c, int d, int e)
{
    return clampByte((298 * c - 100 * d - 208 * e + 128) >> 8);
}

CONVERT_INLINE int blueOf(int c, int d)
{
    return clampByte((298 * c + 516 * d + 128) >> 8);
}

// White balance divides: a scale above 1 dims its channel. The byte keeps the low 8 bits.
int divideComponent(int component, float scale)
{
    return truncateFloat(float(component) / scale) & 0xff;
}

template <bool Fast>
CONVERT_INLINE int scaleComponent(int component, const Factors &f, int channel)
{
    if (Fast)
        return int(float(component) * f.reciprocals[channel]) & 0xff;
    return f.scaled[channel][component];
}

// A multiplier that matches the division on all 256 components, if there is one.
bool exactReciprocal(const int (&table)[256], float scale, float *reciprocal)
{
    const float nearest = 1.0f / scale;
    for (const float candidate : {nearest, std::nextafter(nearest, INFINITY), std::nextafter(nearest, 0.0f)}) {
        bool same = candidate >= 0.0f && candidate * 255.0f < 2147483520.0f;
        for (int c = 0; c < 256 && same; ++c)
            same = (truncateFloat(float(c) * candidate) & 0xff) == table[c];
        if (same) {
            *reciprocal = candidate;
            return true;
        }
    }
    return false;
}

int fixedStep(int value, FixedStep step)
{
    return int((quint32(value << step.shift) * quint32(step.multiplier)) >> 16);
}

// The fixed-point step that gives table[value] for every byte value: the low 8 bits of the
// product where wrap, else the product clamped to 255. The multiplier is searched next to
// 2^(16 - shift) x factor, for the smallest shift that keeps it in 16 bits.
bool findFixedStep(const int (&table)[256], bool wrap, float factor, FixedStep *step)
{
    if (!(factor >= 0.0f) || !(factor < 256.0f))
        return false;
    for (int shift = 0; shift <= 8; ++shift) {
        const double nearest = std::floor(std::ldexp(double(factor), 16 - shift));
        for (int delta = -2; delta <= 2; ++delta) {
            const FixedStep trial{shift, int(nearest) + delta};
            bool same = trial.multiplier >= 0 && trial.multiplier <= 0xffff;
            for (int v = 0; v < 256 && same; ++v) {
                const int product = fixedStep(v, trial);
                same = (wrap ? (product & 0xff) : std::min(product, 255)) == table[v];
            }
            if (same) {
                *step = trial;
                return true;
            }
        }
    }
    return false;
}

bool hasVectorKernels()
{
#ifdef CONVERT_AVX2_KERNELS
    static const bool avx2 = __builtin_cpu_supports("avx2");
    return avx2;
#else
    return false;
#endif
}

void makeFactors(Factors &f, float red, float green, float blue, float exposure)
{
    const float scales[3] = {red, green, blue};
    // Lumas lie between 16 and 235, so the multiplication can't leave the range of int.
    f.fast = exposure >= 0.0f && exposure * 235.0f < 2147483520.0f;
    f.exposure = exposure;
    for (int channel = 0; channel < 3; ++channel) {
        for (int c = 0; c < 256; ++c)
            f.scaled[channel][c] = divideComponent(c, scales[channel]);
        f.fast = exactReciprocal(f.scaled[channel], scales[channel], &f.reciprocals[channel]) && f.fast;
    }
    for (int y = 0; y < 256; ++y)
        f.exposed[y] = clampByte(truncateFloat(float(y) * exposure));
    f.fixed = hasVectorKernels() && findFixedStep(f.exposed, false, exposure, &f.fixedExposure);
    for (int channel = 0; channel < 3 && f.fixed; ++channel)
        f.fixed = findFixedStep(f.scaled[channel], true, 1.0f / scales[channel], &f.fixedScales[channel]);
}

#ifdef CONVERT_AVX2_KERNELS
// The scale and exposure steps of YUV and RGB sources in 16-bit lanes, 16 at a time; arrays are
// whole multiples of 16 long, lanes past n compute garbage nobody reads. The inverse products
// are split at multiples of 256, which pass the shift unchanged, so that with c from -16 to 239
// and d, e from -128 to 127 every term fits 16 bits. Bayer sources skip the offsets and don't.
struct Kernel16
{
    __m256i scale[3], exposure;
    __m128i scaleShift[3], exposureShift;

    __attribute__((target("avx2"))) explicit Kernel16(const Factors &f)
    {
        for (int i = 0; i < 3; ++i) {
            scale[i] = _mm256_set1_epi16(short(f.fixedScales[i].multiplier));
            scaleShift[i] = _mm_cvtsi32_si128(f.fixedScales[i].shift);
        }
        exposure = _mm256_set1_epi16(short(f.fixedExposure.multiplier));
        exposureShift = _mm_cvtsi32_si128(f.fixedExposure.shift);
    }
    static __attribute__((target("avx2"))) __m256i k(int value) { return _mm256_set1_epi16(short(value)); }
    static __attribute__((target("avx2"))) __m256i step(__m256i value, __m128i shift, __m256i multiplier)
    {
        return _mm256_mulhi_epu16(_mm256_sll_epi16(value, shift), multiplier);
    }
    __attribute__((target("avx2"))) __m256i expose(__m256i luma) const
    {
        return _mm256_min_epu16(step(luma, exposureShift, exposure), k(255));
    }
    // The scale step on r, g and b, in place.
    __attribute__((target("avx2"))) void balance(__m256i &r, __m256i &g, __m256i &b) const
    {
        r = _mm256_and_si256(step(r, scaleShift[0], scale[0]), k(0xff));
        g = _mm256_and_si256(step(g, scaleShift[1], scale[1]), k(0xff));
        b = _mm256_and_si256(step(b, scaleShift[2], scale[2]), k(0xff));
    }
    static __attribute__((target("avx2"))) __m256i luma(__m256i r, __m256i g, __m256i b)
    {
        const __m256i sum = _mm256_add_epi16(_mm256_add_epi16(_mm256_mullo_epi16(r, k(66)), _mm256_mullo_epi16(g, k(129))),
                                             _mm256_add_epi16(_mm256_mullo_epi16(b, k(25)), k(128)));
        return _mm256_add_epi16(_mm256_srli_epi16(sum, 8), k(16));
    }
    // Chroma minus 128, from -112 to 112.
    static __attribute__((target("avx2"))) __m256i difference(__m256i plus, int weight, __m256i minus1, int weight1,
                                                              __m256i minus2, int weight2)
    {
        const __m256i negative =
            _mm256_add_epi16(_mm256_mullo_epi16(minus1, k(weight1)), _mm256_mullo_epi16(minus2, k(weight2)));
        return _mm256_srai_epi16(
            _mm256_add_epi16(_mm256_sub_epi16(_mm256_mullo_epi16(plus, k(weight)), negative), k(128)), 8);
    }
    static __attribute__((target("avx2"))) __m256i clamp(__m256i value)
    {
        return _mm256_max_epi16(_mm256_min_epi16(value, k(255)), _mm256_setzero_si256());
    }
    static __attribute__((target("avx2"))) void colours(__m256i c, __m256i d, __m256i e, __m256i &r, __m256i &g,
                                                         __m256i &b)
    {
        const __m256i c42 = _mm256_add_epi16(_mm256_mullo_epi16(c, k(42)), k(128));
        r = clamp(_mm256_add_epi16(_mm256_add_epi16(c, e),
                                   _mm256_srai_epi16(_mm256_add_epi16(c42, _mm256_mullo_epi16(e, k(153))), 8)));
        const __m256i gTerm = _mm256_add_epi16(_mm256_sub_epi16(c42, _mm256_mullo_epi16(d, k(100))),
                                               _mm256_mullo_epi16(e, k(48)));
        g = clamp(_mm256_add_epi16(_mm256_sub_epi16(c, e), _mm256_srai_epi16(gTerm, 8)));
        b = clamp(_mm256_add_epi16(_mm256_add_epi16(c, _mm256_add_epi16(d, d)),
                                   _mm256_srai_epi16(_mm256_add_epi16(c42, _mm256_mullo_epi16(d, k(4))), 8)));
    }
};

template <typename T>
__attribute__((target("avx2"))) __m256i load16(const T *p)
{
    return _mm256_load_si256(reinterpret_cast<const __m256i *>(p));
}

template <typename T>
__attribute__((target("avx2"))) void store16(T *p, __m256i value)
{
    _mm256_store_si256(reinterpret_cast<__m256i *>(p), value);
}

__attribute__((target("avx2"))) void adjustColours16(int n, Channels &c, const Factors &f)
{
    const Kernel16 kernel(f);
    for (int i = 0; i < n; i += 16) {
        __m256i r = load16(c.r + i), g = load16(c.g + i), b = load16(c.b + i);
        kernel.balance(r, g, b);
        const __m256i y = kernel.expose(Kernel16::luma(r, g, b));
        const __m256i d = Kernel16::difference(b, 112, r, 38, g, 74);
        const __m256i e = Kernel16::difference(r, 112, g, 94, b, 18);
        Kernel16::colours(_mm256_sub_epi16(y, Kernel16::k(16)), d, e, r, g, b);
        store16(c.r + i, r);
        store16(c.g + i, g);
        store16(c.b + i, b);
    }
}

__attribute__((target("avx2"))) void adjustPairs16(int n, Pairs &p, const Factors &f)
{
    const Kernel16 kernel(f);
    for (int i = 0; i < n; i += 16) {
        __m256i r, g, b;
        Kernel16::colours(_mm256_sub_epi16(load16(p.y1 + i), Kernel16::k(16)),
                          _mm256_sub_epi16(load16(p.u + i), Kernel16::k(128)),
                          _mm256_sub_epi16(load16(p.v + i), Kernel16::k(128)), r, g, b);
        kernel.balance(r, g, b);
        store16(p.y1 + i, kernel.expose(Kernel16::luma(r, g, b)));
        store16(p.u + i, _mm256_add_epi16(Kernel16::difference(b, 112, r, 38, g, 74), Kernel16::k(128)));
        store16(p.v + i, _mm256_add_epi16(Kernel16::difference(r, 112, g, 94, b, 18), Kernel16::k(128)));
        store16(p.y2 + i, kernel.expose(load16(p.y2 + i)));
    }
}
#endif

template <bool Fast>
CONVERT_INLINE int exposeLumaWith(int luma, const Factors &f)
{
    if (Fast)
        return std::min(int(float(luma) * f.exposure), 255);
    return f.exposed[luma];
}

// Scale and exposure steps, in place. Bayer sources come back from the exposure step without
// the luma and chroma offsets; their pictures have always looked that way and stay so.
template <bool BayerSource, bool Fast>
CONVERT_INLINE void adjustColoursWith(int n, Channels &c, const Factors &f)
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
CONVERT_INLINE void adjustColours(int n, Channels &c, const Factors &f)
{
#ifdef CONVERT_AVX2_KERNELS
    if (!BayerSource && f.fixed)
        return adjustColours16(n, c, f);
#endif
    if (f.fast)
        adjustColoursWith<BayerSource, true>(n, c, f);
    else
        adjustColoursWith<BayerSource, false>(n, c, f);
}

// YUV to YUV keeps the chroma of the balanced first pixel; the second pixel only gets exposure.
template <bool Fast>
CONVERT_INLINE void adjustPairsWith(int n, Pairs &p, const Factors &f)
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

CONVERT_INLINE void adjustPairs(int n, Pairs &p, const Factors &f)
{
#ifdef CONVERT_AVX2_KERNELS
    if (f.fixed)
        return adjustPairs16(n, p, f);
#endif
    if (f.fast)
        adjustPairsWith<true>(n, p, f);
    else
        adjustPairsWith<false>(n, p, f);
}

CONVERT_INLINE void pairsToColours(int n, const Pairs &p, Channels &c)
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
    static CONVERT_INLINE void load(const uchar *p, qint16 &r, qint16 &g, qint16 &b) { b = p[0], g = p[1], r = p[2]; }
    static CONVERT_INLINE void save(uchar *p, int r, int g, int b) { p[0] = uchar(b), p[1] = uchar(g), p[2] = uchar(r); }
};

template <>
struct Rgb<RgbLayout::Rgbx>
{
    static constexpr int Size = 4;
    static CONVERT_INLINE void load(const uchar *p, qint16 &r, qint16 &g, qint16 &b) { r = p[0], g = p[1], b = p[2]; }
    static CONVERT_INLINE void save(uchar *p, int r, int g, int b) { p[0] = uchar(r), p[1] = uchar(g), p[2] = uchar(b); }
};

template <>
struct Rgb<RgbLayout::Rgb>
{
    static constexpr int Size = 3;
    static CONVERT_INLINE void load(const uchar *p, qint16 &r, qint16 &g, qint16 &b) { r = p[0], g = p[1], b = p[2]; }
    static CONVERT_INLINE void save(uchar *p, int r, int g, int b) { p[0] = uchar(r), p[1] = uchar(g), p[2] = uchar(b); }
};

template <>
struct Rgb<RgbLayout::Bgr>
{
    static constexpr int Size = 3;
    static CONVERT_INLINE void load(const uchar *p, qint16 &r, qint16 &g, qint16 &b) { b = p[0], g = p[1], r = p[2]; }
    static CONVERT_INLINE void save(uchar *p, int r, int g, int b) { p[0] = uchar(b), p[1] = uchar(g), p[2] = uchar(r); }
};

// Little-endian 16-bit word; the components stay 5, 6 and 5 bits wide on purpose.
template <>
struct Rgb<RgbLayout::Rgb565>
{
    static constexpr int Size = 2;
    static CONVERT_INLINE void load(const uchar *p, qint16 &r, qint16 &g, qint16 &b)
    {
        const int word = p[0] | p[1] << 8;
        r = qint16(word & 0x1f), g = qint16((word >> 5) & 0x3f), b = qint16(word >> 11);
    }
    static CONVERT_INLINE void save(uchar *p, int r, int g, int b)
    {
        const int word = (r & 0x1f) | (g & 0x3f) << 5 | (b & 0x1f) << 11;
        p[0] = uchar(word), p[1] = uchar(word >> 8);
    }
};

template <RgbLayout Layout>
CONVERT_INLINE void loadRgb(const uchar *p, int n, Channels &c)
{
    for (int i = 0; i < n; ++i)
        Rgb<Layout>::load(p + i * Rgb<Layout>::Size, c.r[i], c.g[i], c.b[i]);
}

template <RgbLayout Layout>
CONVERT_INLINE void saveRgb(uchar *p, int n, const Channels &c)
{
    for (int i = 0; i < n; ++i)
        Rgb<Layout>::save(p + i * Rgb<Layout>::Size, c.r[i], c.g[i], c.b[i]);
}

CONVERT_INLINE void loadRgbChunk(RgbLayout layout, const uchar *p, int n, Channels &c)
{
    switch (layout) {
    case RgbLayout::Bgrx: return loadRgb<RgbLayout::Bgrx>(p, n, c);
    case RgbLayout::Rgbx: return loadRgb<RgbLayout::Rgbx>(p, n, c);
    case RgbLayout::Rgb565: return loadRgb<RgbLayout::Rgb565>(p, n, c);
    case RgbLayout::Rgb: return loadRgb<RgbLayout::Rgb>(p, n, c);
    case RgbLayout::Bgr: return loadRgb<RgbLayout::Bgr>(p, n, c);
    }
}

CONVERT_INLINE void saveRgbChunk(RgbLayout layout, uchar *p, int n, const Channels &c)
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

// The second Y of an odd width's last pair is read (it lies inside the frame: the next row's
// first, the chroma's first or a packed row's unused slot) but never used.
template <int YStep, int YNext, int UvStep>
CONVERT_INLINE void gather(const uchar *base, const YuvRow &at, int firstPair, int n, Pairs &p)
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
CONVERT_INLINE void scatter(uchar *base, const YuvRow &at, int firstPair, int n, const Pairs &p, bool chroma,
                           bool halfLast)
{
    uchar *y = base + at.y + firstPair * YNext;
    uchar *u = base + at.u + firstPair * UvStep;
    uchar *v = base + at.v + firstPair * UvStep;
    for (int i = 0; i < n; ++i)
        y[i * YNext] = uchar(p.y1[i]);
    // A half pair has no second pixel: its slot belongs to the next row or to nobody.
    const int full = halfLast ? n - 1 : n;
    for (int i = 0; i < full; ++i)
        y[i * YNext + YStep] = uchar(p.y2[i]);
    if (!chroma)
        return;
    for (int i = 0; i < n; ++i) {
        u[i * UvStep] = uchar(p.u[i]);
        v[i * UvStep] = uchar(p.v[i]);
    }
}

CONVERT_INLINE void gatherChunk(YuvShape shape, const uchar *base, const YuvRow &at, int firstPair, int n, Pairs &p)
{
    switch (shape) {
    case YuvShape::Planar: return gather<1, 2, 1>(base, at, firstPair, n, p);
    case YuvShape::SemiPlanar: return gather<1, 2, 2>(base, at, firstPair, n, p);
    case YuvShape::Packed: return gather<2, 4, 4>(base, at, firstPair, n, p);
    case YuvShape::PackedLumaPairs: return gather<1, 4, 4>(base, at, firstPair, n, p);
    }
}

CONVERT_INLINE void scatterChunk(YuvShape shape, uchar *base, const YuvRow &at, int firstPair, int n, const Pairs &p,
                                 bool chroma, bool halfLast)
{
    switch (shape) {
    case YuvShape::Planar: return scatter<1, 2, 1>(base, at, firstPair, n, p, chroma, halfLast);
    case YuvShape::SemiPlanar: return scatter<1, 2, 2>(base, at, firstPair, n, p, chroma, halfLast);
    case YuvShape::Packed: return scatter<2, 4, 4>(base, at, firstPair, n, p, chroma, halfLast);
    case YuvShape::PackedLumaPairs: return scatter<1, 4, 4>(base, at, firstPair, n, p, chroma, halfLast);
    }
}

// A pair's chroma comes from its first pixel; the second only gives its Y.
CONVERT_INLINE void coloursToPairs(int n, const Channels &c, Pairs &p)
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

// Masked samples of one row, as ints.
template <typename Sample>
CONVERT_INLINE int sampleAt(const uchar *row, int x, int mask)
{
    if (sizeof(Sample) == 1)
        return row[x];
    return (row[2 * x] | row[2 * x + 1] << 8) & mask;
}

// Pixels x of a row with a neighbour on every side: no edge checks. EvenGreen: the even pixels
// of the row are green; RedRow: the row's other colour is red.
template <typename Sample, bool EvenGreen, bool RedRow>
CONVERT_INLINE void demosaicInterior(const uchar *up, const uchar *at, const uchar *down, int mask, int shift,
                                     int first, int count, int firstIndex, Channels &c)
{
    for (int i = 0; i < count; ++i) {
        const int x = first + i;
        const int own = sampleAt<Sample>(at, x, mask);
        const int left = sampleAt<Sample>(at, x - 1, mask);
        const int right = sampleAt<Sample>(at, x + 1, mask);
        const int above = sampleAt<Sample>(up, x, mask);
        const int below = sampleAt<Sample>(down, x, mask);
        const int horizontal = (left + right) >> 1;
        const int vertical = (above + below) >> 1;
        const int cross = (left + right + above + below) >> 2;
        const int diagonal = (sampleAt<Sample>(up, x - 1, mask) + sampleAt<Sample>(up, x + 1, mask)
                              + sampleAt<Sample>(down, x - 1, mask) + sampleAt<Sample>(down, x + 1, mask))
                           >> 2;
        const bool green = ((x & 1) == 0) == EvenGreen;
        // Green: the row's colour from the sides, the other from above and below. Red or blue:
        // its own sample, green across, the opposite colour diagonally.
        const int rowColour = green ? horizontal : own;
        const int otherColour = green ? vertical : diagonal;
        const int index = firstIndex + i;
        c.r[index] = (RedRow ? rowColour : otherColour) >> shift;
        c.g[index] = (green ? own : cross) >> shift;
        c.b[index] = (RedRow ? otherColour : rowColour) >> shift;
    }
}

template <typename Sample>
void demosaicEdge(const BayerPlane<Sample> &plane, const BayerFormat &format, int shift, int y, int x, int index,
                  Channels &c)
{
    const char evenColour = format.order[(y & 1) * 2];
    const char oddColour = format.order[(y & 1) * 2 + 1];
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
    c.r[index] = r >> shift;
    c.g[index] = g >> shift;
    c.b[index] = b >> shift;
}

template <typename Sample>
void demosaic(const BayerPlane<Sample> &plane, const BayerFormat &format, int y, int x0, int n, Channels &c)
{
    const int shift = plane.mask == 0x3ff ? 2 : (plane.mask == 0xfff ? 4 : 0);
    const bool interiorRow = y > 0 && y < plane.height - 1;
    // Pixels [first, last) of the chunk have all their neighbours.
    const int first = interiorRow ? std::max(x0, 1) : x0 + n;
    const int last = interiorRow ? std::max(first, std::min(x0 + n, plane.width - 1)) : x0 + n;
    for (int x = x0; x < first; ++x)
        demosaicEdge(plane, format, shift, y, x, x - x0, c);
    if (first < last) {
        const std::ptrdiff_t rowBytes = std::ptrdiff_t(plane.width) * sizeof(Sample);
        const uchar *at = plane.data + rowBytes * y;
        const bool evenGreen = format.order[(y & 1) * 2] == 'G';
        const bool redRow = format.order[(y & 1) * 2 + (evenGreen ? 1 : 0)] == 'R';
        const int count = last - first;
        const int index = first - x0;
        if (evenGreen && redRow)
            demosaicInterior<Sample, true, true>(at - rowBytes, at, at + rowBytes, plane.mask, shift, first, count, index, c);
        else if (evenGreen)
            demosaicInterior<Sample, true, false>(at - rowBytes, at, at + rowBytes, plane.mask, shift, first, count, index, c);
        else if (redRow)
            demosaicInterior<Sample, false, true>(at - rowBytes, at, at + rowBytes, plane.mask, shift, first, count, index, c);
        else
            demosaicInterior<Sample, false, false>(at - rowBytes, at, at + rowBytes, plane.mask, shift, first, count, index, c);
    }
    for (int x = last; x < x0 + n; ++x)
        demosaicEdge(plane, format, shift, y, x, x - x0, c);
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

// Both rows of a 4:2:0 pair of rows write the same chroma and the second wins; an odd last row
// has no second.
CONVERT_INLINE bool writesChroma(const YuvFormat &yuv, int row, int height)
{
    return !yuv.subsampledRows() || (row & 1) || row == height - 1;
}

// Colours after the scale and exposure steps go to an RGB target, or in pairs to a YUV one.
CONVERT_INLINE void storeColours(const Job &job, int row, int x0, int n, Channels &c)
{
    if (job.to->kind == PixelKind::Rgb) {
        const std::ptrdiff_t offset = (std::ptrdiff_t(row) * job.width + x0) * job.to->rgb.pixelSize;
        saveRgbChunk(job.to->rgb.layout, job.target + offset, n, c);
        return;
    }
    const YuvFormat &yuv = job.to->yuv;
    Pairs pairs;
    // An odd last pixel pairs with a copy of itself, whose Y goes nowhere.
    const bool halfLast = n & 1;
    if (halfLast) {
        c.r[n] = c.r[n - 1];
        c.g[n] = c.g[n - 1];
        c.b[n] = c.b[n - 1];
    }
    coloursToPairs((n + 1) / 2, c, pairs);
    scatterChunk(shapeOf(yuv), job.target, yuvRow(yuv, row, job.width, job.height), x0 / 2, (n + 1) / 2, pairs,
                 writesChroma(yuv, row, job.height), halfLast);
}

CONVERT_CLONES void convertFromRgb(const Job &job)
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

CONVERT_CLONES void convertFromYuvToRgb(const Job &job)
{
    const YuvShape shape = shapeOf(job.from->yuv);
    Channels c;
    Pairs pairs;
    for (int row = 0; row < job.height; ++row) {
        const YuvRow at = yuvRow(job.from->yuv, row, job.width, job.height);
        for (int x0 = 0; x0 < job.width; x0 += ChunkPixels) {
            const int n = std::min(ChunkPixels, job.width - x0);
            gatherChunk(shape, job.source, at, x0 / 2, (n + 1) / 2, pairs);
            pairsToColours((n + 1) / 2, pairs, c);
            adjustColours<false>(n, c, job.factors);
            storeColours(job, row, x0, n, c);
        }
    }
}

CONVERT_CLONES void convertFromYuvToYuv(const Job &job)
{
    const YuvShape fromShape = shapeOf(job.from->yuv);
    const YuvShape toShape = shapeOf(job.to->yuv);
    Pairs pairs;
    for (int row = 0; row < job.height; ++row) {
        const YuvRow from = yuvRow(job.from->yuv, row, job.width, job.height);
        const YuvRow to = yuvRow(job.to->yuv, row, job.width, job.height);
        const bool chroma = writesChroma(job.to->yuv, row, job.height);
        const int rowPairs = (job.width + 1) / 2;
        for (int p0 = 0; p0 < rowPairs; p0 += ChunkPairs) {
            const int n = std::min(ChunkPairs, rowPairs - p0);
            gatherChunk(fromShape, job.source, from, p0, n, pairs);
            adjustPairs(n, pairs, job.factors);
            scatterChunk(toShape, job.target, to, p0, n, pairs, chroma, (job.width & 1) && p0 + n == rowPairs);
        }
    }
}

template <typename Sample>
CONVERT_CLONES void convertFromBayer(const Job &job)
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

// Demosaicing takes every colour from a neighbour, so a Bayer frame needs two pixels both ways.
bool sizeFits(const PixelFormatEntry &format, int width, int height)
{
    return format.kind != PixelKind::Bayer || (width >= 2 && height >= 2);
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
    Job job{source, from, nullptr, nullptr, std::max(width, 0), std::max(height, 0), {}};
    makeFactors(job.factors, redScale, greenScale, blueScale, exposure);
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
