// The screen stream's wire format: golden bytes for what the encoder writes, round trips
// through the decoder, and the refusals whose reasons the reader logs.

#include "testenvironment.h"

#include "framedecoder.h"
#include "frameencoder.h"
#include "streamformat.h"

#include <cstring>

using namespace ScreenStream;

namespace {

Picture makePicture(int width, int height, uint32_t seed)
{
    Picture picture;
    picture.reset(width, height);
    for (size_t i = 0; i < picture.pixels.size(); ++i)
        picture.pixels[i] = uint8_t((i / 4 / 5) * 13 + seed); // runs of equal pixels, as screens have
    return picture;
}

void setPixel(Picture &picture, int x, int y, uint8_t value)
{
    std::memset(picture.row(y) + 4 * x, value, 4);
}

QByteArray bytes(const std::vector<uint8_t> &data)
{
    return QByteArray(reinterpret_cast<const char *>(data.data()), int(data.size()));
}

bool decode(const std::vector<uint8_t> &message, Picture &picture, FrameDecoder::FrameInfo &info, std::string &error)
{
    Header header;
    if (message.size() < kHeaderSize || !parseHeader(message.data(), header, error))
        return false;
    if (message.size() != kHeaderSize + header.payloadLength) {
        error = "length";
        return false;
    }
    FrameDecoder decoder;
    return decoder.apply(header, message.data() + kHeaderSize, header.payloadLength, picture, info, error);
}

} // namespace

class TestStreamFormat : public QObject
{
    Q_OBJECT

private slots:
    void keyFrameBytes()
    {
        Picture picture;
        picture.reset(2, 1);
        const uint8_t pixels[] = {1, 2, 3, 0xff, 4, 5, 6, 0xff};
        std::memcpy(picture.pixels.data(), pixels, sizeof pixels);
        std::vector<uint8_t> out;
        FrameEncoder encoder(FrameEncoder::Options{false, 1});
        QCOMPARE(encoder.encode(picture, nullptr, 90, 7, 0x0102030405060708ull, out), 1);
        const QByteArray expected = QByteArray::fromHex("43575346" "01" "01" "0100" "07000000" "2c000000"
                                                        "0200" "0100" "5a00" "01" "00" "0807060504030201" "0100" "0000"
                                                        "0000" "0000" "0200" "0100" "00" "000000" "08000000"
                                                        "010203ff040506ff");
        QCOMPARE(bytes(out).toHex(), expected.toHex());
    }

    void deltaFrameSendsTheChangedBandOnly()
    {
        const Picture before = makePicture(4, 32, 1);
        Picture after = before;
        setPixel(after, 2, 20, 0x77);
        std::vector<uint8_t> out;
        FrameEncoder encoder(FrameEncoder::Options{false, 1});
        QCOMPARE(encoder.encode(after, &before, 0, 2, 0, out), 1);
        // No key flag; one rectangle of column 2 over the band of rows 16 to 31.
        QCOMPARE(bytes(out).mid(6, 2).toHex(), QByteArray("0000"));
        QCOMPARE(bytes(out).mid(36, 16).toHex(), QByteArray::fromHex("0200" "1000" "0100" "1000" "00" "000000"
                                                                     "40000000").toHex());
        QCOMPARE(out.size(), size_t(16 + 20 + 16 + 64));
    }

    void changedRects_data()
    {
        QTest::addColumn<QList<QPoint>>("changes");
        QTest::addColumn<QList<QRect>>("rects");
        QTest::newRow("nothing") << QList<QPoint>{} << QList<QRect>{};
        QTest::newRow("one pixel") << QList<QPoint>{{3, 5}} << QList<QRect>{{3, 0, 1, 16}};
        QTest::newRow("two in a band") << QList<QPoint>{{1, 5}, {6, 9}} << QList<QRect>{{1, 0, 6, 16}};
        QTest::newRow("a column") << QList<QPoint>{{1, 5}, {1, 20}, {1, 39}} << QList<QRect>{{1, 0, 1, 40}};
        QTest::newRow("apart in x") << QList<QPoint>{{1, 5}, {6, 20}} << QList<QRect>{{1, 0, 1, 16}, {6, 16, 1, 16}};
        QTest::newRow("apart in y") << QList<QPoint>{{1, 5}, {1, 38}} << QList<QRect>{{1, 0, 1, 16}, {1, 32, 1, 8}};
    }
    void changedRects()
    {
        QFETCH(QList<QPoint>, changes);
        QFETCH(QList<QRect>, rects);
        const Picture before = makePicture(8, 40, 3);
        Picture after = before;
        for (const QPoint &p : changes)
            setPixel(after, p.x(), p.y(), 0xee);
        QList<QRect> found;
        for (const Rect &r : FrameEncoder::changedRects(after, before))
            found << QRect(r.x, r.y, r.width, r.height);
        QCOMPARE(found, rects);
    }

    void roundTrip_data()
    {
        QTest::addColumn<bool>("compress");
        QTest::newRow("raw") << false;
        QTest::newRow("lz4") << true;
    }
    void roundTrip()
    {
        QFETCH(bool, compress);
        FrameEncoder encoder(FrameEncoder::Options{compress, 1});
        Picture current = makePicture(64, 48, 9);
        Picture received;
        std::vector<uint8_t> out;
        encoder.encode(current, nullptr, 0, 1, 0, out);
        FrameDecoder::FrameInfo info;
        std::string error;
        QVERIFY2(decode(out, received, info, error), error.c_str());
        QVERIFY(received.pixels == current.pixels);
        for (uint32_t step = 2; step < 12; ++step) {
            const Picture previous = current;
            for (int i = 0; i < int(step); ++i)
                setPixel(current, int(step * 7 + i) % 64, int(step * 5 + i * 3) % 48, uint8_t(step * 11 + i));
            out.clear();
            encoder.encode(current, &previous, 270, step, step * 1000, out);
            QCOMPARE(out[6] & kFlagKeyFrame, 0);
            QVERIFY2(decode(out, received, info, error), error.c_str());
            QVERIFY(received.pixels == current.pixels);
            QCOMPARE(info.orientation, 270);
            QCOMPARE(info.timestampMicros, uint64_t(step * 1000));
        }
        if (compress)
            QVERIFY(out.size() < current.pixels.size() / 4);
    }

