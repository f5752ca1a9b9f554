// convertFrame against a plain per-pixel model written here (odd sizes too), against the
// conversion it replaced (kept beside the benchmark), and golden bytes.

#include "convertframe.h"
#include "legacyconvertframe.h"
#include "pixelformat.h"
#include "testenvironment.h"

#include <QtTest>

#include <cmath>
#include <vector>

namespace {

quint32 fourcc(const QByteArray &name)
{
    return quint32(quint8(name[0])) | quint32(quint8(name[1])) << 8 | quint32(quint8(name[2])) << 16
         | quint32(quint8(name[3])) << 24;
}

struct Factors
{
    float red = 1, green = 1, blue = 1, exposure = 1;
};

struct Colour
{
    int r, g, b;
};

int clamp255(int v) { return v < 0 ? 0 : (v > 255 ? 255 : v); }
int yOf(Colour c) { return ((66 * c.r + 129 * c.g + 25 * c.b + 128) >> 8) + 16; }
int uOf(Colour c) { return quint8(((-38 * c.r - 74 * c.g + 112 * c.b + 128) >> 8) + 128); }
int vOf(Colour c) { return quint8(((112 * c.r - 94 * c.g - 18 * c.b + 128) >> 8) + 128); }
Colour fromYuv(int c, int d, int e)
{
    return {clamp255((298 * c + 409 * e + 128) >> 8), clamp255((298 * c - 100 * d - 208 * e + 128) >> 8),
            clamp255((298 * c + 516 * d + 128) >> 8)};
}

// The test only uses finite quotients, so a plain cast models the truncation.
Colour balance(Colour c, const Factors &f)
{
    return {quint8(int(float(c.r) / f.red)), quint8(int(float(c.g) / f.green)), quint8(int(float(c.b) / f.blue))};
}

int expose(int y, float exposure) { return clamp255(int(float(y) * exposure)); }

Colour adjust(Colour in, const Factors &f, bool bayer)
{
    const Colour c = balance(in, f);
    const int y = expose(yOf(c), f.exposure);
    if (bayer)
        return fromYuv(y, uOf(c), vOf(c));
    return fromYuv(y - 16, uOf(c) - 128, vOf(c) - 128);
}

// ---- The layouts as this test knows them -------------------------------------------------

struct RgbDesc
{
    const char *name;
    int size, r, g, b; // byte index of each component; size 2 is the 5-6-5 word
};
const RgbDesc RgbDescs[] = {{"8RGB", 4, 2, 1, 0}, {"RGB4", 4, 0, 1, 2}, {"BGR4", 4, 2, 1, 0},
                            {"RGBP", 2, 0, 0, 0}, {"RGB3", 3, 0, 1, 2}, {"BGR3", 3, 2, 1, 0}};

struct PackedDesc
{
    const char *name;
    int y0, y1, u, v; // byte index inside the 4 bytes of a pair
};
const PackedDesc PackedDescs[] = {{"YUYV", 0, 2, 1, 3}, {"YUY2", 0, 2, 1, 3}, {"YUNV", 0, 2, 1, 3},
                                  {"V422", 0, 2, 1, 3}, {"YYUV", 0, 1, 2, 3}, {"YVYU", 0, 2, 3, 1},
                                  {"UYVY", 1, 3, 0, 2}, {"VYUY", 1, 3, 2, 0}, {"YYVU", 0, 1, 3, 2}};

struct BayerDesc
{
    const char *name;
    const char *order;
    int bits;
};
const BayerDesc BayerDescs[] = {{"BA81", "BGGR", 8},  {"GBRG", "GBRG", 8},  {"GRBG", "GRBG", 8},
                                {"RGGB", "RGGB", 8},  {"BG10", "BGGR", 10}, {"GB10", "GBRG", 10},
                                {"BA10", "GRBG", 10}, {"RG10", "RGGB", 10}, {"BG12", "BGGR", 12},
                                {"GB12", "GBRG", 12}, {"BA12", "GRBG", 12}, {"RG12", "RGGB", 12}};

template <typename Desc, std::size_t N>
const Desc *findDesc(const Desc (&descs)[N], const QByteArray &n)
{
    for (const Desc &d : descs)
        if (n == d.name)
            return &d;
    return nullptr;
}
const RgbDesc *rgbDesc(const QByteArray &n) { return findDesc(RgbDescs, n); }
const PackedDesc *packedDesc(const QByteArray &n) { return findDesc(PackedDescs, n); }
const BayerDesc *bayerDesc(const QByteArray &n) { return findDesc(BayerDescs, n); }
bool isFourTwoZero(const QByteArray &n) { return n == "YU12" || n == "YV12" || n == "NV12" || n == "NV21"; }
bool isYuv(const QByteArray &n) { return isFourTwoZero(n) || packedDesc(n); }

int frameBytes(const QByteArray &n, int w, int h)
{
    if (const RgbDesc *d = rgbDesc(n))
        return w * h * d->size;
    // Chroma per pair of pixels (of rows in 4:2:0); an odd last one is half a pair.
    if (isFourTwoZero(n))
        return w * h + 2 * ((w + 1) / 2) * ((h + 1) / 2);
    if (packedDesc(n))
        return (w + 1) / 2 * 4 * h;
    return w * h * (bayerDesc(n)->bits == 8 ? 1 : 2);
}

// Byte positions of the pair that holds pixel x (even) of a row.
struct PairPos
{
    int y0, y1, u, v;
};
PairPos pairPos(const QByteArray &n, int w, int h, int x, int row)
{
    const int pairs = (w + 1) / 2;
    if (const PackedDesc *d = packedDesc(n)) {
        const int base = (row * pairs + x / 2) * 4;
        return {base + d->y0, base + d->y1, base + d->u, base + d->v};
    }
    const int y = row * w + x;
    const int first = w * h, second = w * h + pairs * ((h + 1) / 2);
    const int c = (row / 2) * pairs + x / 2;
    if (n == "YU12")
        return {y, y + 1, first + c, second + c};
    if (n == "YV12")
        return {y, y + 1, second + c, first + c};
    const int uv = w * h + (row / 2) * pairs * 2 + x;
    return n == "NV12" ? PairPos{y, y + 1, uv, uv + 1} : PairPos{y, y + 1, uv + 1, uv};
}

// ---- The model --------------------------------------------------------------------------

struct Frame
{
    QByteArray name;
    QByteArray bytes;
    int w, h;
    int at(int i) const { return quint8(bytes[i]); }
};

Colour rgbAt(const Frame &f, int x, int y)
{
    const RgbDesc *d = rgbDesc(f.name);
    const int p = (y * f.w + x) * d->size;
    if (d->size == 2) {
        const int word = f.at(p) | f.at(p + 1) << 8;
        return {word & 31, (word >> 5) & 63, word >> 11};
    }
    return {f.at(p + d->r), f.at(p + d->g), f.at(p + d->b)};
}

int bayerSample(const Frame &f, const BayerDesc &d, int x, int y)
{
    const int i = y * f.w + x;
    if (d.bits == 8)
        return f.at(i);
    return (f.at(2 * i) | f.at(2 * i + 1) << 8) & ((1 << d.bits) - 1);
}

char bayerColour(const BayerDesc &d, int x, int y) { return d.order[(y % 2) * 2 + x % 2]; }

// Mean of the listed neighbours that lie in the frame.
int neighbourMean(const Frame &f, const BayerDesc &d, int x, int y, std::initializer_list<std::pair<int, int>> around)
{
    int sum = 0, n = 0;
    for (auto [dx, dy] : around) {
        if (x + dx >= 0 && x + dx < f.w && y + dy >= 0 && y + dy < f.h) {
            sum += bayerSample(f, d, x + dx, y + dy);
            ++n;
        }
    }
    return sum / n;
}

Colour bayerAt(const Frame &f, int x, int y)
{
    const BayerDesc &d = *bayerDesc(f.name);
    const int shift = d.bits - 8;
    const char colour = bayerColour(d, x, y);
    int r, g, b;
    if (colour == 'G') {
        const int left = x == 0 ? bayerSample(f, d, 1, y)
                       : x == f.w - 1 ? bayerSample(f, d, f.w - 2, y)
                                      : (bayerSample(f, d, x - 1, y) + bayerSample(f, d, x + 1, y)) / 2;
        const int up = y == 0 ? bayerSample(f, d, x, 1)
                     : y == f.h - 1 ? bayerSample(f, d, x, f.h - 2)
                                    : (bayerSample(f, d, x, y - 1) + bayerSample(f, d, x, y + 1)) / 2;
        g = bayerSample(f, d, x, y);
        const bool redBeside = bayerColour(d, x + 1, y) == 'R';
        r = redBeside ? left : up;
        b = redBeside ? up : left;
    } else {
        const int own = bayerSample(f, d, x, y);
        g = neighbourMean(f, d, x, y, {{-1, 0}, {1, 0}, {0, -1}, {0, 1}});
        const int diag = neighbourMean(f, d, x, y, {{-1, -1}, {1, -1}, {-1, 1}, {1, 1}});
        r = colour == 'R' ? own : diag;
        b = colour == 'R' ? diag : own;
    }
    return {r >> shift, g >> shift, b >> shift};
}

void putRgb(QByteArray &out, const RgbDesc &d, int w, int x, int y, Colour c)
{
    const int p = (y * w + x) * d.size;
    if (d.size == 2) {
        const int word = (c.r & 31) | (c.g & 63) << 5 | (c.b & 31) << 11;
        out[p] = char(word);
        out[p + 1] = char(word >> 8);
        return;
    }
    out[p + d.r] = char(c.r);
    out[p + d.g] = char(c.g);
    out[p + d.b] = char(c.b);
}

QByteArray model(const Frame &src, const QByteArray &to, const Factors &f)
{
    const int w = src.w, h = src.h;
    QByteArray out(frameBytes(to, w, h), char(0xa5));
    if (isYuv(src.name) && isYuv(to)) {
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; x += 2) {
                const PairPos s = pairPos(src.name, w, h, x, y), t = pairPos(to, w, h, x, y);
                const Colour c = balance(fromYuv(src.at(s.y0) - 16, src.at(s.u) - 128, src.at(s.v) - 128), f);
                out[t.y0] = char(expose(yOf(c), f.exposure));
                out[t.u] = char(uOf(c));
                out[t.v] = char(vOf(c));
                if (x + 1 < w)
                    out[t.y1] = char(expose(src.at(s.y1), f.exposure));
            }
        return out;
    }
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            Colour c;
            if (rgbDesc(src.name)) {
                c = rgbAt(src, x, y);
            } else if (bayerDesc(src.name)) {
                c = bayerAt(src, x, y);
            } else {
                const PairPos s = pairPos(src.name, w, h, x & ~1, y);
                c = fromYuv(src.at(x & 1 ? s.y1 : s.y0) - 16, src.at(s.u) - 128, src.at(s.v) - 128);
            }
            c = adjust(c, f, bayerDesc(src.name) != nullptr);
            if (const RgbDesc *d = rgbDesc(to)) {
                putRgb(out, *d, w, x, y, c);
                continue;
            }
            const PairPos t = pairPos(to, w, h, x & ~1, y);
            if (x & 1) {
                out[t.y1] = char(yOf(c));
            } else {
                out[t.y0] = char(yOf(c));
                out[t.u] = char(uOf(c));
                out[t.v] = char(vOf(c));
            }
        }
    return out;
}

