#pragma once

#include "jsobject.h"

#include <QDialog>

class QLineEdit;
class QNetworkAccessManager;
class QNetworkReply;
class QPushButton;
class QWebView;

// The GPS panel's map: a search line over a web page that draws a map from a tile server.
// A click on the map places a marker; once the marker's elevation is known the page gives
// latitude, longitude and altitude through the JsObject, whose signal the GPS panel takes.
//
// The three servers are settings, with public defaults: "widget.maps.tiles.url" (an XYZ
// template with {z}, {x} and {y}), "widget.maps.geocoding.url" ({query} is the search text)
// and "widget.maps.elevation.url" ({lat} and {lng}).
class WidgetMaps : public QDialog
{
    Q_OBJECT

public:
    explicit WidgetMaps(QWidget *parent = nullptr);

    // Loads the page again, centred on that position with its marker there.
    void loadMap(double lat, double lng);
    JsObject *jsObject() { return &coordinates; }
    QWebView *webView() const { return view; }

    static QString tilesUrl();
    static QString geocodingUrl();
    static QString elevationUrl();

signals:
    void closing();

protected:
    void closeEvent(QCloseEvent *event) override;

private slots:
    void onSearch();
    void onGoogleMapsReply(QNetworkReply *reply);
    void plugJavaScriptObject();
    void onElevationAsked(int marker, double lat, double lng);

private:
    QNetworkReply *get(const QString &url);
    void runScript(const QString &script);

    QLineEdit *searchEdit = nullptr;
    QPushButton *searchButton = nullptr;
    QNetworkAccessManager *network = nullptr; // child
    QWebView *view = nullptr;
    JsObject coordinates;
    double initialLatitude = 0.0;
    double initialLongitude = 0.0;
};