    void refusesMalformedFrames_data()
    {
        QTest::addColumn<int>("offset"); // into the message; -1: append a byte
        QTest::addColumn<QByteArray>("patch");
        QTest::addColumn<QString>("reason");
        // The message under test is the raw key frame of a 2x1 picture, as in keyFrameBytes.
        // Only refusals that matter beyond memory safety stand here: fuzz_framedecoder runs the
        // decoder under the sanitizers over cut, overlong and garbled frames.
        QTest::newRow("wrong magic") << 0 << QByteArray("XWSF") << "wrong magic";
        QTest::newRow("version") << 4 << QByteArray::fromHex("02") << "unsupported version";
        QTest::newRow("type") << 5 << QByteArray::fromHex("09") << "unknown message type";
        QTest::newRow("huge payload") << 12 << QByteArray::fromHex("ffffffff") << "too large";
        QTest::newRow("zero width") << 16 << QByteArray::fromHex("0000") << "out of range";
        QTest::newRow("orientation") << 20 << QByteArray::fromHex("2d00") << "right angle";
        QTest::newRow("pixel format") << 22 << QByteArray::fromHex("07") << "pixel format";
        QTest::newRow("rect outside") << 36 << QByteArray::fromHex("0100") << "outside the frame";
        QTest::newRow("empty rect") << 40 << QByteArray::fromHex("0000") << "outside the frame";
        QTest::newRow("encoding") << 44 << QByteArray::fromHex("05") << "encoding";
        QTest::newRow("stray byte") << -1 << QByteArray::fromHex("00") << "stray bytes";
    }
    void refusesMalformedFrames()
    {
        QFETCH(int, offset);
        QFETCH(QByteArray, patch);
        QFETCH(QString, reason);
        Picture picture;
        picture.reset(2, 1);
        std::vector<uint8_t> message;
        FrameEncoder(FrameEncoder::Options{false, 1}).encode(picture, nullptr, 0, 1, 0, message);
        if (offset < 0) {
            message.insert(message.end(), patch.begin(), patch.end());
            put32(message.data() + 12, get32(message.data() + 12) + uint32_t(patch.size()));
        } else {
            std::memcpy(message.data() + offset, patch.constData(), size_t(patch.size()));
        }
        Header header;
        std::string error;
        bool ok = parseHeader(message.data(), header, error);
        if (ok) {
            FrameDecoder decoder;
            FrameDecoder::FrameInfo info;
            Picture target;
            const size_t length = std::min<size_t>(header.payloadLength, message.size() - kHeaderSize);
            ok = decoder.apply(header, message.data() + kHeaderSize, length, target, info, error);
        }
        QVERIFY(!ok);
        QVERIFY2(QString::fromStdString(error).contains(reason), error.c_str());
    }

    void deltaOfAnotherSizeIsRefused()
    {
        const Picture small = makePicture(4, 4, 1);
        Picture changed = small;
        setPixel(changed, 0, 0, 0x11);
        std::vector<uint8_t> delta;
        FrameEncoder().encode(changed, &small, 0, 2, 0, delta);
        Picture other = makePicture(8, 8, 2);
        const Picture untouched = other;
        FrameDecoder::FrameInfo info;
        std::string error;
        QVERIFY(!decode(delta, other, info, error));
        QVERIFY(QString::fromStdString(error).contains(QLatin1String("no key frame")));
        QVERIFY(other.pixels == untouched.pixels);
    }

    void controlMessages_data()
    {
        QTest::addColumn<QByteArray>("wire");
        QTest::addColumn<bool>("valid");
        QTest::addColumn<uint32_t>("kind");
        QTest::addColumn<uint32_t>("value");
        // fuzz_controlmessage holds every accepted message to a known kind and a valid window.
        QTest::newRow("hello") << QByteArray::fromHex("43575343" "01000000" "02000000") << true << 1u << 2u;
        QTest::newRow("ack") << QByteArray::fromHex("43575343" "02000000" "10270000") << true << 2u << 10000u;
        QTest::newRow("wrong magic") << QByteArray::fromHex("43575346" "02000000" "00000000") << false << 0u << 0u;
    }
    void controlMessages()
    {
        QFETCH(QByteArray, wire);
        QFETCH(bool, valid);
        QFETCH(uint32_t, kind);
        QFETCH(uint32_t, value);
        ControlMessage message;
        std::string error;
        QCOMPARE(parseControlMessage(reinterpret_cast<const uint8_t *>(wire.constData()), message, error), valid);
        if (!valid)
            return;
        QCOMPARE(message.kind, kind);
        QCOMPARE(message.value, value);
        uint8_t written[kClientMessageSize];
        writeControlMessage(written, message);
        QCOMPARE(QByteArray(reinterpret_cast<const char *>(written), int(sizeof written)), wire);
    }
};

CALDERWICK_TEST_MAIN(TestStreamFormat)
#include "tst_streamformat.moc"
