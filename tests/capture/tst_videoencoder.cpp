// The encoder judged by the real tools: ffprobe, mkvinfo, libwebm's parser, ffmpeg's decoder
// against the source pictures, and the sound against devicesim's tones.
#include "audioserver.h"
#include "devicesimulator.h"
#include "doublebuffer.h"
#include "mediajudges.h"
#include "testenvironment.h"
#include "videoencoder.h"

#include <QBuffer>
#include <QElapsedTimer>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPainter>
#include <QProcess>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <webm/callback.h>
#include <webm/file_reader.h>
#include <webm/webm_parser.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <set>

namespace {

using MediaJudges::run;

const QString Address = TestEnvironment::loopback(1);
constexpr int W = 320, H = 480, Pictures = 3;

// Picture k of the sequence: its own colour, a dark band at the top and a white square in the
// top left corner, so that a flipped or mirrored frame cannot pass for it.
QImage picture(int k)
{
    QImage image(W, H, QImage::Format_RGB32);
    image.fill(QColor::fromHsv(k * 120, 200, 220));
    QPainter painter(&image);
    painter.fillRect(0, 0, W, H / 8, QColor(20, 20, 60));
    painter.fillRect(10, H / 8 + 10, W / 3, W / 3, Qt::white);
    return image;
}

double psnr(const QImage &a, const QImage &b)
{
    double sum = 0;
    for (int y = 0; y < H; ++y) {
        const uchar *p = a.constScanLine(y), *q = b.constScanLine(y);
        for (int x = 0; x < W * 4; ++x)
            if (x % 4 != 3)
                sum += double(p[x] - q[x]) * (p[x] - q[x]);
    }
    const double mse = sum / (W * H * 3.0);
    return mse == 0 ? 99 : 10 * std::log10(255.0 * 255.0 / mse);
}

QList<QImage> decodeFrames(const QString &path)
{
    const QByteArray raw = run("ffmpeg", {"-v", "error", "-i", path, "-map", "0:v", "-f", "rawvideo", "-pix_fmt", "bgra", "-"});
    QList<QImage> frames;
    for (int offset = 0; offset + W * H * 4 <= raw.size(); offset += W * H * 4)
        frames << QImage(reinterpret_cast<const uchar *>(raw.constData() + offset), W, H, QImage::Format_RGB32).copy();
    return frames;
}

// Every decoded frame is one of the pictures, upright, and each picture was seen.
void checkUpright(const QList<QImage> &frames, int minimum, int pictures)
{
    QVERIFY2(frames.size() >= minimum, qPrintable(QString::number(frames.size())));
    std::set<int> seen;
    for (const QImage &frame : frames) {
        int best = 0;
        for (int k = 1; k < Pictures; ++k)
            best = psnr(frame, picture(k)) > psnr(frame, picture(best)) ? k : best;
        const double upright = psnr(frame, picture(best));
        QVERIFY2(upright > 30, qPrintable(QString::number(upright)));
        QVERIFY(psnr(frame, picture(best).mirrored(false, true)) < upright - 10);
        seen.insert(best);
    }
    QVERIFY(int(seen.size()) >= pictures);
}

// The frequency from 100 to 2000 Hz, in 5 Hz steps, with the most energy in the loudest
// stretch of count sample pairs.
int dominantHz(const QVector<qint16> &samples, int channel, int count)
{
    const auto at = [&](int i) { return double(samples[2 * i + channel]); };
    int first = 0, best = 0;
    double loudest = -1, strongest = -1;
    for (int start = 0; start + count <= samples.size() / 2; start += count) {
        double energy = 0;
        for (int i = start; i < start + count; ++i)
            energy += at(i) * at(i);
        if (energy > loudest)
            loudest = energy, first = start;
    }
    for (int hz = 100; hz <= 2000; hz += 5) {
        const double w = 2 * M_PI * hz / AudioServer::SampleRate;
        double re = 0, im = 0;
        for (int i = 0; i < count; ++i)
            re += at(first + i) * std::cos(w * i), im += at(first + i) * std::sin(w * i);
        if (re * re + im * im > strongest)
            strongest = re * re + im * im, best = hz;
    }
    return best;
}

// Counts what libwebm's parser meets on its walk through every element.
struct ElementWalker : webm::Callback
{
    int elements = 0, unknown = 0, blocks = 0;
    std::set<std::string> codecs;
    webm::Status OnElementBegin(const webm::ElementMetadata &metadata, webm::Action *action) override
    {
        return ++elements, Callback::OnElementBegin(metadata, action);
    }
    webm::Status OnUnknownElement(const webm::ElementMetadata &metadata, webm::Reader *reader, std::uint64_t *bytes) override
    {
        return ++unknown, Callback::OnUnknownElement(metadata, reader, bytes);
    }
    webm::Status OnSimpleBlockBegin(const webm::ElementMetadata &metadata, const webm::SimpleBlock &block,
                                    webm::Action *action) override
    {
        return ++blocks, Callback::OnSimpleBlockBegin(metadata, block, action);
    }
    webm::Status OnTrackEntry(const webm::ElementMetadata &, const webm::TrackEntry &entry) override
    {
        return codecs.insert(entry.codec_id.value()), webm::Status(webm::Status::kOkCompleted);
    }
};

QString saved(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() ? path : QString();
}

// A file-like device that takes no more writes once it holds more than refuseBeyond bytes;
// what it held at that moment is kept aside.
class RefusingBuffer : public QBuffer
{
public:
    RefusingBuffer(QByteArray *store, QByteArray *atRefusal) : QBuffer(store), atRefusal(atRefusal) {}
    qint64 refuseBeyond = std::numeric_limits<qint64>::max();
protected:
    qint64 writeData(const char *data, qint64 length) override
    {
        if (buffer().size() <= refuseBeyond)
            return QBuffer::writeData(data, length);
        if (atRefusal->isEmpty())
            *atRefusal = buffer();
        return -1;
    }
private:
    QByteArray *atRefusal;
};

} // namespace

