#pragma once

#include <QMutex>
#include <QObject>

#include <vector>

// The newest frame of the device's screen, written on the renderer's thread and read by
// encoders and screenshots on theirs. Each side copies whole frames under the mutex, so a
// reader never sees half of one.
class DoubleBuffer : public QObject
{
    Q_OBJECT

public:
    // Both buffers start zeroed: a reader before the first frame gets black.
    explicit DoubleBuffer(int width, int height, QObject *parent = nullptr);

    int width() const { return w; }
    int height() const { return h; }
    quint32 byteSize() const { return size; }

    // pixels: width x height x 4 bytes (BGRA); direction 1 for rows top to bottom, -1 for
    // rows bottom to top.
    void write(const uchar *pixels, int direction);
    // Copies the newest frame into buffer (byteSize() bytes); returns its direction.
    int read(uchar *buffer);
    int direction() const;

private:
    int w;
    int h;
    quint32 size;
    std::vector<uchar> buffers[2];
    int newest = 1;
    int lastDirection = 1;
    mutable QMutex mutex;
};
