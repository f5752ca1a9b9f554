#include "pixelformat.h"

namespace {

constexpr RgbFormat NoRgb{RgbLayout::Rgb, 0};
constexpr YuvFormat NoYuv{0, 0, 0, 0, 0, 0, ChromaLayout::Packed};
constexpr BayerFormat NoBayer{"", 0};

constexpr PixelFormatEntry rgb(const char (&name)[5], RgbLayout layout, int size)
{
    return {makeFourcc(name), PixelKind::Rgb, {layout, size}, NoYuv, NoBayer};
}

constexpr PixelFormatEntry yuv(const char (&name)[5], YuvFormat format)
{
    return {makeFourcc(name), PixelKind::Yuv, NoRgb, format, NoBayer};
}

constexpr PixelFormatEntry bayer(const char (&name)[5], BayerFormat format)
{
    return {makeFourcc(name), PixelKind::Bayer, NoRgb, NoYuv, format};
}

constexpr ChromaLayout Planar = ChromaLayout::Planar;
constexpr ChromaLayout Semi = ChromaLayout::SemiPlanar;
constexpr ChromaLayout Packed = ChromaLayout::Packed;
constexpr YuvFormat Yuyv{0, 2, 4, 4, 1, 3, Packed};
constexpr YuvFormat Yvyu{0, 2, 4, 4, 3, 1, Packed};
constexpr YuvFormat Vyuy{1, 2, 4, 4, 2, 0, Packed};

// Searched from the top. The second "YVYU" and "VYUY" rows are never reached; they stay so
// that the table lists every layout cameras announce.
const PixelFormatEntry Table[] = {
    rgb("8RGB", RgbLayout::Bgrx, 4),
    rgb("RGB4", RgbLayout::Rgbx, 4),
    rgb("BGR4", RgbLayout::Bgrx, 4),
    rgb("RGBP", RgbLayout::Rgb565, 2),
    rgb("RGB3", RgbLayout::Rgb, 3),
    rgb("BGR3", RgbLayout::Bgr, 3),
    yuv("YV12", {0, 1, 2, 1, 0, 1, Planar}),
    yuv("YU12", {0, 1, 2, 1, 1, 0, Planar}),
    yuv("NV12", {0, 1, 2, 2, 0, 1, Semi}),
    yuv("NV21", {0, 1, 2, 2, 1, 0, Semi}),
    yuv("YUYV", Yuyv),
    yuv("YYUV", {0, 1, 4, 4, 2, 3, Packed}),
    yuv("YVYU", Yvyu),
    yuv("UYVY", {1, 2, 4, 4, 0, 2, Packed}),
    yuv("VYUY", Vyuy),
    yuv("YVYU", Yvyu),
    yuv("VYUY", Vyuy),
    yuv("YYVU", {0, 1, 4, 4, 3, 2, Packed}),
    yuv("YUY2", Yuyv),
    yuv("YUNV", Yuyv),
    yuv("V422", Yuyv),
    bayer("BA81", {"BGGR", 0xff}),
    bayer("GBRG", {"GBRG", 0xff}),
    bayer("GRBG", {"GRBG", 0xff}),
    bayer("RGGB", {"RGGB", 0xff}),
    bayer("BG10", {"BGGR", 0x3ff}),
    bayer("GB10", {"GBRG", 0x3ff}),
    bayer("BA10", {"GRBG", 0x3ff}),
    bayer("RG10", {"RGGB", 0x3ff}),
    bayer("BG12", {"BGGR", 0xfff}),
    bayer("GB12", {"GBRG", 0xfff}),
    bayer("BA12", {"GRBG", 0xfff}),
    bayer("RG12", {"RGGB", 0xfff}),
};

} // namespace

QString fourccText(quint32 fourcc)
{
    const char text[4] = {char(fourcc & 0xff), char((fourcc >> 8) & 0xff), char((fourcc >> 16) & 0xff),
                          char(fourcc >> 24)};
    return QString::fromLatin1(text, 4);
}

std::ptrdiff_t YuvFormat::chromaPosition(int offset, int row, int width, int height) const
{
    const std::ptrdiff_t luma = std::ptrdiff_t(width) * height;
    const std::ptrdiff_t pairs = pairsIn(width);
    switch (chroma) {
    case ChromaLayout::Packed:
        return offset + row * 4 * pairs;
    case ChromaLayout::SemiPlanar:
        return luma + (row / 2) * 2 * pairs + offset;
    case ChromaLayout::Planar:
        break;
    }
    if (offset != 0)
        return luma + pairs * (row / 2);
    return luma + pairs * pairsIn(height) + pairs * (row / 2);
}

const PixelFormatEntry *findPixelFormat(quint32 fourcc)
{
    for (const PixelFormatEntry &entry : Table) {
        if (entry.fourcc == fourcc)
            return &entry;
    }
    return nullptr;
}

std::size_t frameBytes(const PixelFormatEntry &format, int width, int height)
{
    width = qMax(width, 0);
    height = qMax(height, 0);
    const std::size_t pixels = std::size_t(width) * std::size_t(height);
    const std::size_t pairs = std::size_t(YuvFormat::pairsIn(width));
    switch (format.kind) {
    case PixelKind::Rgb:
        return pixels * format.rgb.pixelSize;
    case PixelKind::Yuv:
        if (format.yuv.subsampledRows())
            return pixels + 2 * pairs * std::size_t(YuvFormat::pairsIn(height));
        return 4 * pairs * std::size_t(height);
    case PixelKind::Bayer:
        return format.bayer.mask == 0xff ? pixels : pixels * 2;
    }
    return 0;
}

const PixelFormatEntry *pixelFormatTable(std::size_t *count)
{
    *count = sizeof(Table) / sizeof(Table[0]);
    return Table;
}
