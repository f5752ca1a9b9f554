#include "mapreply.h"

#include "scriptjson.h"

#include <QVariantMap>
#include <cmath>

namespace {

bool number(const QVariant &value, double &out)
{
    if (!value.isValid() || value.isNull())
        return false;
    bool ok = false;
    const double read = value.toDouble(&ok);
    if (!ok || !std::isfinite(read))
        return false;
    out = read;
    return true;
}

bool parse(const QByteArray &body, QVariant &value)
{
    if (body.size() > MapReply::MaxReplyBytes)
        return false;
    return ScriptJson::evaluate(ScriptJson::replyText(body), value);
}

QVariant firstResult(const QVariant &reply)
{
    return reply.toMap().value(QStringLiteral("results")).toList().value(0);
}

} // namespace

bool MapReply::geocodedPosition(const QByteArray &body, double &lat, double &lng)
{
    QVariant reply;
    if (!parse(body, reply))
        return false;
    double readLat = 0;
    double readLng = 0;
    bool found = false;
    if (reply.type() == QVariant::List) {
        const QVariantMap place = reply.toList().value(0).toMap();
        found = number(place.value(QStringLiteral("lat")), readLat) && number(place.value(QStringLiteral("lon")), readLng);
    } else {
        const QVariantMap location = firstResult(reply).toMap().value(QStringLiteral("geometry")).toMap()
                                         .value(QStringLiteral("location")).toMap();
        found = number(location.value(QStringLiteral("lat")), readLat)
                && number(location.value(QStringLiteral("lng")), readLng);
    }
    if (!found || std::fabs(readLat) > 90.0 || std::fabs(readLng) > 180.0)
        return false;
    lat = readLat;
    lng = readLng;
    return true;
}

double MapReply::elevation(const QByteArray &body)
{
    QVariant reply;
    if (!parse(body, reply) || reply.toMap().value(QStringLiteral("status")).toString() != QLatin1String("OK"))
        return 0.0;
    double value = 0.0;
    // Past the altitude the device takes, the answer is wrong, not the place.
    if (!number(firstResult(reply).toMap().value(QStringLiteral("elevation")), value) || std::fabs(value) > 10000.0)
        return 0.0;
    return value;
}
