#pragma once

#include "encodersettings.h"

#include <QElapsedTimer>
#include <QObject>
#include <QString>

#include <functional>
#include <memory>
#include <vector>

class AudioInput;
class DoubleBuffer;
class EncoderThread;
class QIODevice;
class VorbisEncoder;
class Vp8Encoder;
class WebmWriter;
struct EncodedPacket;

// Turns the device's screen (the newest frame of a DoubleBuffer) and its sound into a WebM
// stream of VP8 and Vorbis on any QIODevice: a file for recordings, a socket for the live
// preview. Made, initialized, started and stopped once; each recording makes a new one.
class VideoEncoder : public QObject
{
    Q_OBJECT

public:
    // Copies the picture to encode, width x height x 4 bytes of BGRA, into the buffer it is
    // given and returns its direction (1 rows top to bottom, -1 bottom to top). Called on the
    // encoder's thread.
    using FrameSource = std::function<int(uchar *buffer)>;

    // frames is not owned and must outlive the encoder; its size is the video's.
    VideoEncoder(DoubleBuffer *frames, const EncoderSettings &settings, QObject *parent = nullptr);
    VideoEncoder(int width, int height, FrameSource source, const EncoderSettings &settings,
                 QObject *parent = nullptr);
    ~VideoEncoder() override;

    // Takes over output (it must be open for writing). With sound, the device at
    // deviceAddress is asked for it; a device without sound gives a video-only stream.
    // False (logged) when the container or a track could not be set up.
    bool initialize(QIODevice *output, bool withAudio, const QString &deviceAddress);
    // Encodes at the preset's frame rate on a thread of its own until stop().
    void start();

    // The encoder thread's steps.
    bool encodeVideo();
    void finishOutput();
    QIODevice *outputDevice() const { return output; }

    // One picture through the VP8 encoder into the container, pts and duration in frame
    // periods; what encodeVideo does with each frame, open for benchmarks.
    bool encodePicture(const uchar *pixels, int direction, qint64 pts, unsigned long duration);

    bool hasAudio() const { return audioInput != nullptr; }
    bool isLive() const;

signals:
    // The output went away by itself (a socket's peer left); the encoder has stopped encoding.
    void outputClosed();
    // The output refused what the encoder wrote (a full disk, a device that refuses writes).
    // Sent once, from the encoder's thread; what was written before stays in the output.
    void writeFailed();

public slots:
    // Ends the thread, closes the container and deletes the output. Blocks until the running
    // step has ended.
    void stop();

private slots:
    void abortEncoding();

private:
    bool encodeAudio();
    bool writeAudio(const qint16 *samples, int pairs, const char *failure);
    void reportWriteFailure();
    bool writePackets(int track, std::vector<EncodedPacket> &packets, int num, int den);

    quint32 width;
    quint32 height;
    FrameSource readFrame;
    std::vector<uchar> frameBuffer;
    int framePeriod;
    qint64 nextPts = 0;
    qint64 audioSamplesWritten = 0;
    EncoderSettings settings;
    std::unique_ptr<WebmWriter> writer;
    QIODevice *output = nullptr;
    int videoTrack = -1;
    int audioTrack = -1;
    std::unique_ptr<AudioInput> audioInput;
    std::unique_ptr<VorbisEncoder> vorbis;
    std::unique_ptr<Vp8Encoder> vp8;
    QElapsedTimer clock;
    EncoderThread *thread = nullptr;
    bool initialized = false;
    bool stopped = false;
    // A device that refuses writes refuses them at every step: said once, not every frame.
    bool videoWriteFailed = false;
    bool audioWriteFailed = false;
    bool writeFailureReported = false;
};
