#pragma once

#include <QByteArray>

// Readers of the map services' replies, which come from servers outside the program. Each
// takes the whole body and never trusts its shape.
namespace MapReply {

// Larger replies are not read at all: a search or elevation answer is a few kilobytes.
constexpr qint64 MaxReplyBytes = 1024 * 1024;

// The first result's position of a geocoding reply: {"results": [{"geometry": {"location":
// {"lat": .., "lng": ..}}}, ...]}. A plain list of places with "lat" and "lon" (the form of
// OpenStreetMap's search) is taken too. False, with lat and lng untouched, for anything
// else: no JSON, no results, a position that is not two finite numbers in range.
bool geocodedPosition(const QByteArray &body, double &lat, double &lng);

// The first result's elevation of an elevation reply: {"status": "OK", "results":
// [{"elevation": ..}, ...]}; 0 for anything else, a height beyond 10000 m included.
double elevation(const QByteArray &body);

} // namespace MapReply
