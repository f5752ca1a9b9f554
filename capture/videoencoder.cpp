#include "videoencoder.h"

#include "audioinput.h"
#include "capturemanager.h"
#include "doublebuffer.h"
#include "encodedpacket.h"
#include "encoderthread.h"
#include "vorbisencoder.h"
#include "vp8encoder.h"
#include "webmwriter.h"

#include <QAbstractSocket>
#include <QDebug>
#include <QIODevice>

namespace {

constexpr int SampleRate = 44100;
constexpr int Channels = 2;
constexpr float VorbisQuality = 0.4f;
// Sound arrives in bursts, late by the network and the device's own pacing. Silence fills in
// only once the sound is this far behind the clock, and sound that would run this far ahead
// of it is dropped, so that a late burst never pushes the track beyond real time.
constexpr qint64 AudioSlackPairs = SampleRate / 5;

} // namespace

VideoEncoder::VideoEncoder(DoubleBuffer *frames, const EncoderSettings &settings, QObject *parent)
    : VideoEncoder(frames->width(), frames->height(), [frames](uchar *buffer) { return frames->read(buffer); },
                   settings, parent)
{
}

VideoEncoder::VideoEncoder(int width, int height, FrameSource source, const EncoderSettings &settings,
                           QObject *parent)
    : QObject(parent)
    , width(quint32(width))
    , height(quint32(height))
    , readFrame(std::move(source))
    , frameBuffer(size_t(width) * size_t(height) * 4)
    , framePeriod(settings.framePeriod())
    , settings(settings)
{
}

VideoEncoder::~VideoEncoder()
{
    stop();
}

bool VideoEncoder::initialize(QIODevice *device, bool withAudio, const QString &deviceAddress)
{
    if (initialized || stopped || !device)
        return false;
    // Ours from now on; it moves to the encoder's thread, which a parented object cannot.
    device->setParent(nullptr);
    output = device;
    writer = std::make_unique<WebmWriter>(output);
    if (!writer->isValid() || !output->isWritable()) {
        qCritical() << "[VideoEncoder]" << "Could not initialize muxer segment";
        return false;
    }
    vp8 = std::make_unique<Vp8Encoder>(int(width), int(height), settings);
    videoTrack = vp8->isValid() ? writer->addVideoTrack(int(width), int(height), settings.frameRate) : -1;
    if (videoTrack < 0) {
        qCritical() << "[VideoEncoder]" << "Could not add video track";
        return false;
    }
    if (withAudio) {
        audioInput = std::make_unique<AudioInput>(deviceAddress);
        if (!audioInput->open()) {
            qWarning() << "Unable to open audio input, sound recording disabled.";
            audioInput.reset();
        }
    }
    if (audioInput) {
        vorbis = std::make_unique<VorbisEncoder>(SampleRate, VorbisQuality);
        if (!vorbis->isValid() || vorbis->codecPrivate().isEmpty()) {
            qCritical() << "[VideoEncoder]" << "Could not add audio private data";
            audioInput.reset();
            return false;
        }
        audioTrack = writer->addAudioTrack(SampleRate, Channels, vorbis->codecPrivate());
        if (audioTrack < 0) {
            qCritical() << "[VideoEncoder]" << "Could not add audio track";
            audioInput.reset();
            return false;
        }
    }
    if (!writer->begin()) {
        qCritical() << "[VideoEncoder]" << "Could not initialize muxer segment";
        return false;
    }
    initialized = true;
    return true;
}

bool VideoEncoder::isLive() const
{
    return writer && !writer->isSeekable();
}

void VideoEncoder::start()
{
    qDebug() << "[VideoEncoder]" << "Starting encoder...";
    if (thread || !initialized || stopped)
        return;
    // The renderer hands out frames only while somebody wants them.
    if (CaptureManager *manager = CaptureManager::instance())
        manager->registerConsumer(this);
    thread = new EncoderThread(this, framePeriod, this);
    connect(thread, &EncoderThread::outputClosed, this, &VideoEncoder::abortEncoding);
    output->moveToThread(thread);
    if (audioInput)
        audioInput->moveToThread(thread);
    // The file's time counts from here, not from when a busy machine gets the thread going.
    clock.start();
    thread->start(QThread::InheritPriority);
}

void VideoEncoder::stop()
{
    if (stopped)
        return;
    stopped = true;
    if (thread) {
        thread->quit();
        thread->wait();
        delete thread;
        thread = nullptr;
    }
    writer.reset();
    delete output;
    output = nullptr;
    qDebug() << "[VideoEncoder]" << "Encoder stopped";
    if (CaptureManager *manager = CaptureManager::instance())
        manager->unregisterConsumer(this);
    vorbis.reset();
    vp8.reset();
    audioInput.reset();
}

