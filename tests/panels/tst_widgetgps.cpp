// The GPS panel and its map in the player against a devicesim process, in a locale with a
// decimal comma. The map's tiles, search and elevation come from a local server.

#include "compass.h"
#include "paneldevice.h"
#include "settings.h"
#include "widgetgps.h"
#include "widgetmaps.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QSlider>
#include <QTcpServer>
#include <QTcpSocket>
#include <QWebFrame>
#include <QWebView>

// Tiles, a search that finds "paris", finds nothing or answers no JSON, and elevation 123.5.
class MapServer : public QTcpServer
{
public:
    int searches = 0;
    int elevations = 0;

    MapServer()
    {
        QImage tile(256, 256, QImage::Format_RGB32);
        tile.fill(QColor(200, 220, 200));
        QBuffer buffer(&tilePng);
        tile.save(&buffer, "PNG");
        connect(this, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket *socket = nextPendingConnection()) {
                connect(socket, &QTcpSocket::readyRead, this, [this, socket] { answer(socket); });
                connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            }
        });
    }

private:
    QByteArray tilePng;

    void answer(QTcpSocket *socket)
    {
        QByteArray pending = socket->property("pending").toByteArray() + socket->readAll();
        for (int end; (end = pending.indexOf("\r\n\r\n")) >= 0; pending.remove(0, end + 4)) {
            const QByteArray path = pending.left(end).split(' ').value(1);
            QByteArray body = tilePng;
            if (path.startsWith("/elevation")) {
                ++elevations;
                body = R"({"results": [{"elevation": 123.5, "location": {"lat": 1, "lng": 2}}], "status": "OK"})";
            } else if (path.startsWith("/geocode")) {
                ++searches;
                body = path.contains("paris")
                           ? R"({"results": [{"geometry": {"location": {"lat": 48.8566, "lng": 2.3522}}}], "status": "OK"})"
                           : path.contains("nothing") ? R"({"results": [], "status": "ZERO_RESULTS"})" : "<html>";
            }
            socket->write("HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body);
        }
        socket->setProperty("pending", pending);
    }
};

class TestWidgetGps : public QObject
{
    Q_OBJECT

private:
    PanelDevice device;
    MapServer server;
    WidgetGps *panel = nullptr;

    template<typename T> T *control(const char *name) const { return panel->findChild<T *>(QLatin1String(name)); }
    QLineEdit *edit(const char *name) const { return control<QLineEdit>(name); }

    void type(QLineEdit *field, const QString &text, bool finish = true)
    {
        field->setFocus();
        field->selectAll();
        QTest::keyClicks(field, text);
        if (finish)
            QTest::keyClick(field, Qt::Key_Return);
    }

    double sentDouble(const QList<QJsonObject> &entries, const char *parameter)
    {
        const QList<QJsonObject> found = PanelDevice::values(entries, QStringLiteral("SetParam"), QLatin1String(parameter));
        return found.isEmpty() ? qQNaN() : found.last().value(QStringLiteral("doubleValue")).toDouble();
    }

    static double stored(const char *key) { return deviceSettingsValue(QString(), QLatin1String(key)).toDouble(); }

private slots:
    void initTestCase()
    {
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        QVERIFY(server.listen(QHostAddress(TestEnvironment::loopback(1))));
        const QString root = QStringLiteral("http://%1:%2").arg(server.serverAddress().toString()).arg(server.serverPort());
        setSettingsValue(QStringLiteral("widget.maps.tiles.url"), root + QStringLiteral("/tiles/{z}/{x}/{y}.png"));
        setSettingsValue(QStringLiteral("widget.maps.geocoding.url"), root + QStringLiteral("/geocode?q={query}"));
        setSettingsValue(QStringLiteral("widget.maps.elevation.url"), root + QStringLiteral("/elevation?at={lat},{lng}"));
        QVERIFY(device.start(1, QStringLiteral("gps")));
        QVERIFY(device.ok(QStringLiteral("set GpsLatitude 12.25")));
        QVERIFY(device.ok(QStringLiteral("set GpsBearing 90")));
        panel = qobject_cast<WidgetGps *>(device.button->panel());
        QVERIFY(panel);
    }

    // Opening reads the device, in the locale's form; the dial stands opposite the bearing.
    void openingShowsTheDeviceState()
    {
        QCOMPARE(device.open(), panel); // with the focus, which the dial needs
        QVERIFY(panel->activationSwitch()->isChecked());
        QCOMPARE(edit("latitude")->text(), QStringLiteral("12,25"));
        QCOMPARE(edit("bearing")->text(), QStringLiteral("90"));
        QCOMPARE(control<Compass>("compass")->value(), 270);
    }

