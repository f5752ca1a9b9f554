#pragma once

#include "convertframe.h"

// The conversion before its speed work, for byte-for-byte comparisons only; even sizes only.
namespace Legacy {
bool convertFrame(const uchar *source, quint32 sourceFourcc, int width, int height,
                  const FrameBuffer *targets, int count, float redScale, float greenScale,
                  float blueScale, float exposure);
}