Frame randomFrame(const QByteArray &name, int w, int h, quint32 seed)
{
    Frame f{name, QByteArray(frameBytes(name, w, h), Qt::Uninitialized), w, h};
    for (char &c : f.bytes) {
        seed = seed * 1664525u + 1013904223u;
        c = char(seed >> 24);
    }
    return f;
}

QByteArray convert(const Frame &src, const QByteArray &to, const Factors &f, bool *ok = nullptr)
{
    QByteArray out(frameBytes(to, src.w, src.h), char(0xa5));
    const FrameBuffer target{reinterpret_cast<uchar *>(out.data()), fourcc(to)};
    const bool result = convertFrame(reinterpret_cast<const uchar *>(src.bytes.constData()), fourcc(src.name), src.w,
                                     src.h, &target, 1, f.red, f.green, f.blue, f.exposure);
    if (ok)
        *ok = result;
    return out;
}

QList<QByteArray> allNames()
{
    QList<QByteArray> names;
    for (const RgbDesc &d : RgbDescs)
        names << d.name;
    names << "YV12" << "YU12" << "NV12" << "NV21";
    for (const PackedDesc &d : PackedDescs)
        names << d.name;
    for (const BayerDesc &d : BayerDescs)
        names << d.name;
    return names;
}

QString firstDifference(const QByteArray &a, const QByteArray &b)
{
    for (int i = 0; i < qMin(a.size(), b.size()); ++i)
        if (a[i] != b[i])
            return QStringLiteral("byte %1: %2 instead of %3").arg(i).arg(quint8(a[i])).arg(quint8(b[i]));
    return QStringLiteral("sizes %1 and %2").arg(a.size()).arg(b.size());
}

} // namespace