class TestVideoEncoder : public QObject
{
    Q_OBJECT

    // The picture sequence, one picture a second, rows in the given order, as a renderer
    // hands them on.
    void startFeeding(int rowOrder)
    {
        direction = rowOrder;
        clock.start();
        feed();
        feeder.start(10);
    }
    void feed() { frames.write(picture(int(clock.elapsed() / 1000) % Pictures).mirrored(false, direction < 0).constBits(), direction); }

    // Runs the encoder for the given time, feeding it; returns the time it ran.
    double record(VideoEncoder &encoder, int milliseconds)
    {
        startFeeding(1);
        encoder.start();
        QElapsedTimer recorded;
        recorded.start();
        QTest::qWait(milliseconds);
        const double seconds = recorded.elapsed() / 1000.0;
        encoder.stop();
        return seconds;
    }

    QTimer feeder;
    QElapsedTimer clock;
    int direction = 1;
    QTemporaryDir dir;
    DoubleBuffer frames{W, H};
    DeviceSimulator device{SimulatorOptions{QHostAddress(Address), QSize(720, 1280)}};

private slots:
    void initTestCase()
    {
        QVERIFY(device.start());
        connect(&feeder, &QTimer::timeout, this, &TestVideoEncoder::feed);
    }
    void cleanup() { feeder.stop(); }

