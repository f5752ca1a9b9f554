// The identity panel in the player against a devicesim process: typed and drawn identities
// reach the device exactly, only valid Android IDs leave the field, and a refused or gone
// device leaves the fields as the user set them.

#include "helpers.h"
#include "paneldevice.h"
#include "widgetid.h"

#include <QLineEdit>
#include <QPushButton>
#include <QScreen>

class TestWidgetID : public QObject
{
    Q_OBJECT

    PanelDevice device;
    PanelWidget *panel = nullptr;

    QLineEdit *field(const char *name) const { return panel->findChild<QLineEdit *>(QLatin1String(name)); }
    QList<QJsonObject> sent(const char *parameter)
    {
        return PanelDevice::values(device.requestEntries(), QStringLiteral("SetParam"), QLatin1String(parameter));
    }
    static QString text(const QJsonObject &value) { return value.value(QStringLiteral("stringValue")).toString(); }

    void type(QLineEdit *edit, const QString &keys, Qt::Key end = Qt::Key_Return)
    {
        edit->setFocus();
        edit->selectAll();
        QTest::keyClick(edit, Qt::Key_Backspace);
        QTest::keyClicks(edit, keys);
        QTest::keyClick(edit, end);
    }

    void click(const char *button) { QTest::mouseClick(panel->findChild<QPushButton *>(QLatin1String(button)), Qt::LeftButton); }

private slots:
    void initTestCase()
    {
        QVERIFY(device.start(1, QStringLiteral("deviceid")));
        QVERIFY(device.ok(QStringLiteral("set DeviceId 356938035643809")));
        QVERIFY(device.ok(QStringLiteral("set AndroidId 0123456789abcdef")));
        panel = device.open();
        QVERIFY(qobject_cast<WidgetID *>(panel));
    }

    void openingShowsTheDeviceIds()
    {
        QCOMPARE(field("deviceId")->text(), QStringLiteral("356938035643809"));
        QCOMPARE(field("androidId")->text(), QStringLiteral("0123456789abcdef"));
        QVERIFY(sent("DeviceId").isEmpty() && sent("AndroidId").isEmpty());
    }

    // A typed Android ID goes once, on Return; leaving the field unchanged sends nothing more.
    // Fifteen digits stay red and are not sent; upper case and a 17th digit cannot be typed.
    void androidIdReachesTheDeviceOnlyWhenValid()
    {
        type(field("androidId"), QStringLiteral("fedcba9876543210"));
        field("deviceId")->setFocus();
        const QList<QJsonObject> values = sent("AndroidId");
        QCOMPARE(values.size(), 1);
        QCOMPARE(text(values.first()), QStringLiteral("fedcba9876543210"));
        QTRY_VERIFY(PanelDevice::lastStatistic().contains(QStringLiteral("\"random\":\"false\"")));

        type(field("androidId"), QStringLiteral("fedcba987654321"));
        QCOMPARE(field("androidId")->toolTip(), QStringLiteral("The Android ID must hold exactly 16 hexadecimal digits"));
        type(field("androidId"), QStringLiteral("ABCDEF0123456789a"), Qt::Key_Tab);
        QCOMPARE(field("androidId")->text(), QStringLiteral("0123456789a"));
        type(field("androidId"), QStringLiteral("0123456789abcdef0"), Qt::Key_Tab);
        QCOMPARE(field("androidId")->text(), QStringLiteral("0123456789abcdef"));
        QCOMPARE(field("androidId")->toolTip(), QStringLiteral("Android ID: 16 hexadecimal digits"));
        QCOMPARE(text(sent("AndroidId").value(0)), QStringLiteral("0123456789abcdef"));
        QCOMPARE(device.control(QStringLiteral("get AndroidId")), QStringLiteral("ok 0123456789abcdef"));
    }

    // Any text of the device ID's alphabet goes as typed, an emptied field as "[none]".
    void deviceIdReachesTheDevice()
    {
        for (const QString &id : {QStringLiteral("imei.test_1-a"), QString()}) {
            type(field("deviceId"), id + QStringLiteral("XY"));
            QCOMPARE(text(sent("DeviceId").value(0)), id.isEmpty() ? QStringLiteral("[none]") : id);
        }
    }

    // Drawn identities are valid ones, sent and reported as random.
    void diceDrawValidIds()
    {
        click("randomAndroidId");
        const QString androidId = text(sent("AndroidId").value(0));
        QVERIFY(QRegularExpression(QStringLiteral("^[0-9a-f]{16}$")).match(androidId).hasMatch());
        QCOMPARE(field("androidId")->text(), androidId);
        QTRY_VERIFY(PanelDevice::lastStatistic().contains(QStringLiteral("\"random\":\"true\"")));
        click("randomDeviceId");
        const QString imei = text(sent("DeviceId").value(0));
        QVERIFY(QRegularExpression(QStringLiteral("^[0-9]{15}$")).match(imei).hasMatch());
        QCOMPARE(computeImeiCheckDigit(imei.left(14)), imei.right(1).toInt());
    }

    // A refused draw leaves the device as it was and the drawn value in the field; the next
    // value the device takes counts as random.
    void refusedDrawStaysRandom()
    {
        const QString before = device.control(QStringLiteral("get DeviceId"));
        QVERIFY(device.ok(QStringLiteral("reply-next InvalidRequest no")));
        QTest::ignoreMessage(QtCriticalMsg, "\"Invalid request: bad argument or bad format\"");
        click("randomDeviceId");
        const QList<QJsonObject> entries = device.requestEntries();
        QCOMPARE(PanelDevice::values(entries, QStringLiteral("SetParam"), QStringLiteral("DeviceId")).size(), 1);
        QCOMPARE(entries.last().value(QStringLiteral("status")).toString(), QStringLiteral("InvalidRequest"));
        QCOMPARE(device.control(QStringLiteral("get DeviceId")), before);
        QVERIFY(field("deviceId")->text() != before.mid(3));
        type(field("deviceId"), QStringLiteral("typed"));
        QCOMPARE(device.control(QStringLiteral("get DeviceId")), QStringLiteral("ok typed"));
        QTRY_VERIFY(PanelDevice::lastStatistic().contains(QStringLiteral("device_id")));
        QVERIFY(PanelDevice::lastStatistic().contains(QStringLiteral("\"random\":\"true\"")));
    }

    void screenshotShowsEnglish()
    {
        QTest::qWait(200);
        const QImage shot = QGuiApplication::primaryScreen()->grabWindow(panel->winId()).toImage();
        QVERIFY(shot.save(QStringLiteral(CALDERWICK_TEST_BIN_DIR "/identity-panel.png")));
        const QStringList texts = PanelDevice::labelTexts(panel);
        for (const char *english : {"DEVICE IDENTITY", "Android ID", "Device ID (IMEI/MEID)"})
            QVERIFY2(texts.contains(QLatin1String(english)), qPrintable(texts.join(QLatin1Char('|'))));
        QVERIFY(!PanelDevice::showsRawKey(texts));
    }

    // The device goes away: the typed value stays in the field, and opening the panel again
    // neither hangs nor crashes.
    void deviceGoneWhilePanelOpen()
    {
        QVERIFY(device.quit());
        type(field("deviceId"), QStringLiteral("after.gone"));
        QCOMPARE(field("deviceId")->text(), QStringLiteral("after.gone"));
        panel->close();
        QVERIFY(device.open() == panel);
    }
};

CALDERWICK_PANEL_TEST_MAIN(TestWidgetID)

#include "tst_widgetid.moc"