Q_DECLARE_METATYPE(Factors)

class TestConvertFrame : public QObject
{
    Q_OBJECT

private slots:
    void table()
    {
        std::size_t count = 0;
        const PixelFormatEntry *rows = pixelFormatTable(&count);
        QCOMPARE(int(count), 33);
        QCOMPARE(fourccText(rows[0].fourcc), QStringLiteral("8RGB"));
        QCOMPARE(makeFourcc("YUYV"), quint32(0x56595559));
        // The first of two equal rows wins.
        QCOMPARE(findPixelFormat(makeFourcc("YVYU")), &rows[12]);
        QCOMPARE(findPixelFormat(makeFourcc("VYUY")), &rows[14]);
        QVERIFY(!findPixelFormat(makeFourcc("MJPG")));
        for (const QByteArray &name : allNames())
            QVERIFY2(findPixelFormat(fourcc(name)), name.constData());
    }

    void everyPair_data()
    {
        QTest::addColumn<QByteArray>("from");
        QTest::addColumn<QByteArray>("to");
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::addColumn<Factors>("f");
        const QList<QByteArray> names = allNames();
        int n = 0;
        for (const QByteArray &from : names)
            for (const QByteArray &to : names) {
                if (bayerDesc(to))
                    continue;
                // Alternate factors so that every pair meets plain and unusual ones; a red
                // scale below 1 overflows the byte on purpose. Odd sizes end in half pairs.
                const bool plain = (n++ % 3) == 0;
                for (const QSize size : {QSize(6, 4), QSize(5, 3)})
                    QTest::newRow(from + ">" + to + (plain ? " plain " : " balanced ")
                                  + QByteArray::number(size.width()) + "x" + QByteArray::number(size.height()))
                        << from << to << size.width() << size.height()
                        << (plain ? Factors() : Factors{0.75f, 1.3f, 2.0f, 1.4f});
            }
        for (const char *from : {"YUYV", "YU12", "NV21", "RGB3"})
            for (const char *to : {"YU12", "UYVY", "NV12", "8RGB"})
                for (const QSize size : {QSize(1, 1), QSize(3, 1), QSize(1, 3)})
                    QTest::newRow(QByteArray(from) + ">" + to + " " + QByteArray::number(size.width()) + "x"
                                  + QByteArray::number(size.height()))
                        << QByteArray(from) << QByteArray(to) << size.width() << size.height()
                        << Factors{1, 1, 1, 1.1f};
        // Frames wider than the routine's internal steps.
        for (const char *from : {"YUYV", "NV12", "YU12", "RGB3", "8RGB", "BA81", "RG10"})
            for (const char *to : {"YU12", "8RGB", "NV21", "UYVY"})
                QTest::newRow(QByteArray(from) + ">" + to + " wide")
                    << QByteArray(from) << QByteArray(to) << 263 << 7 << Factors{1.1f, 0.9f, 1.0f, 0.8f};
        // No multiplier gives the same bytes as dividing by this scale for every component.
        for (const char *from : {"YUYV", "RGB3", "GRBG"})
            for (const char *to : {"YU12", "8RGB"})
                QTest::newRow(QByteArray(from) + ">" + to + " divided")
                    << QByteArray(from) << QByteArray(to) << 8 << 4 << Factors{0.502958596f, 1, 1, 1};
    }

