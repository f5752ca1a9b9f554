#include "doublebuffer.h"

#include <cstring>

DoubleBuffer::DoubleBuffer(int width, int height, QObject *parent)
    : QObject(parent)
    , w(qMax(0, width))
    , h(qMax(0, height))
    , size(quint32(w) * quint32(h) * 4)
{
    buffers[0].assign(size, 0);
    buffers[1].assign(size, 0);
}

void DoubleBuffer::write(const uchar *pixels, int direction)
{
    QMutexLocker lock(&mutex);
    lastDirection = direction < 0 ? -1 : 1;
    newest = 1 - newest;
    std::memcpy(buffers[newest].data(), pixels, size);
}

int DoubleBuffer::read(uchar *buffer)
{
    QMutexLocker lock(&mutex);
    std::memcpy(buffer, buffers[newest].data(), size);
    return lastDirection;
}

int DoubleBuffer::direction() const
{
    QMutexLocker lock(&mutex);
    return lastDirection;
}
