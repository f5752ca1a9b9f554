#pragma once

#include <QtGlobal>

// One output of convertFrame: a buffer of the size its layout needs for the frame, and its fourcc.
struct FrameBuffer
{
    uchar *data = nullptr;
    quint32 fourcc = 0;
};

// Converts a tight width x height frame in sourceFourcc into each of the count targets, dividing
// red, green and blue by their scales and multiplying the luma by exposure on the way.
// Any size goes: where YUV pixels come in pairs, an odd last pixel (or 4:2:0 row) is the first
// of a pair whose second is missing (see YuvFormat). False for an unknown fourcc, a Bayer
// target, or a Bayer source narrower or lower than 2 pixels; all but the Bayer target are
// logged. Targets converted before a failing one keep their new content. Never allocates.
bool convertFrame(const uchar *source, quint32 sourceFourcc, int width, int height,
                  const FrameBuffer *targets, int count, float redScale, float greenScale,
                  float blueScale, float exposure);
