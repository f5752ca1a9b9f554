#pragma once

#include "encodedpacket.h"
#include "encodersettings.h"

#include <QtGlobal>

#include <vector>

#include <vpx/vpx_encoder.h>

struct SwsContext;

// libvpx's VP8 encoder fed with BGRA pictures, converted to I420 by libswscale.
class Vp8Encoder
{
public:
    Vp8Encoder(int width, int height, const EncoderSettings &settings);
    ~Vp8Encoder();
    Vp8Encoder(const Vp8Encoder &) = delete;
    Vp8Encoder &operator=(const Vp8Encoder &) = delete;

    // False when the codec or the converter could not be set up (already logged).
    bool isValid() const { return ready; }

    // pixels: width x height x 4 bytes of BGRA; direction -1 when the rows run bottom to top,
    // which is turned upright on the way in. pts and duration count frame periods. The
    // packets of the frame are appended to packets. False (logged) when the codec refuses.
    bool encode(const uchar *pixels, int direction, qint64 pts, unsigned long duration,
                std::vector<EncodedPacket> *packets);

private:
    int width;
    int height;
    bool ready = false;
    bool codecOpen = false;
    vpx_image_t *image = nullptr;
    vpx_codec_ctx_t codec{};
    SwsContext *converter = nullptr;
};