    // Typed with a comma or a point, each value reaches the device exactly and is kept for the
    // device; a value out of range cannot be typed.
    void typedValuesReachTheDevice()
    {
        type(edit("latitude"), QStringLiteral("43,61234567"));
        type(edit("longitude"), QStringLiteral("-1.5"));
        QCOMPARE(edit("longitude")->text(), QStringLiteral("-1,5"));
        type(edit("altitude"), QStringLiteral("-12,75"));
        type(edit("accuracy"), QStringLiteral("25"));
        QCOMPARE(control<QSlider>("accuracySlider")->value(), 25);
        const QList<QJsonObject> entries = device.requestEntries();
        QCOMPARE(sentDouble(entries, "GpsLatitude"), 43.61234567);
        QCOMPARE(sentDouble(entries, "GpsLongitude"), -1.5);
        QCOMPARE(sentDouble(entries, "GpsAltitude"), -12.75);
        QCOMPARE(sentDouble(entries, "GpsAccuracy"), 25.0);
        QCOMPARE(device.control(QStringLiteral("get GpsLatitude")), QStringLiteral("ok 43.61234567"));
        QCOMPARE(stored("widget.gps.latitude"), 43.61234567);

        type(edit("latitude"), QStringLiteral("95"));
        QCOMPARE(edit("latitude")->text(), QStringLiteral("9"));
        QCOMPARE(sentDouble(device.requestEntries(), "GpsLatitude"), 9.0);
        type(edit("bearing"), QStringLiteral("360"), false);
        QCOMPARE(edit("bearing")->text(), QStringLiteral("36"));
    }

    // A typed bearing turns the dial and its lit arrow point to the east; a click on the dial
    // writes the bearing.
    void compassAndBearing()
    {
        auto *compass = control<Compass>("compass");
        type(edit("bearing"), QStringLiteral("90"));
        QCOMPARE(compass->value(), 270);
        QCOMPARE(sentDouble(device.requestEntries(), "GpsBearing"), 90.0);
        const QImage drawn = compass->grab().toImage();
        double sumX = 0;
        int lit = 0;
        for (int y = 0; y < drawn.height(); ++y)
            for (int x = 0; x < drawn.width(); ++x)
                if (qAbs(qRed(drawn.pixel(x, y)) - 0xE6) + qAbs(qGreen(drawn.pixel(x, y)) - 0x19) < 40)
                    sumX += x, ++lit;
        QVERIFY2(lit > 20 && sumX / lit > drawn.width() * 0.6, qPrintable(QString::number(sumX / qMax(1, lit))));

        QTest::mouseClick(compass, Qt::LeftButton, {}, QPoint(2, compass->height() / 2)); // west on the dial
        const double bearing = edit("bearing")->text().toDouble();
        QVERIFY2(bearing >= 265 && bearing <= 275, qPrintable(edit("bearing")->text()));
        QCOMPARE(sentDouble(device.requestEntries(), "GpsBearing"), bearing);
    }

    // A refused value is logged, stays in the field and is not kept for the device.
    void refusalIsNotKept()
    {
        QVERIFY(device.ok(QStringLiteral("reply-next InvalidRequest no")));
        const double kept = stored("widget.gps.latitude");
        QTest::ignoreMessage(QtCriticalMsg, "\"Invalid request: bad argument or bad format\"");
        type(edit("latitude"), QStringLiteral("-33,5"));
        const QList<QJsonObject> entries = device.requestEntries();
        QCOMPARE(sentDouble(entries, "GpsLatitude"), -33.5);
        QCOMPARE(entries.last().value(QStringLiteral("status")).toString(), QStringLiteral("InvalidRequest"));
        QCOMPARE(edit("latitude")->text(), QStringLiteral("-33,5"));
        QCOMPARE(stored("widget.gps.latitude"), kept);
    }