    void everyPair()
    {
        QFETCH(QByteArray, from);
        QFETCH(QByteArray, to);
        QFETCH(int, width);
        QFETCH(int, height);
        QFETCH(Factors, f);
        const Frame src = randomFrame(from, width, height, qHash(from) ^ width);
        bool ok = false;
        const QByteArray got = convert(src, to, f, &ok);
        QVERIFY(ok);
        const QByteArray want = model(src, to, f);
        QVERIFY2(got == want, qPrintable(firstDifference(got, want)));
    }

    void goldenBytes()
    {
        // Pure red through the colour round trip: Y 82, U 90, V 240 give back (255, 1, 0), whose V is 239.
        const Frame red{"RGB3", QByteArray("\xff\x00\x00\xff\x00\x00", 6), 2, 1};
        QCOMPARE(convert(red, "8RGB", {}), QByteArray("\x00\x01\xff\xa5\x00\x01\xff\xa5", 8));
        QCOMPARE(convert(red, "YUYV", {}), QByteArray("\x52\x5a\x52\xef", 4));
        // Mid grey survives; exposure 0.5 turns Y 126 into 63, that is grey 55.
        const Frame grey{"YUYV", QByteArray("\x7e\x80\x7e\x80", 4), 2, 1};
        QCOMPARE(convert(grey, "RGB3", {}), QByteArray("\x80\x80\x80\x80\x80\x80", 6));
        QCOMPARE(convert(grey, "RGB3", {1, 1, 1, 0.5f}), QByteArray("\x37\x37\x37\x37\x37\x37", 6));
        // YUV to YUV: the second Y only gets exposure: 126 * 0.5 = 63 and 200 * 0.5 = 100.
        const Frame pair{"YUYV", QByteArray("\x7e\x80\xc8\x80", 4), 2, 1};
        QCOMPARE(convert(pair, "YUYV", {1, 1, 1, 0.5f}), QByteArray("\x3f\x80\x64\x80", 4));
        // Scales below 1 wrap in the byte: 200 / 0.5 = 400 keeps 144.
        const Frame bright{"RGB3", QByteArray("\xc8\x00\x00", 3), 1, 1};
        const Frame wrapped{"RGB3", QByteArray("\x90\x00\x00", 3), 1, 1};
        QCOMPARE(convert(bright, "RGB3", {0.5f, 1, 1, 1}), convert(wrapped, "RGB3", {}));
    }

