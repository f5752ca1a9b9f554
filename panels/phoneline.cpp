#include "phoneline.h"

#include <QList>
#include <QtGlobal>

#include <cmath>

namespace {

PhoneLine invalid(const char *reason)
{
    PhoneLine line;
    line.reason = QLatin1String(reason);
    return line;
}

bool readNumber(const QByteArray &text, double &value)
{
    bool ok = false;
    value = text.toDouble(&ok);
    return ok && std::isfinite(value);
}

bool readInt(const QByteArray &text, int low, int high, int &value)
{
    bool ok = false;
    value = text.toInt(&ok);
    return ok && value >= low && value <= high;
}

// The device pixel of a fraction; 1 is the last pixel, not one past it.
int pixel(double fraction, int size)
{
    return qMin(static_cast<int>(fraction * size), size - 1);
}

} // namespace

PhoneLine PhoneLine::parse(const QByteArray &raw, const QSize &display)
{
    const int nul = raw.indexOf('\0');
    const QByteArray text = (nul < 0 ? raw : raw.left(nul)).trimmed();
    if (text.size() > MaxLength)
        return invalid("line too long");
    if (text.contains("VIDEOREADY")) {
        PhoneLine line;
        line.kind = VideoReady;
        return line;
    }
    const QList<QByteArray> parts = text.split(':');
    if (parts.first() == "ACCEL") {
        PhoneLine line;
        if (parts.size() != 4 || !readNumber(parts.at(1), line.x) || !readNumber(parts.at(2), line.y)
            || !readNumber(parts.at(3), line.z))
            return invalid("malformed accelerometer values");
        if (std::fabs(line.x) > MaxAcceleration || std::fabs(line.y) > MaxAcceleration
            || std::fabs(line.z) > MaxAcceleration)
            return invalid("accelerometer value out of range");
        line.kind = Accelerometer;
        return line;
    }
    if (parts.first() != "MULTI")
        return invalid("unknown message");

    int action = 0;
    int count = 0;
    if (parts.size() < 3 || !readInt(parts.at(1), 0, 0xffff, action))
        return invalid("malformed touch action");
    if (!readInt(parts.at(2), 0, MaxPointers, count))
        return invalid("touch pointer count out of range");
    if (parts.size() != 3 + 2 * count)
        return invalid("touch coordinates do not match their count");
    if (display.width() <= 0 || display.height() <= 0)
        return invalid("display size not known");
    PhoneLine line;
    line.event = "MULTI:" + QByteArray::number(action) + ':' + QByteArray::number(count);
    for (int i = 0; i < count; ++i) {
        double fx = 0;
        double fy = 0;
        if (!readNumber(parts.at(3 + 2 * i), fx) || !readNumber(parts.at(4 + 2 * i), fy))
            return invalid("malformed touch coordinate");
        if (fx < 0 || fx > 1 || fy < 0 || fy > 1)
            return invalid("touch coordinate out of range");
        line.event += ':' + QByteArray::number(pixel(fx, display.width())) + ':'
                      + QByteArray::number(pixel(fy, display.height()));
    }
    line.event += '\n';
    line.kind = Touch;
    return line;
}