    // Opening the map places the marker where the panel stands; a click on the map gives one
    // position after its elevation answer, and the device takes it as its fix.
    void mapClickIsTheFix()
    {
        QSignalSpy positions(panel->mapWidget()->jsObject(), &JsObject::sigGoogleMapsCoordinates);
        QTest::mouseClick(control<QPushButton>("mapButton"), Qt::LeftButton);
        QVERIFY(QTest::qWaitForWindowExposed(panel->mapWidget()));
        QTRY_COMPARE_WITH_TIMEOUT(positions.size(), 1, 10000);
        QCOMPARE(positions.first().at(0).toDouble(), -33.5);
        QCOMPARE(server.elevations, 1);
        device.requestEntries();

        QWebView *view = panel->mapWidget()->webView();
        QTest::qWait(300);
        QTest::mouseClick(view, Qt::LeftButton, {}, view->rect().center() + QPoint(120, 0));
        QTRY_COMPARE_WITH_TIMEOUT(positions.size(), 2, 5000);
        QCOMPARE(server.elevations, 2);
        const QList<QVariant> fix = positions.last();
        QVERIFY(fix.at(1).toDouble() > -1.5 && qAbs(fix.at(0).toDouble() + 33.5) < 0.001);
        QCOMPARE(fix.at(2).toDouble(), 123.5);
        const QList<QJsonObject> entries = device.requestEntries();
        QCOMPARE(sentDouble(entries, "GpsLatitude"), QString::number(fix.at(0).toDouble(), 'f', 8).toDouble());
        QCOMPARE(sentDouble(entries, "GpsLongitude"), QString::number(fix.at(1).toDouble(), 'f', 8).toDouble());
        QCOMPARE(sentDouble(entries, "GpsAltitude"), 123.5);
        QCOMPARE(edit("altitude")->text(), QStringLiteral("123,5"));

        // A map panned once round the globe eastwards still gives a longitude the device takes.
        view->page()->mainFrame()->evaluateJavaScript(QStringLiteral("placeMarker(L.latLng(10, 190));"));
        QTRY_COMPARE(positions.size(), 3);
        QCOMPARE(positions.last().at(1).toDouble(), -170.0);
    }

    // A search moves the marker; no results or no JSON change nothing.
    void searchMovesTheMarker()
    {
        QSignalSpy positions(panel->mapWidget()->jsObject(), &JsObject::sigGoogleMapsCoordinates);
        auto *search = panel->mapWidget()->findChild<QLineEdit *>(QStringLiteral("search"));
        for (const char *text : {"nothing", "garbage"}) {
            const int searches = server.searches;
            type(search, QLatin1String(text));
            QTRY_COMPARE(server.searches, searches + 1);
            QTest::qWait(300);
            QCOMPARE(positions.size(), 0);
        }
        QCOMPARE(server.elevations, 3);
        type(search, QStringLiteral("paris"));
        QTRY_COMPARE_WITH_TIMEOUT(positions.size(), 1, 5000);
        QCOMPARE(positions.first().at(0).toDouble(), 48.8566);
        QCOMPARE(sentDouble(device.requestEntries(), "GpsLongitude"), 2.3522);
        QCOMPARE(edit("longitude")->text(), QStringLiteral("2,3522"));
    }

    void screenshotShowsEnglish()
    {
        const QImage shot = panel->grab().toImage();
        QVERIFY(!shot.isNull());
        shot.save(QStringLiteral(CALDERWICK_TEST_BIN_DIR "/gps-panel.png"));
        panel->mapWidget()->grab().save(QStringLiteral(CALDERWICK_TEST_BIN_DIR "/gps-map.png"));
        QStringList texts = PanelDevice::labelTexts(panel);
        for (const QString &english : {"GPS", "Latitude", "Longitude", "Altitude", "Accuracy", "Bearing", "On", "Off"})
            QVERIFY2(texts.contains(english), qPrintable(texts.join(QLatin1Char('|'))));
        texts << control<QPushButton>("mapButton")->toolTip() << panel->mapWidget()->windowTitle();
        QVERIFY(!PanelDevice::showsRawKey(texts));
    }

    // Turning reception off closes the map. The device then goes away under the open panel:
    // a failed value is not kept. Once it is back, the player closes with a field in focus,
    // which must send nothing to the event manager the player has already let go.
    void switchOffAndDeviceGone()
    {
        QTest::mouseClick(panel->activationSwitch(), Qt::LeftButton);
        QCOMPARE(PanelDevice::values(device.requestEntries(), QStringLiteral("SetParam"), QStringLiteral("GpsStatus"))
                     .value(0).value(QStringLiteral("boolValue")).toBool(true), false);
        QVERIFY(!panel->mapWidget()->isVisible() && !control<QLineEdit>("latitude")->isEnabled());
        QTest::mouseClick(panel->activationSwitch(), Qt::LeftButton);
        QTRY_VERIFY(PanelDevice::lastStatistic().contains(QStringLiteral("widget_gps")));
        for (const char *command : {"refuse request", "close request"})
            QVERIFY(device.ok(QLatin1String(command)));
        type(edit("latitude"), QStringLiteral("1"));
        QCOMPARE(stored("widget.gps.latitude"), 48.8566);
        panel->close();
        QVERIFY(!device.button->isChecked());

        QVERIFY(device.ok(QStringLiteral("accept request")));
        QTest::mouseClick(device.button, Qt::LeftButton);
        QCOMPARE(edit("latitude")->text(), QStringLiteral("48,8566"));
        // Without a window manager a window shown again is not activated by request.
        QApplication::setActiveWindow(panel);
        edit("latitude")->setFocus();
        QVERIFY(edit("latitude")->hasFocus());
    }
};

CALDERWICK_PANEL_TEST_MAIN(TestWidgetGps)

#include "tst_widgetgps.moc"
