#pragma once

#include <QtGlobal>

#include <vpx/vpx_encoder.h>

// How one encoder runs: the VP8 rate control and the frame rate. The two presets are the
// ones the player uses: recordings favour quality, the live preview a steady bitrate and
// streams that survive lost packets.
struct EncoderSettings
{
    qint32 rateControl = VPX_CQ; // rc_end_usage
    qint32 bitrate = 2000;       // kbit/s
    qint32 frameRate = 30;
    qint32 maxQuantizer = 63;
    qint32 minQuantizer = 1;
    qint32 errorResilient = 0;

    static EncoderSettings recording() { return {}; }
    static EncoderSettings streaming() { return {VPX_CBR, 768, 20, 56, 20, 1}; }

    // Milliseconds between two frames, as the timer and the timestamps count them.
    int framePeriod() const { return frameRate > 0 ? 1000 / frameRate : 1000; }
};