    void greyKeepsItsLevel()
    {
        QByteArray grey;
        for (int level = 0; level < 256; ++level)
            grey += QByteArray(3, char(level));
        const QByteArray out = convert({"RGB3", grey, 256, 1}, "RGB3", {});
        for (int i = 0; i < out.size(); ++i)
            QVERIFY2(qAbs(quint8(out[i]) - quint8(grey[i])) <= 1, qPrintable(QString::number(i)));
    }

    void twoTargets()
    {
        const Frame src = randomFrame("YUYV", 6, 2, 11);
        QByteArray video(6 * 2 * 3 / 2, char(0xa5)), preview(6 * 2 * 4, char(0xa5));
        const FrameBuffer targets[2] = {{reinterpret_cast<uchar *>(video.data()), makeFourcc("YU12")},
                                        {reinterpret_cast<uchar *>(preview.data()), makeFourcc("8RGB")}};
        QVERIFY(convertFrame(reinterpret_cast<const uchar *>(src.bytes.constData()), makeFourcc("YUYV"), 6, 2, targets,
                             2, 1, 1, 1, 1));
        QCOMPARE(video, convert(src, "YU12", {}));
        QCOMPARE(preview, convert(src, "8RGB", {}));
    }

    void unknownFormats()
    {
        const uchar pixels[16] = {};
        QTest::ignoreMessage(QtWarningMsg, "Pixel format \"MJPG\" is unknown");
        QTest::ignoreMessage(QtCriticalMsg, "[CAMERA] Source pixel format \"MJPG\" is unknown");
        QVERIFY(!convertFrame(pixels, makeFourcc("MJPG"), 2, 2, nullptr, 0, 1, 1, 1, 1));
        QVERIFY(convertFrame(pixels, makeFourcc("YUYV"), 2, 2, nullptr, 0, 1, 1, 1, 1));

        uchar out[16];
        FrameBuffer target{out, makeFourcc("H264")};
        QTest::ignoreMessage(QtWarningMsg, "Pixel format \"H264\" is unknown");
        QTest::ignoreMessage(QtCriticalMsg, "[CAMERA] Destination pixel format \"H264\" is unknown");
        QVERIFY(!convertFrame(pixels, makeFourcc("YUYV"), 2, 2, &target, 1, 1, 1, 1, 1));
        // A Bayer target is refused quietly; demosaicing needs two pixels both ways.
        target.fourcc = makeFourcc("BA81");
        QVERIFY(!convertFrame(pixels, makeFourcc("YUYV"), 2, 2, &target, 1, 1, 1, 1, 1));
        target.fourcc = makeFourcc("8RGB");
        QTest::ignoreMessage(QtCriticalMsg, QRegularExpression("Frame size 1 x 2 doesn't suit"));
        QVERIFY(!convertFrame(pixels, makeFourcc("RGGB"), 1, 2, &target, 1, 1, 1, 1, 1));
    }

