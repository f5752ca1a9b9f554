#include "vorbisencoder.h"

#include <QDebug>

#include <vorbis/vorbisenc.h>

VorbisEncoder::VorbisEncoder(int sampleRate, float quality)
{
    vorbis_info_init(&info);
    vorbis_comment_init(&comment);
    const int status = vorbis_encode_init_vbr(&info, 2, sampleRate, quality);
    if (status != 0) {
        qWarning() << "Unsupported encoder setting" << status;
        return;
    }
    vorbis_analysis_init(&dsp, &info);
    vorbis_block_init(&dsp, &block);
    vorbis_comment_add_tag(&comment, "ENCODER", "Calderwick");
    ogg_packet headers[3];
    vorbis_analysis_headerout(&dsp, &comment, &headers[0], &headers[1], &headers[2]);
    ready = true;
    // Xiph lacing with one byte per size: the identification and comment headers are short.
    if (headers[0].bytes > 254 || headers[1].bytes > 254) {
        qWarning() << "[VorbisEncoder]" << "Header packets too long:" << headers[0].bytes << headers[1].bytes;
        return;
    }
    privateData.append(char(2));
    privateData.append(char(headers[0].bytes));
    privateData.append(char(headers[1].bytes));
    for (const ogg_packet &header : headers)
        privateData.append(reinterpret_cast<const char *>(header.packet), int(header.bytes));
}

VorbisEncoder::~VorbisEncoder()
{
    if (ready) {
        vorbis_block_clear(&block);
        vorbis_dsp_clear(&dsp);
    }
    vorbis_comment_clear(&comment);
    vorbis_info_clear(&info);
}

bool VorbisEncoder::encode(const qint16 *samples, int pairs, std::vector<EncodedPacket> *packets)
{
    if (!ready || finished || pairs <= 0)
        return ready && !finished;
    float **channels = vorbis_analysis_buffer(&dsp, pairs);
    constexpr float Scale = 1.0f / 32768.0f;
    for (int i = 0; i < pairs; ++i) {
        channels[0][i] = float(samples[2 * i]) * Scale;
        channels[1][i] = float(samples[2 * i + 1]) * Scale;
    }
    const int status = vorbis_analysis_wrote(&dsp, pairs);
    if (status != 0) {
        qWarning() << "[VorbisEncoder]" << "error:" << status;
        return false;
    }
    return drain(packets);
}

bool VorbisEncoder::finish(std::vector<EncodedPacket> *packets)
{
    if (!ready || finished)
        return false;
    finished = true;
    vorbis_analysis_wrote(&dsp, 0);
    return drain(packets);
}

bool VorbisEncoder::drain(std::vector<EncodedPacket> *packets)
{
    while (vorbis_analysis_blockout(&dsp, &block) == 1) {
        int status = vorbis_analysis(&block, nullptr);
        if (status == 0)
            status = vorbis_bitrate_addblock(&block);
        if (status != 0) {
            qWarning() << "[VorbisEncoder]" << "error:" << status;
            return false;
        }
        ogg_packet packet;
        while (vorbis_bitrate_flushpacket(&dsp, &packet) == 1) {
            // A packet's granule position is where it ends; the container wants where it starts.
            packets->push_back({QByteArray(reinterpret_cast<const char *>(packet.packet), int(packet.bytes)),
                                lastGranule, true});
            if (packet.granulepos >= 0)
                lastGranule = packet.granulepos;
        }
    }
    return true;
}
