#pragma once

#include <QString>
#include <QtGlobal>

#include <cstddef>

// A fourcc as V4L2 stores it: the four characters in a little-endian 32-bit word.
constexpr quint32 makeFourcc(const char (&text)[5])
{
    return quint32(quint8(text[0])) | quint32(quint8(text[1])) << 8 | quint32(quint8(text[2])) << 16
         | quint32(quint8(text[3])) << 24;
}

// The four characters of a fourcc, for log lines.
QString fourccText(quint32 fourcc);

enum class PixelKind { Rgb, Yuv, Bayer };

// Byte orders of the RGB layouts; Rgb565 keeps its 5, 6 and 5 bits unwidened.
enum class RgbLayout { Bgrx, Rgbx, Rgb565, Rgb, Bgr };

// Where a row's chroma starts (see YuvFormat::chromaPosition).
enum class ChromaLayout { Planar, SemiPlanar, Packed };

struct RgbFormat
{
    RgbLayout layout;
    int pixelSize;
};

// All positions are in bytes. yStep: first to second Y of a pair of pixels; yNext: first Y of
// a pair to that of the next pair; uvStep: one pair's U (or V) to the next.
struct YuvFormat
{
    int yOffset;
    int yStep;
    int yNext;
    int uvStep;
    int uOffset;
    int vOffset;
    ChromaLayout chroma;

    // Position of the first U (offset uOffset) or V (offset vOffset) of a row. In planar
    // layouts the offset only says whether its plane comes first (non-zero) or second.
    // Chroma has one sample per pair of pixels, and in 4:2:0 per pair of rows; an odd last
    // pixel or row is the first of a pair whose second is missing, so it has its own sample.
    std::ptrdiff_t chromaPosition(int offset, int row, int width, int height) const;
    // Position of the first Y of a row. Planar rows are tight; packed rows hold whole pairs, so
    // an odd width leaves the second Y slot of the last pair unused.
    std::ptrdiff_t lumaPosition(int row, int width) const
    {
        const std::ptrdiff_t stride = chroma == ChromaLayout::Packed ? 4 * pairsIn(width) : width;
        return std::ptrdiff_t(row) * stride + yOffset;
    }
    // Pairs in a row of width pixels (or pairs of rows in height rows), the last maybe half.
    static std::ptrdiff_t pairsIn(int pixels) { return (std::ptrdiff_t(pixels) + 1) / 2; }
    bool subsampledRows() const { return chroma != ChromaLayout::Packed; }
};

// order: colours of a 2x2 cell, row by row; the colour of pixel (x, y) is
// order[(y & 1) * 2 + (x & 1)]. mask 0xff means byte samples, else 16-bit words.
struct BayerFormat
{
    char order[5];
    quint16 mask;
};

struct PixelFormatEntry
{
    quint32 fourcc;
    PixelKind kind;
    RgbFormat rgb;
    YuvFormat yuv;
    BayerFormat bayer;
};

// The table's row for fourcc, searched from the top, first match wins; null when unknown.
const PixelFormatEntry *findPixelFormat(quint32 fourcc);

// Bytes a width x height frame takes in this layout: rows without padding, but for the unused
// second slot of an odd last pair in packed YUV rows.
std::size_t frameBytes(const PixelFormatEntry &format, int width, int height);

// The whole table, for listing and tests.
const PixelFormatEntry *pixelFormatTable(std::size_t *count);
