#include "vp8encoder.h"

#include <QDebug>

#include <vpx/vp8cx.h>

extern "C" {
#include <libavutil/pixfmt.h>
#include <libswscale/swscale.h>
}

Vp8Encoder::Vp8Encoder(int width, int height, const EncoderSettings &settings)
    : width(width)
    , height(height)
{
    vpx_codec_iface_t *iface = vpx_codec_vp8_cx();
    qDebug() << "Using" << vpx_codec_iface_name(iface);

    image = vpx_img_alloc(nullptr, VPX_IMG_FMT_I420, unsigned(width), unsigned(height), 1);
    if (!image) {
        qCritical() << "Failed to allocate image";
        return;
    }
    vpx_codec_enc_cfg_t config;
    const vpx_codec_err_t status = vpx_codec_enc_config_default(iface, &config, 0);
    if (status != VPX_CODEC_OK) {
        qCritical() << "Failed to get config:" << vpx_codec_err_to_string(status);
        return;
    }
    config.g_w = unsigned(width);
    config.g_h = unsigned(height);
    config.g_timebase.num = 1;
    config.g_timebase.den = settings.frameRate;
    config.g_threads = unsigned(settings.threads);
    config.rc_end_usage = vpx_rc_mode(settings.rateControl);
    config.rc_target_bitrate = unsigned(settings.bitrate);
    config.rc_max_quantizer = unsigned(settings.maxQuantizer);
    config.rc_min_quantizer = unsigned(settings.minQuantizer);
    config.g_error_resilient = vpx_codec_er_flags_t(settings.errorResilient);
    // The macro passes the ABI version of the headers we were built against.
    if (vpx_codec_enc_init(&codec, iface, &config, 0) != VPX_CODEC_OK) {
        qCritical() << "Failed to initialize encoder" << vpx_codec_error(&codec);
        return;
    }
    codecOpen = true;
    // At the library's default speed a 720x1280 frame costs about a tenth of a second of CPU
    // here, far from 30 per second. Four token partitions let threads, where there are
    // several, share the entropy coding.
    vpx_codec_control(&codec, VP8E_SET_CPUUSED, int(settings.speed));
    vpx_codec_control(&codec, VP8E_SET_TOKEN_PARTITIONS, int(VP8_FOUR_TOKENPARTITION));
    converter = sws_getContext(width, height, AV_PIX_FMT_BGRA, width, height, AV_PIX_FMT_YUV420P, SWS_AREA,
                               nullptr, nullptr, nullptr);
    if (!converter) {
        qCritical() << "Failed to create the colour converter";
        return;
    }
    ready = true;
}

Vp8Encoder::~Vp8Encoder()
{
    if (image)
        vpx_img_free(image);
    if (codecOpen)
        vpx_codec_destroy(&codec);
    sws_freeContext(converter);
}

bool Vp8Encoder::encode(const uchar *pixels, int direction, qint64 pts, unsigned long duration,
                        std::vector<EncodedPacket> *packets)
{
    if (!ready)
        return false;
    const int stride = width * 4;
    // Bottom-up rows are read from the last row backwards, so the picture comes out upright.
    const uint8_t *source[1] = {direction < 0 ? pixels + qint64(stride) * (height - 1) : pixels};
    const int sourceStride[1] = {direction < 0 ? -stride : stride};
    sws_scale(converter, source, sourceStride, 0, height, image->planes, image->stride);

    if (vpx_codec_encode(&codec, image, pts, duration, 0, VPX_DL_REALTIME) != VPX_CODEC_OK) {
        qCritical() << "[Frame encoding] error:" << vpx_codec_error(&codec);
        qCritical() << "[Frame encoding]" << vpx_codec_error_detail(&codec);
        return false;
    }
    vpx_codec_iter_t iterator = nullptr;
    while (const vpx_codec_cx_pkt_t *packet = vpx_codec_get_cx_data(&codec, &iterator)) {
        if (packet->kind != VPX_CODEC_CX_FRAME_PKT)
            continue;
        packets->push_back({QByteArray(static_cast<const char *>(packet->data.frame.buf), int(packet->data.frame.sz)),
                            packet->data.frame.pts, (packet->data.frame.flags & VPX_FRAME_IS_KEY) != 0});
    }
    return true;
}
