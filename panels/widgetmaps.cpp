#include "widgetmaps.h"

#include "connector.h"
#include "mappage.h"
#include "mapreply.h"
#include "settings.h"

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPushButton>
#include <QUrl>
#include <QVBoxLayout>
#include <QWebFrame>
#include <QWebView>

namespace {

const int TransferTimeoutMs = 15000;

// Coordinates always go to the page with a decimal point, whatever the user's locale.
QString scriptNumber(double value)
{
    return QString::number(value, 'f', 8);
}

} // namespace

WidgetMaps::WidgetMaps(QWidget *parent)
    : QDialog(parent, Qt::Window)
{
    setWindowTitle(tr("Mapping service"));
    // The panel's switch images must not reach the search button.
    setStyleSheet(QStringLiteral(
        "WidgetMaps {background: #3C3C39;}QWidget#content {background: #EAEAEA;}"
        "QLineEdit {background: #FFFFFF; color: #000000; border: 1px solid #9B9C9B; padding: 3px;}"
        "QPushButton {border-image: none; border: none; background: #E6195E; color: #FFFFFF; padding: 4px 14px;}"
        "QPushButton:pressed {background: #F0508A;}"));
    resize(800, 600);

    auto *content = new QWidget(this);
    content->setObjectName(QStringLiteral("content"));
    searchEdit = new QLineEdit(content);
    searchEdit->setObjectName(QStringLiteral("search"));
    searchEdit->setMaxLength(256);
    searchButton = new QPushButton(tr("Search"), content);
    // Return in the edit searches once, by the edit's own signal.
    searchButton->setAutoDefault(false);
    view = new QWebView(content);
    view->setPage(new MapPage(view));
    view->settings()->setAttribute(QWebSettings::LocalContentCanAccessRemoteUrls, true);

    auto *searchRow = new QHBoxLayout;
    searchRow->addWidget(searchEdit);
    searchRow->addWidget(searchButton);
    auto *contentLayout = new QVBoxLayout(content);
    contentLayout->addLayout(searchRow);
    contentLayout->addWidget(view, 1);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(2, 2, 2, 2);
    layout->addWidget(content);

    connect(searchButton, &QPushButton::clicked, this, &WidgetMaps::onSearch);
    connect(searchEdit, &QLineEdit::returnPressed, this, &WidgetMaps::onSearch);
    connect(view->page()->mainFrame(), &QWebFrame::loadFinished, this, &WidgetMaps::plugJavaScriptObject);
    connect(&coordinates, &JsObject::elevationAsked, this, &WidgetMaps::onElevationAsked);
}

QString WidgetMaps::tilesUrl()
{
    return settingsValue(QStringLiteral("widget.maps.tiles.url"),
                         QStringLiteral("https://tile.openstreetmap.org/{z}/{x}/{y}.png")).toString();
}

QString WidgetMaps::geocodingUrl()
{
    return settingsValue(QStringLiteral("widget.maps.geocoding.url"),
                         QStringLiteral("https://nominatim.openstreetmap.org/search?format=json&limit=1&q={query}"))
        .toString();
}

QString WidgetMaps::elevationUrl()
{
    return settingsValue(QStringLiteral("widget.maps.elevation.url"),
                         QStringLiteral("https://api.opentopodata.org/v1/srtm90m?locations={lat},{lng}")).toString();
}

void WidgetMaps::loadMap(double lat, double lng)
{
    initialLatitude = lat;
    initialLongitude = lng;
    if (!network) {
        network = new QNetworkAccessManager(this);
        Connector::configureProxy(network);
        connect(network, &QNetworkAccessManager::sslErrors, Connector::instance(), &Connector::sslErrorHandler);
        view->page()->setNetworkAccessManager(network);
    }
    coordinates.setTileUrl(tilesUrl());
    view->load(QUrl(QStringLiteral("qrc:/widgets/maps/google-maps.html")));
}

void WidgetMaps::plugJavaScriptObject()
{
    view->page()->mainFrame()->addToJavaScriptWindowObject(QStringLiteral("coordinates"), &coordinates);
    runScript(QStringLiteral("initialize(%1, %2);").arg(scriptNumber(initialLatitude), scriptNumber(initialLongitude)));
}

void WidgetMaps::runScript(const QString &script)
{
    view->page()->mainFrame()->evaluateJavaScript(script);
}

QNetworkReply *WidgetMaps::get(const QString &url)
{
    QNetworkRequest request{QUrl(url)};
    // The public servers ask every client to name itself.
    request.setHeader(QNetworkRequest::UserAgentHeader, QStringLiteral("Calderwick Player"));
    request.setTransferTimeout(TransferTimeoutMs);
    QNetworkReply *reply = network->get(request);
    connect(reply, &QNetworkReply::downloadProgress, reply, [reply](qint64 received, qint64) {
        if (received > MapReply::MaxReplyBytes)
            reply->abort();
    });
    return reply;
}

void WidgetMaps::onSearch()
{
    const QString text = searchEdit->text().trimmed();
    if (text.isEmpty() || !network)
        return;
    QString url = geocodingUrl();
    url.replace(QLatin1String("{query}"), QString::fromLatin1(QUrl::toPercentEncoding(text)));
    // Only the search's own reply is read here: the page's tiles pass through the same manager
    // and belong to the web engine.
    QNetworkReply *reply = get(url);
    connect(reply, &QNetworkReply::finished, this, [this, reply] { onGoogleMapsReply(reply); });
}

void WidgetMaps::onGoogleMapsReply(QNetworkReply *reply)
{
    reply->deleteLater();
    if (reply->error() != QNetworkReply::NoError) {
        qWarning().noquote() << "[WidgetMaps][onGoogleMapsReply] search failed:" << reply->errorString();
        return;
    }
    double lat = 0.0;
    double lng = 0.0;
    if (!MapReply::geocodedPosition(reply->read(MapReply::MaxReplyBytes + 1), lat, lng)) {
        qDebug().noquote() << "[WidgetMaps][onGoogleMapsReply] no position in the search reply";
        return;
    }
    runScript(QStringLiteral("setPosition(%1, %2);").arg(scriptNumber(lat), scriptNumber(lng)));
}

void WidgetMaps::onElevationAsked(int marker, double lat, double lng)
{
    if (!network)
        return;
    QString url = elevationUrl();
    url.replace(QLatin1String("{lat}"), scriptNumber(lat)).replace(QLatin1String("{lng}"), scriptNumber(lng));
    QNetworkReply *reply = get(url);
    connect(reply, &QNetworkReply::finished, this, [this, reply, marker] {
        reply->deleteLater();
        double altitude = 0.0;
        if (reply->error() == QNetworkReply::NoError)
            altitude = MapReply::elevation(reply->read(MapReply::MaxReplyBytes + 1));
        else
            qWarning().noquote() << "[WidgetMaps] elevation unknown, 0 taken:" << reply->errorString();
        runScript(QStringLiteral("elevationAnswered(%1, %2);").arg(marker).arg(scriptNumber(altitude)));
    });
}

void WidgetMaps::closeEvent(QCloseEvent *event)
{
    emit closing();
    event->accept();
}
