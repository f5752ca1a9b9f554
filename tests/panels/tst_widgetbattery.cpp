// The battery panel in the player against a devicesim process: opened from its toolbar button,
// every control reaches the device with its exact value, the device's state comes back into
// the controls, and a refused operation leaves them as the user set them.

#include "paneldevice.h"
#include "widgetbattery.h"

#include <QIcon>
#include <QLineEdit>
#include <QPushButton>
#include <QSlider>

#include <X11/Xlib.h>

class TestWidgetBattery : public QObject
{
    Q_OBJECT

private:
    PanelDevice sim;
    PanelButton *button = nullptr;
    WidgetBattery *panel = nullptr;
    int journalSeen = 0;

    QString control(const QString &command) { return sim.control(command); }

    // The request channel's journal entries since the last call: requests and replies.
    QList<QJsonObject> requestEntries() { return sim.journal(QStringLiteral("request"), &journalSeen); }

    // Of those entries, the values of the requests of one kind ("SetParam", "BatteryLevel").
    static QList<QJsonObject> values(const QList<QJsonObject> &entries, const QString &request, const QString &parameter)
    {
        QList<QJsonObject> found;
        for (const QJsonObject &entry : entries)
            if (entry.contains(QStringLiteral("bytes")) && entry.value(QStringLiteral("request")).toString() == request
                && entry.value(QStringLiteral("parameter")).toString() == parameter)
                found << entry.value(QStringLiteral("value")).toObject();
        return found;
    }

    QList<QJsonObject> sent(const QString &parameter)
    {
        return values(requestEntries(), QStringLiteral("SetParam"), parameter);
    }

    template<typename T> T *control(const char *name) const { return panel->findChild<T *>(QLatin1String(name)); }
    QLineEdit *edit() const { return control<QLineEdit>("level"); }
    QSlider *slider() const { return control<QSlider>("levelSlider"); }
    QPushButton *charging() const { return control<QPushButton>("chargingSwitch"); }

    void typeLevel(const QString &text)
    {
        edit()->setFocus();
        edit()->selectAll();
        QTest::keyClicks(edit(), text);
        QTest::keyClick(edit(), Qt::Key_Return);
    }

private slots:
    void initTestCase()
    {
        QVERIFY(sim.start(QSize(360, 640)));
        // A full battery at 55 %, in host mode.
        QVERIFY(control(QStringLiteral("set BatteryStatus Full")).startsWith(QStringLiteral("ok")));
        QVERIFY(control(QStringLiteral("set BatteryLevel 55")).startsWith(QStringLiteral("ok")));
        QVERIFY(!sim.player->panelsToolbar()->button(QStringLiteral("battery"))->isEnabled());
        button = sim.enabledButton(QStringLiteral("battery"));
        QVERIFY(button);
        panel = qobject_cast<WidgetBattery *>(button->panel());
        QVERIFY(panel);
    }

    void cleanupTestCase() { sim.stop(); }

    // Opening reads the device: host mode greys the content out; a full battery is charging.
    void openingShowsTheDeviceState()
    {
        QTest::mouseClick(button, Qt::LeftButton);
        QVERIFY(QTest::qWaitForWindowExposed(panel));
        QVERIFY(!panel->activationSwitch()->isChecked());
        QCOMPARE(slider()->value(), 55);
        QCOMPARE(edit()->text(), QStringLiteral("55"));
        QVERIFY(charging()->isChecked());
        QVERIFY(!slider()->isEnabled() && panel->activationSwitch()->isEnabled());
        QCOMPARE(values(requestEntries(), QStringLiteral("GetParam"), QStringLiteral("BatteryStatus")).size(), 1);
    }

    void switchOnSendsManualModeAndReadsBack()
    {
        QVERIFY(control(QStringLiteral("set BatteryLevel 60")).startsWith(QStringLiteral("ok")));
        QTest::mouseClick(panel->activationSwitch(), Qt::LeftButton);
        const QList<QJsonObject> entries = requestEntries();
        const QList<QJsonObject> mode = values(entries, QStringLiteral("SetParam"), QStringLiteral("BatteryMode"));
        QCOMPARE(mode.size(), 1);
        QCOMPARE(mode.first().value(QStringLiteral("boolValue")).toBool(), true);
        // Then the panel reads the device back.
        for (const char *parameter : {"BatteryMode", "BatteryLevel", "BatteryStatus"})
            QCOMPARE(values(entries, QStringLiteral("GetParam"), QLatin1String(parameter)).size(), 1);
        // The level read back is not written back.
        QVERIFY(values(entries, QStringLiteral("SetParam"), QStringLiteral("BatteryLevel")).isEmpty());
        QCOMPARE(slider()->value(), 60);
        QVERIFY(panel->activationSwitch()->isChecked());
        QVERIFY(slider()->isEnabled() && edit()->isEnabled() && charging()->isEnabled());
    }

