#include "webmwriter.h"

#include <QAbstractSocket>
#include <QIODevice>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/mem.h>
#include <libavutil/opt.h>
}

#include <cstring>

namespace {

constexpr int IoBufferSize = 64 * 1024;
// A socket whose peer does not read would take everything we write into memory: past this
// many unsent bytes we wait for the peer, and give up if it still does not read.
constexpr qint64 MaxUnsentBytes = 4 * 1024 * 1024;
constexpr int UnsentWaitMs = 2000;
constexpr int ClusterMs = 1000;

} // namespace

WebmWriter::WebmWriter(QIODevice *device)
    : device(device)
{
    const AVOutputFormat *format = av_guess_format("webm", nullptr, nullptr);
    if (!format || avformat_alloc_output_context2(&context, format, nullptr, nullptr) < 0 || !context) {
        context = nullptr;
        return;
    }
    auto *buffer = static_cast<unsigned char *>(av_malloc(IoBufferSize));
    const bool seekable = device && !device->isSequential();
    io = buffer ? avio_alloc_context(buffer, IoBufferSize, 1, this, nullptr, &WebmWriter::writeCallback,
                                     seekable ? &WebmWriter::seekCallback : nullptr)
                : nullptr;
    if (!io) {
        av_free(buffer);
        avformat_free_context(context);
        context = nullptr;
        return;
    }
    context->pb = io;
    context->flags |= AVFMT_FLAG_CUSTOM_IO;
    av_dict_set(&context->metadata, "encoding_tool", "Calderwick", 0);
    // A cluster reaches the device when it closes: short ones keep a live viewer close behind
    // and leave little unwritten when the device fails.
    av_opt_set_int(context->priv_data, "cluster_time_limit", ClusterMs, 0);
    // What the muxer hands on goes to the device at once, not when our I/O buffer fills.
    context->flush_packets = 1;
}

WebmWriter::~WebmWriter()
{
    if (context)
        avformat_free_context(context);
    // The muxer does not free an I/O context it was given.
    if (io) {
        av_freep(&io->buffer);
        avio_context_free(&io);
    }
}

bool WebmWriter::isSeekable() const
{
    return io && io->seekable != 0;
}

int WebmWriter::addVideoTrack(int width, int height, int frameRate)
{
    AVStream *stream = context && !headerWritten ? avformat_new_stream(context, nullptr) : nullptr;
    if (!stream)
        return -1;
    stream->codecpar->codec_type = AVMEDIA_TYPE_VIDEO;
    stream->codecpar->codec_id = AV_CODEC_ID_VP8;
    stream->codecpar->width = width;
    stream->codecpar->height = height;
    stream->avg_frame_rate = AVRational{frameRate, 1};
    stream->time_base = AVRational{1, 1000};
    stream->disposition = AV_DISPOSITION_DEFAULT;
    return stream->index;
}

int WebmWriter::addAudioTrack(int sampleRate, int channels, const QByteArray &codecPrivate)
{
    AVStream *stream = context && !headerWritten && !codecPrivate.isEmpty() ? avformat_new_stream(context, nullptr)
                                                                            : nullptr;
    if (!stream)
        return -1;
    AVCodecParameters *parameters = stream->codecpar;
    parameters->codec_type = AVMEDIA_TYPE_AUDIO;
    parameters->codec_id = AV_CODEC_ID_VORBIS;
    parameters->sample_rate = sampleRate;
    av_channel_layout_default(&parameters->ch_layout, channels);
    // The muxer reads the Xiph-laced headers as they are; it wants zeroed padding behind them.
    parameters->extradata = static_cast<uint8_t *>(av_mallocz(size_t(codecPrivate.size()) + AV_INPUT_BUFFER_PADDING_SIZE));
    if (!parameters->extradata)
        return -1;
    std::memcpy(parameters->extradata, codecPrivate.constData(), size_t(codecPrivate.size()));
    parameters->extradata_size = codecPrivate.size();
    stream->time_base = AVRational{1, sampleRate};
    stream->disposition = AV_DISPOSITION_DEFAULT;
    return stream->index;
}

bool WebmWriter::begin()
{
    if (!context || headerWritten)
        return false;
    if (avformat_write_header(context, nullptr) < 0)
        return false;
    headerWritten = true;
    avio_flush(io);
    return io->error >= 0;
}

bool WebmWriter::writePacket(int track, const EncodedPacket &packet, int num, int den)
{
    if (!headerWritten || finished || track < 0 || track >= int(context->nb_streams) || packet.data.isEmpty())
        return false;
    AVPacket *out = av_packet_alloc();
    if (!out)
        return false;
    bool ok = av_new_packet(out, packet.data.size()) == 0;
    if (ok) {
        std::memcpy(out->data, packet.data.constData(), size_t(packet.data.size()));
        // The header call sets every stream's time base itself: rescale against what it chose.
        out->pts = av_rescale_q(packet.pts, AVRational{num, den}, context->streams[track]->time_base);
        out->dts = out->pts;
        out->stream_index = track;
        if (packet.key)
            out->flags |= AV_PKT_FLAG_KEY;
        ok = av_interleaved_write_frame(context, out) == 0 && io->error >= 0;
    }
    av_packet_free(&out);
    return ok;
}

bool WebmWriter::finish()
{
    if (!headerWritten || finished)
        return false;
    finished = true;
    const bool ok = av_write_trailer(context) == 0;
    avio_flush(io);
    return ok && io->error >= 0;
}

int WebmWriter::writeCallback(void *opaque, uint8_t *buffer, int size)
{
    auto *self = static_cast<WebmWriter *>(opaque);
    QIODevice *device = self->device;
    if (!device || !buffer)
        return AVERROR(EIO);
    if (size == 0)
        return 0;
    const qint64 done = device->write(reinterpret_cast<const char *>(buffer), size);
    if (done > 0)
        self->written += done;
    if (done != size)
        return AVERROR(EIO);
    if (auto *socket = qobject_cast<QAbstractSocket *>(device)) {
        while (socket->bytesToWrite() > MaxUnsentBytes) {
            if (!socket->waitForBytesWritten(UnsentWaitMs))
                return AVERROR(EIO);
        }
    }
    return size;
}

int64_t WebmWriter::seekCallback(void *opaque, int64_t offset, int whence)
{
    QIODevice *device = static_cast<WebmWriter *>(opaque)->device;
    if (!device)
        return -1;
    whence &= ~AVSEEK_FORCE;
    if (whence == AVSEEK_SIZE)
        return device->size();
    qint64 target = offset;
    if (whence == SEEK_CUR)
        target += device->pos();
    else if (whence == SEEK_END)
        target += device->size();
    else if (whence != SEEK_SET)
        return -1;
    return device->seek(target) ? target : -1;
}