    void recordingWithSound()
    {
        const QString path = dir.filePath("recording.webm");
        auto *file = new QFile(path);
        QVERIFY(file->open(QIODevice::ReadWrite | QIODevice::Truncate));
        VideoEncoder encoder(&frames, EncoderSettings::recording());
        QVERIFY(encoder.initialize(file, true, Address));
        QVERIFY(encoder.hasAudio() && !encoder.isLive());
        const double seconds = record(encoder, 4000);

        QByteArray info;
        MediaJudges::checkRecording(path, seconds, &info);
        if (QTest::currentTestFailed())
            return;
        QVERIFY(info.contains("Calderwick"));

        ElementWalker walker;
        webm::FileReader reader(std::fopen(QFile::encodeName(path).constData(), "rb"));
        webm::WebmParser parser;
        QVERIFY(parser.Feed(&walker, &reader).completed_ok());
        QCOMPARE(walker.unknown, 0);
        QCOMPARE(walker.codecs, (std::set<std::string>{"V_VP8", "A_VORBIS"}));
        QVERIFY(walker.blocks > 80 && walker.elements > walker.blocks);

        checkUpright(decodeFrames(path), 80, Pictures);

        const QByteArray pcm = run("ffmpeg", {"-v", "error", "-i", path, "-map", "0:a", "-f", "s16le", "-"});
        QVector<qint16> samples(pcm.size() / 2);
        std::memcpy(samples.data(), pcm.constData(), size_t(samples.size()) * 2);
        QVERIFY(samples.size() / 2 >= 2 * 44100);
        QCOMPARE(dominantHz(samples, 0, 8192), AudioServer::LeftHz);
        QCOMPARE(dominantHz(samples, 1, 8192), AudioServer::RightHz);
    }

    // A socket is no file: the stream is live, bottom-up rows still come out upright, and
    // the peer's leaving stops the encoder.
    void liveStreamToSocket()
    {
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress(Address)));
        auto *socket = new QTcpSocket;
        socket->connectToHost(Address, server.serverPort());
        QVERIFY(socket->waitForConnected(2000) && server.waitForNewConnection(2000));
        QTcpSocket *viewer = server.nextPendingConnection();
        QByteArray received;
        connect(viewer, &QTcpSocket::readyRead, [&] { received += viewer->readAll(); });

        VideoEncoder encoder(&frames, EncoderSettings::streaming());
        QVERIFY(encoder.initialize(socket, false, Address));
        QVERIFY(encoder.isLive() && !encoder.hasAudio());
        QSignalSpy closed(&encoder, &VideoEncoder::outputClosed);
        startFeeding(-1);
        encoder.start();
        QTRY_VERIFY_WITH_TIMEOUT(clock.elapsed() > 2500 && !received.isEmpty(), 10000);
        viewer->close();
        QVERIFY(closed.wait(3000));
        encoder.stop();

        const QString path = saved(dir.filePath("live.webm"), received);
        QCOMPARE(run("ffprobe", {"-v", "error", "-show_entries", "stream=codec_name", "-of", "csv=p=0", path}).trimmed(),
                 QByteArray("vp8"));
        checkUpright(decodeFrames(path), 15, 1);
    }

    // The device stops taking writes mid-stream: one error, and every byte it took stays as
    // it was, a file that still plays.
    void deviceRefusingWrites()
    {
        QByteArray store, atRefusal;
        auto *device = new RefusingBuffer(&store, &atRefusal);
        QVERIFY(device->open(QIODevice::ReadWrite));
        VideoEncoder encoder(&frames, EncoderSettings::recording());
        // A device with no sound port gives a video-only file.
        QTest::ignoreMessage(QtWarningMsg, "Unable to open audio input, sound recording disabled.");
        QVERIFY(encoder.initialize(device, true, TestEnvironment::loopback(2)) && !encoder.hasAudio());
        device->refuseBeyond = store.size(); // the header and the first cluster go through
        QTest::ignoreMessage(QtCriticalMsg, "[VideoEncoder] Could not add video frame to track");
        QTest::ignoreMessage(QtWarningMsg, "[VideoEncoder] Segment finalization failed");
        record(encoder, 4000);
        QVERIFY(!atRefusal.isEmpty());
        QCOMPARE(store, atRefusal);

        const QString path = saved(dir.filePath("prefix.webm"), store);
        checkUpright(decodeFrames(path), 15, 1);
    }
};

CALDERWICK_TEST_GUI_MAIN(TestVideoEncoder)
#include "tst_videoencoder.moc"