    // Typed and slid levels reach the device exactly, both ends included; the edit follows the
    // slider and 100 shows the full battery.
    void levelsReachTheDevice()
    {
        typeLevel(QStringLiteral("100"));
        QCOMPARE(slider()->value(), 100);
        QCOMPARE(sent(QStringLiteral("BatteryLevel")).value(0).value(QStringLiteral("intValue")).toInt(), 100);
        const QImage full = QIcon(QStringLiteral(":/widgets/battery/battery100_default.svg")).pixmap(64, 64).toImage();
        bool shown = false;
        for (QLabel *label : panel->findChildren<QLabel *>())
            shown = shown || label->pixmap(Qt::ReturnByValue).toImage() == full;
        QVERIFY(shown);

        slider()->setFocus();
        QTest::keyClick(slider(), Qt::Key_Home);
        QCOMPARE(edit()->text(), QStringLiteral("0"));
        const QList<QJsonObject> level = sent(QStringLiteral("BatteryLevel"));
        QCOMPARE(level.size(), 1);
        QCOMPARE(level.first().value(QStringLiteral("intValue")).toInt(), 0);
        QCOMPARE(control(QStringLiteral("get BatteryLevel")), QStringLiteral("ok 0"));

        // Past the validator, a level above 100 is not taken.
        edit()->setText(QStringLiteral("101"));
        QMetaObject::invokeMethod(edit(), "editingFinished");
        QCOMPARE(slider()->value(), 0);
        QVERIFY(sent(QStringLiteral("BatteryLevel")).isEmpty());
    }

    void chargingSwitchSendsTheStatus()
    {
        QLabel *status = nullptr;
        for (QLabel *label : panel->findChildren<QLabel *>())
            if (label->text() == QLatin1String("Charging"))
                status = label;
        QVERIFY(status);
        for (const QString &expected : {QStringLiteral("Discharging"), QStringLiteral("Charging")}) {
            QTest::mouseClick(charging(), Qt::LeftButton);
            QCOMPARE(sent(QStringLiteral("BatteryStatus")).value(0).value(QStringLiteral("stringValue")).toString(), expected);
            QCOMPARE(status->text(), expected);
        }
    }

    // The operation fails on the device: logged, and the controls keep what the user set.
    void refusalLeavesTheControls()
    {
        QVERIFY(control(QStringLiteral("reply-next InvalidRequest no")).startsWith(QStringLiteral("ok")));
        QTest::ignoreMessage(QtCriticalMsg, "\"Invalid request: bad argument or bad format\"");
        typeLevel(QStringLiteral("30"));
        const QList<QJsonObject> entries = requestEntries();
        QCOMPARE(values(entries, QStringLiteral("SetParam"), QStringLiteral("BatteryLevel")).size(), 1);
        QCOMPARE(entries.last().value(QStringLiteral("status")).toString(), QStringLiteral("InvalidRequest"));
        QCOMPARE(slider()->value(), 30);
        QCOMPARE(edit()->text(), QStringLiteral("30"));
        QVERIFY(panel->activationSwitch()->isChecked() && charging()->isChecked());
        QCOMPARE(control(QStringLiteral("get BatteryLevel")), QStringLiteral("ok 0"));
    }

    void screenshotShowsEnglish()
    {
        // Every text is English: the status is a key with a translation of its own, and none
        // looks like a dotted key.
        const QStringList texts = PanelDevice::screenshotTexts(panel, QStringLiteral("battery-panel.png"));
        for (const char *english : {"BATTERY", "Charging level", "Connection status", "On", "Off", "Charging"})
            QVERIFY2(texts.contains(QLatin1String(english)), qPrintable(texts.join(QLatin1Char('|'))));
        QVERIFY(PanelDevice::rawKeys(texts).isEmpty());
    }

    // With the switch off the level stays on the panel.
    void switchOffSendsNoLevel()
    {
        QTest::mouseClick(panel->activationSwitch(), Qt::LeftButton);
        QCOMPARE(sent(QStringLiteral("BatteryMode")).value(0).value(QStringLiteral("boolValue")).toBool(true), false);
        slider()->setValue(12);
        QCOMPARE(edit()->text(), QStringLiteral("12"));
        QTest::qWait(200);
        QVERIFY(sent(QStringLiteral("BatteryLevel")).isEmpty());
    }
};

int main(int argc, char *argv[])
{
    // The render library draws into the player's window from its own threads.
    XInitThreads();
    TestEnvironment::isolateHome();
    QApplication app(argc, argv);
    TestWidgetBattery tc;
    return QTest::qExec(&tc, argc, argv);
}

#include "tst_widgetbattery.moc"