    // Byte for byte what the conversion gave before its speed work, over every layout.
    void sameAsBefore()
    {
        const QList<QByteArray> names = allNames();
        // Plain, camera-like, wrapping and dimming, no exact multiplier, negative, strong.
        const Factors settings[] = {{},
                                    {1.1f, 1.0f, 0.9f, 1.2f},
                                    {0.75f, 1.3f, 2.0f, 0.6f},
                                    {0.502958596f, 1.0f, 3.0f, 1.0f},
                                    {1.0f, 1.0f, 1.0f, -1.0f},
                                    {0.3f, 4.0f, 1.25f, 200.0f}};
        for (const QSize size : {QSize(8, 2), QSize(262, 6)})
            for (const QByteArray &from : names) {
                const Frame src = randomFrame(from, size.width(), size.height(), qHash(from));
                for (const QByteArray &to : names) {
                    if (bayerDesc(to))
                        continue;
                    for (const Factors &f : settings) {
                        QByteArray before(frameBytes(to, src.w, src.h), char(0xa5));
                        const FrameBuffer target{reinterpret_cast<uchar *>(before.data()), fourcc(to)};
                        QVERIFY(Legacy::convertFrame(reinterpret_cast<const uchar *>(src.bytes.constData()),
                                                     fourcc(from), src.w, src.h, &target, 1, f.red, f.green, f.blue,
                                                     f.exposure));
                        const QByteArray now = convert(src, to, f);
                        QVERIFY2(now == before, qPrintable(from + ">" + to + ": " + firstDifference(now, before)));
                    }
                }
            }
    }

};

CALDERWICK_TEST_MAIN(TestConvertFrame)
#include "tst_convertframe.moc"
