#pragma once

#include "encodedpacket.h"

#include <QByteArray>
#include <QtGlobal>

class QIODevice;
struct AVFormatContext;
struct AVIOContext;

// The WebM container, written by libavformat's muxer through our own I/O callbacks onto a
// QIODevice (not owned). A device that can seek (a file) gets cues and durations; one that
// cannot (a socket) gets a live stream of unknown length.
class WebmWriter
{
public:
    explicit WebmWriter(QIODevice *device);
    ~WebmWriter();
    WebmWriter(const WebmWriter &) = delete;
    WebmWriter &operator=(const WebmWriter &) = delete;

    // False (nothing logged) when the muxer could not be made.
    bool isValid() const { return context != nullptr; }
    bool isSeekable() const;

    // Track index, or -1. Tracks are added before begin().
    int addVideoTrack(int width, int height, int frameRate);
    int addAudioTrack(int sampleRate, int channels, const QByteArray &codecPrivate);
    // Writes the header; false if the device refused it.
    bool begin();
    // pts counts units of num/den seconds. False when the muxer or the device refused.
    bool writePacket(int track, const EncodedPacket &packet, int num, int den);
    // Writes what the muxer still holds, the cues and the durations; false on failure.
    bool finish();
    // Bytes the device accepted so far.
    qint64 bytesWritten() const { return written; }

private:
    static int writeCallback(void *opaque, uint8_t *buffer, int size);
    static int64_t seekCallback(void *opaque, int64_t offset, int whence);

    QIODevice *device;
    qint64 written = 0;
    AVFormatContext *context = nullptr;
    AVIOContext *io = nullptr;
    bool headerWritten = false;
    bool finished = false;
};
