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
    // VP8E_SET_CPUUSED: negative is a fixed speed, the same cost for every frame on any
    // machine (positive lets libvpx vary it with the time frames take, which made the
    // encoder's cost follow the machine's load). Higher is faster and coarser.
    qint32 speed = -6;
    // g_threads. VP8's threads wait for each other's rows by spinning; on a busy machine (and
    // the player always runs beside the device's VM) four threads cost two to seven times the
    // CPU of one and were no faster (bench_videoencoder on a loaded two-core machine). One
    // thread encodes a 720x1280 frame in about 13 ms there, well inside 30 frames per second.
    qint32 threads = 1;

    static EncoderSettings recording() { return {}; }
    static EncoderSettings streaming() { return {VPX_CBR, 768, 20, 56, 20, 1, -16, 1}; }

    // Milliseconds between two frames, as the timer and the timestamps count them.
    int framePeriod() const { return frameRate > 0 ? 1000 / frameRate : 1000; }
};
