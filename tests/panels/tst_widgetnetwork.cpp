// The network panel in the player against a devicesim process: every profile reaches the
// device with its mode number, the device's values come back into the details, a refused
// or unreachable device switches the panel off with the error box.

#include "paneldevice.h"
#include "settings.h"
#include "widgetnetwork.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QPushButton>
#include <QScreen>
#include <QToolButton>

class TestWidgetNetwork : public QObject
{
    Q_OBJECT

    PanelDevice device;
    PanelWidget *panel = nullptr;

    QComboBox *box() const { return panel->findChild<QComboBox *>(QStringLiteral("profile")); }
    QList<QJsonObject> modesSent()
    {
        return PanelDevice::values(device.requestEntries(), QStringLiteral("SetParam"), QStringLiteral("NetworkMode"));
    }
    bool shows(const QString &text) const { return PanelDevice::labelTexts(panel).contains(text); }

    // As a user picks an item from the open list.
    void chooseProfile(int index)
    {
        box()->showPopup();
        box()->view()->setCurrentIndex(box()->model()->index(index, 0));
        QTest::keyClick(box()->view(), Qt::Key_Return);
    }

private slots:
    void initTestCase()
    {
        QVERIFY(device.start(1, QStringLiteral("network")));
        panel = device.open();
        QVERIFY(qobject_cast<WidgetNetwork *>(panel));
    }

    // An unshaped device shows the panel off; the switch then sends Wi-Fi, as nothing was
    // chosen before. Opened again, the panel shows the profile and values the device reports.
    void openingShowsTheDeviceProfile()
    {
        QVERIFY(!panel->activationSwitch()->isChecked() && !box()->isEnabled());
        QCOMPARE(box()->currentText(), QStringLiteral("Wi-Fi"));
        QTest::mouseClick(panel->activationSwitch(), Qt::LeftButton);
        QCOMPARE(modesSent().value(0).value(QStringLiteral("intValue")).toInt(), 8);
        panel->close();
        for (const char *command : {"set NetworkMode 3", "set NetworkUpRate 1000", "set NetworkDownRate 1001"})
            QVERIFY(device.ok(QLatin1String(command)));
        QCOMPARE(device.open(), panel);
        QVERIFY(panel->activationSwitch()->isChecked());
        QCOMPARE(box()->currentText(), QStringLiteral("EDGE"));
        QVERIFY(modesSent().isEmpty());
        QTest::mouseClick(panel->findChild<QToolButton *>(QStringLiteral("details")), Qt::LeftButton);
        for (const char *text : {"Upload rate: 1000 Kb/s", "Download rate: 1.0 Mb/s", "Upload delay: 150 ms",
                                 "Download packet loss: 0%", "DNS delay: 0 ms"})
            QVERIFY2(shows(QLatin1String(text)), qPrintable(PanelDevice::labelTexts(panel).join(QLatin1Char('|'))));
    }

    // Each profile is sent as its mode, the device's values for it are shown, the choice is
    // kept for the device and reported by its word.
    void everyProfileReachesTheDevice()
    {
        const struct { const char *word, *shown; } profiles[] = {
            {"no-data", "Upload packet loss: 100%"}, {"gprs", "Upload delay: 300 ms"},
            {"edge", "Download rate: 240 Kb/s"},     {"3g", "Download rate: 2.0 Mb/s"},
            {"4g", "Download rate: 20.0 Mb/s"},      {"4g-bad-dns", "DNS delay: 3000 ms"},
            {"4g-bad-network", "Download packet loss: 10%"}, {"wifi", "Upload rate: 20.0 Mb/s"}};
        for (int mode = 1; mode <= 8; ++mode) {
            chooseProfile(mode - 1);
            const QList<QJsonObject> sent = modesSent();
            QCOMPARE(sent.size(), 1);
            QCOMPARE(sent.first().value(QStringLiteral("intValue")).toInt(), mode);
            QVERIFY2(shows(QLatin1String(profiles[mode - 1].shown)), profiles[mode - 1].shown);
            QCOMPARE(deviceSettingsValue(QString(), QStringLiteral("widget.network.mode")).toInt(), mode);
            const QString record = QStringLiteral("\"profile\":\"%1\"").arg(QLatin1String(profiles[mode - 1].word));
            QTRY_VERIFY2(PanelDevice::lastStatistic().contains(record), qPrintable(record));
        }
        QCOMPARE(device.control(QStringLiteral("get NetworkMode")), QStringLiteral("ok 8"));
    }

    // Off sends mode 0 and greys the profile out; on sends the chosen profile again.
    void switchSendsOffAndTheProfile()
    {
        chooseProfile(3);
        modesSent();
        for (int expected : {0, 4}) {
            QTest::mouseClick(panel->activationSwitch(), Qt::LeftButton);
            QCOMPARE(modesSent().value(0).value(QStringLiteral("intValue")).toInt(-1), expected);
            QCOMPARE(box()->isEnabled(), expected != 0);
        }
        QTRY_VERIFY(PanelDevice::statistics().join(QLatin1Char('|')).contains(QStringLiteral("\"profile\":\"none\"")));
    }

    // A refused profile: the error box, the switch off, the device and the setting unchanged.
    void refusalSwitchesThePanelOff()
    {
        QVERIFY(device.ok(QStringLiteral("reply-next InvalidRequest no")));
        QTest::ignoreMessage(QtCriticalMsg, "\"Invalid request: bad argument or bad format\"");
        QCOMPARE(PanelDevice::answerBox([&] { chooseProfile(1); }),
                 QStringLiteral("The network profile could not be set on the virtual device."));
        QVERIFY(!panel->activationSwitch()->isChecked() && !box()->isEnabled());
        QCOMPARE(device.control(QStringLiteral("get NetworkMode")), QStringLiteral("ok 4"));
        QCOMPARE(deviceSettingsValue(QString(), QStringLiteral("widget.network.mode")).toInt(), 4);
    }

    void screenshotShowsEnglish()
    {
        QTest::mouseClick(panel->activationSwitch(), Qt::LeftButton);
        QTest::qWait(200);
        const QImage shot = QGuiApplication::primaryScreen()->grabWindow(panel->winId()).toImage();
        QVERIFY(shot.save(QStringLiteral(CALDERWICK_TEST_BIN_DIR "/network-panel.png")));
        const QStringList texts = PanelDevice::labelTexts(panel);
        for (const char *english : {"NETWORK", "Network profile", "On", "Off", "Upload rate: 40 Kb/s"})
            QVERIFY2(texts.contains(QLatin1String(english)), qPrintable(texts.join(QLatin1Char('|'))));
        QVERIFY(!PanelDevice::showsRawKey(texts + QStringList(box()->currentText())));
    }

    // The device goes away while the panel is open: the error box, the switch off, and
    // showing the panel again keeps it as it was.
    void deviceGoneWhilePanelOpen()
    {
        QVERIFY(device.quit());
        QCOMPARE(PanelDevice::answerBox([&] { chooseProfile(2); }),
                 QStringLiteral("The network profile could not be set on the virtual device."));
        QVERIFY(!panel->activationSwitch()->isChecked());
        panel->close();
        QVERIFY(device.open() == panel && !panel->activationSwitch()->isChecked());
    }
};

CALDERWICK_PANEL_TEST_MAIN(TestWidgetNetwork)

#include "tst_widgetnetwork.moc"
