#include "jsobject.h"

#include <QDebug>

JsObject::JsObject(QObject *parent)
    : QObject(parent)
{
}

QString JsObject::tileUrl() const
{
    return tiles;
}

void JsObject::jsCallback(double lat, double lng, double alt)
{
    qDebug().noquote() << QStringLiteral("Maps - latitude  : %1").arg(lat);
    qDebug().noquote() << QStringLiteral("Maps - longitude : %1").arg(lng);
    qDebug().noquote() << QStringLiteral("Maps - altitude  : %1").arg(alt);
    emit sigGoogleMapsCoordinates(lat, lng, alt);
}

void JsObject::askElevation(int marker, double lat, double lng)
{
    emit elevationAsked(marker, lat, lng);
}