void VideoEncoder::abortEncoding()
{
    qDebug() << "[VideoEncoder]" << "Stopping encoder due to output device closure";
    emit outputClosed();
}

bool VideoEncoder::encodeVideo()
{
    if (audioInput)
        encodeAudio();
    const qint64 frame = qMax<qint64>(1, clock.elapsed() / framePeriod);
    const qint64 duration = frame - nextPts;
    if (duration <= 0)
        return true;
    const int direction = readFrame(frameBuffer.data());
    return encodePicture(frameBuffer.data(), direction, nextPts, (unsigned long)duration);
}

bool VideoEncoder::encodePicture(const uchar *pixels, int direction, qint64 pts, unsigned long duration)
{
    std::vector<EncodedPacket> packets;
    if (!vp8 || !vp8->encode(pixels, direction, pts, duration, &packets)) {
        qCritical() << "[VideoEncoder]" << "Could not encode frame";
        return false;
    }
    // A late frame spans the periods that were missed, so the count never falls behind.
    nextPts = pts + qint64(duration);
    if (!writePackets(videoTrack, packets, framePeriod, 1000)) {
        if (!videoWriteFailed)
            qCritical() << "[VideoEncoder]" << "Could not add video frame to track";
        reportWriteFailure();
        videoWriteFailed = true;
        return false;
    }
    videoWriteFailed = false;
    return true;
}

bool VideoEncoder::encodeAudio()
{
    bool ok = true;
    const qint64 now = clock.elapsed() * SampleRate / 1000;
    while (const int pairs = audioInput->read()) {
        if (audioSamplesWritten + pairs > now + AudioSlackPairs)
            continue;
        audioSamplesWritten += pairs;
        ok = writeAudio(audioInput->samples(), pairs, "Could not add audio frame to track") && ok;
    }
    if (!ok)
        return false;
    // Where the device sent nothing the track is filled with silence, so it keeps real time.
    const qint64 wanted = now - AudioSlackPairs;
    while (audioSamplesWritten < wanted) {
        const int pairs = audioInput->silence(wanted - audioSamplesWritten);
        audioSamplesWritten += pairs;
        if (!writeAudio(audioInput->samples(), pairs, "Could not add silent audio frame to track"))
            return false;
    }
    return true;
}

bool VideoEncoder::writeAudio(const qint16 *samples, int pairs, const char *failure)
{
    std::vector<EncodedPacket> packets;
    if (!vorbis->encode(samples, pairs, &packets)) {
        qCritical() << "[VideoEncoder]" << "Could not encode" << pairs << "audio frames";
        return false;
    }
    if (!writePackets(audioTrack, packets, 1, SampleRate)) {
        if (!audioWriteFailed)
            qCritical() << "[VideoEncoder]" << failure;
        audioWriteFailed = true;
        reportWriteFailure();
        return false;
    }
    audioWriteFailed = false;
    return true;
}

void VideoEncoder::reportWriteFailure()
{
    // Only a file can fill up; a socket that goes away says so through outputClosed.
    if (!writeFailureReported && !qobject_cast<QAbstractSocket *>(output)) {
        writeFailureReported = true;
        emit writeFailed();
    }
}

bool VideoEncoder::writePackets(int track, std::vector<EncodedPacket> &packets, int num, int den)
{
    bool ok = true;
    for (const EncodedPacket &packet : packets)
        ok = writer->writePacket(track, packet, num, den) && ok;
    return ok;
}

void VideoEncoder::finishOutput()
{
    auto *socket = qobject_cast<QAbstractSocket *>(output);
    // A viewer that left gets no trailer: there is nobody to write it to.
    if (output->isOpen() && (!socket || socket->state() == QAbstractSocket::ConnectedState)) {
        // One last step, so that the file lasts until the moment it was stopped even when the
        // steps ran late on a busy machine.
        encodeVideo();
        if (vorbis) {
            std::vector<EncodedPacket> packets;
            if (vorbis->finish(&packets))
                writePackets(audioTrack, packets, 1, SampleRate);
        }
        if (!writer->finish())
            qWarning() << "[VideoEncoder]" << "Segment finalization failed";
        if (socket) {
            while (socket->bytesToWrite() > 0 && socket->waitForBytesWritten(1000)) {
            }
        }
    }
    if (audioInput) {
        audioInput->close();
        audioInput->moveToThread(QObject::thread());
    }
    output->moveToThread(QObject::thread());
}
