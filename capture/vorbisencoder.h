#pragma once

#include "encodedpacket.h"

#include <QByteArray>

#include <vector>

#include <vorbis/codec.h>

// libvorbis at a variable bitrate, stereo, fed with signed 16-bit interleaved samples.
class VorbisEncoder
{
public:
    VorbisEncoder(int sampleRate, float quality);
    ~VorbisEncoder();
    VorbisEncoder(const VorbisEncoder &) = delete;
    VorbisEncoder &operator=(const VorbisEncoder &) = delete;

    bool isValid() const { return ready; }
    // The three header packets in Xiph lacing, as the container's codec private data; empty
    // when a header does not fit the one-byte sizes.
    QByteArray codecPrivate() const { return privateData; }

    // Encodes pairs sample pairs and appends the packets that became ready, pts in sample
    // pairs from the start. False (logged) when libvorbis refuses.
    bool encode(const qint16 *samples, int pairs, std::vector<EncodedPacket> *packets);
    // Ends the stream: the samples still held come out as the last packets.
    bool finish(std::vector<EncodedPacket> *packets);

private:
    bool drain(std::vector<EncodedPacket> *packets);

    bool ready = false;
    bool finished = false;
    vorbis_info info;
    vorbis_comment comment;
    vorbis_dsp_state dsp;
    vorbis_block block;
    QByteArray privateData;
    qint64 lastGranule = 0;
};
