#pragma once

#include <QObject>
#include <QString>

// The map page's door to the host, under the window object name "coordinates". The page
// reads the tile server from it, asks it for the elevation of each marker it places, and
// gives it the marker's position once the elevation is known.
class JsObject : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString tileUrl READ tileUrl CONSTANT)

public:
    explicit JsObject(QObject *parent = nullptr);

    QString tileUrl() const;
    void setTileUrl(const QString &url) { tiles = url; }

    Q_INVOKABLE void jsCallback(double lat, double lng, double alt);
    // The page's marker number lets the answer find its marker, or be dropped when a newer
    // marker has replaced it.
    Q_INVOKABLE void askElevation(int marker, double lat, double lng);

signals:
    void sigGoogleMapsCoordinates(double lat, double lng, double alt);
    void elevationAsked(int marker, double lat, double lng);

private:
    QString tiles;
};
