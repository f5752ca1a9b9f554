#pragma once

#include <QByteArray>
#include <QSize>
#include <QString>

// One line from the remote control phone, read and checked. The phone's touches come as
// fractions of the device's display ("MULTI:<action>:<n>:<x1>:<y1>...", each coordinate
// 0 to 1), its accelerometer as "ACCEL:<x>:<y>:<z>" in m/s², and "VIDEOREADY" once it can
// take the preview stream. The phone is told the display's rotation, so its fractions are
// already of the device's own, unturned display.
struct PhoneLine
{
    enum Kind { Invalid, VideoReady, Touch, Accelerometer };

    // Android tracks at most ten pointers; a longer list is no real phone's.
    static constexpr int MaxPointers = 10;
    // Far beyond any phone sensor's range (about 16 g): a larger value is garbage.
    static constexpr double MaxAcceleration = 1000.0;
    // Room for MaxPointers pairs written at full double precision.
    static constexpr int MaxLength = 1024;

    Kind kind = Invalid;
    QByteArray event;           // Touch: the device's multitouch line, line feed included
    double x = 0, y = 0, z = 0; // Accelerometer
    QString reason;             // Invalid: why, for the log

    // line: without its line feed, cut at the first NUL. display: the device's display in
    // device pixels; touches map into it, a coordinate of 1 to its last pixel.
    static PhoneLine parse(const QByteArray &line, const QSize &display);
};
