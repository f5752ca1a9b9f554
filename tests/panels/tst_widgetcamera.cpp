// The camera panel in the player against a devicesim process, with a fake webcam preloaded
// (tests/camera/fakev4l2.cpp): the player serves the device's cameras from the start, and the
// webcam chosen in the panel is what the device's camera receives.

#include "cameramanager.h"
#include "paneldevice.h"
#include "widgetcamera.h"

#include <QCheckBox>
#include <QComboBox>
#include <QPushButton>
#include <QScreen>
#include <QToolButton>

namespace {

// Every byte of a fake frame is 200: in YUYV a saturated magenta, unlike anything else there.
const char *const Webcam = "/dev/video2 formats=YUYV:d640x480,352x288,320x240,176x144 fill=200";

int magentaPixels(const QImage &image)
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) {
            const QRgb p = image.pixel(x, y);
            count += qRed(p) > 230 && qBlue(p) > 230 && qGreen(p) > 80 && qGreen(p) < 180;
        }
    return count;
}

} // namespace

class TestWidgetCamera : public QObject
{
    Q_OBJECT

    PanelDevice sim;
    PanelButton *button = nullptr;
    WidgetCamera *panel = nullptr;

    // The camera journal entries that hold every field of the pattern.
    QList<QJsonObject> cameraEntries(const QJsonObject &pattern)
    {
        QList<QJsonObject> found;
        for (const QJsonObject &entry : sim.journal(QStringLiteral("camera"))) {
            bool match = true;
            for (auto it = pattern.begin(); it != pattern.end(); ++it)
                match = match && entry.value(it.key()) == it.value();
            if (match)
                found << entry;
        }
        return found;
    }

    QImage phoneScreen()
    {
        // Kept beside the panel's screenshot: the last one shows the webcam on the phone.
        const QString path = QStringLiteral(CALDERWICK_TEST_BIN_DIR "/camera-phone.png");
        const bool written = sim.control(QStringLiteral("screenshot ") + path).startsWith(QLatin1String("ok"));
        return written ? QImage(path) : QImage();
    }

    QComboBox *box(const char *name) const { return panel->findChild<QComboBox *>(QLatin1String(name)); }
    static QStringList items(QComboBox *box)
    {
        QStringList texts;
        for (int i = 0; i < box->count(); ++i)
            texts << box->itemText(i);
        return texts;
    }
    // Hides and shows the panel from its button: showing lists the webcams again.
    void reopen()
    {
        QTest::mouseClick(button, Qt::LeftButton);
        QTest::mouseClick(button, Qt::LeftButton);
        QVERIFY(QTest::qWaitForWindowExposed(panel));
    }

private slots:
    void initTestCase()
    {
        QVERIFY2(qgetenv("LD_PRELOAD").contains("fakev4l2"), "run through ctest, which preloads the fake webcam");
        qputenv("CALDERWICK_FAKE_V4L2", Webcam);
        QVERIFY(sim.start(1, QStringLiteral("camera")));
        // Both camera ports are served before anyone opens the panel.
        QTRY_COMPARE_WITH_TIMEOUT(cameraEntries({{"event", "connected"}}).size(), 2, 10000);
        button = sim.button;
        panel = qobject_cast<WidgetCamera *>(button->panel());
        QVERIFY(panel);
    }

    // The placeholder feeds the device until the webcam is chosen for the front camera; then
    // the webcam's pixels reach the device's camera and its phone screen.
    void chosenWebcamFeedsTheDevice()
    {
        QCOMPARE(sim.control(QStringLiteral("camera open front 640x480 YU12 40")), QStringLiteral("ok"));
        QTRY_VERIFY(sim.control(QStringLiteral("camera frames front")) != QLatin1String("ok 0"));
        QCOMPARE(cameraEntries({{"camera", "front"}, {"event", "start"}, {"width", 640}, {"height", 480}}).size(), 1);
        QCOMPARE(magentaPixels(phoneScreen()), 0);

        QTest::mouseClick(button, Qt::LeftButton);
        QVERIFY(QTest::qWaitForWindowExposed(panel));
        QTest::mouseClick(panel->activationSwitch(), Qt::LeftButton);
        QCOMPARE(items(box("frontCamera")), QStringList({"Dummy camera", "webcam0"}));
        QCOMPARE(items(box("backCamera")), items(box("frontCamera")));
        box("frontCamera")->setCurrentIndex(1);
        QCOMPARE(panel->cameraManager()->frontCamera()->name(), QStringLiteral("webcam0"));
        // The webcam's Y of 200 (0xC8), 171 (0xAB) in the first pixel of each pair, which alone
        // goes through the colour correction and comes back from the clamped RGB.
        const auto lastReply = [&](const QJsonObject &pattern) {
            return cameraEntries(pattern).last().value(QStringLiteral("reply")).toString();
        };
        QTRY_VERIFY_WITH_TIMEOUT(lastReply({{"camera", "front"}}).startsWith("00070803ok:%AB%C8%AB%C8"), 5000);
        // The device learns the new camera's name, which its screen shows beside the frames.
        QTRY_VERIFY_WITH_TIMEOUT(lastReply({{"camera", "front"}, {"command", "infos"}}).contains(" name=webcam0 "),
                                 5000);
        QTRY_VERIFY(magentaPixels(phoneScreen()) > 1000);

        QCOMPARE(sim.control(QStringLiteral("camera close front")), QStringLiteral("ok"));
        QTRY_COMPARE(cameraEntries({{"camera", "front"}, {"event", "stop"}, {"width", 640}}).size(), 1);
    }

    // The preview shows the front webcam; its check box stays checked when clicked again, and
    // the choice survives another listing.
    void previewAndListing()
    {
        QTest::mouseClick(panel->findChild<QToolButton *>(QStringLiteral("preview")), Qt::LeftButton);
        QCheckBox *front = panel->findChildren<QCheckBox *>().value(1);
        QTest::mouseClick(front, Qt::LeftButton);
        QTest::mouseClick(front, Qt::LeftButton);
        QVERIFY(front->isChecked());
        for (QCheckBox *other : panel->findChildren<QCheckBox *>())
            QCOMPARE(other->isChecked(), other == front);
        QLabel *preview = panel->findChild<QLabel *>(QStringLiteral("previewImage"));
        QTRY_VERIFY(magentaPixels(preview->pixmap(Qt::ReturnByValue).toImage()) > 10000);

        reopen();
        QCOMPARE(box("frontCamera")->currentText(), QStringLiteral("webcam0"));
        QCOMPARE(panel->cameraManager()->frontCamera()->name(), QStringLiteral("webcam0"));
        QCOMPARE(box("backCamera")->currentText(), QStringLiteral("Dummy camera"));
    }

    void screenshotShowsEnglish()
    {
        QTest::qWait(200);
        const QImage shot = QGuiApplication::primaryScreen()->grabWindow(panel->winId()).toImage();
        QVERIFY(shot.save(QStringLiteral(CALDERWICK_TEST_BIN_DIR "/camera-panel.png")));
        QStringList texts = PanelDevice::labelTexts(panel);
        for (QAbstractButton *box : panel->findChildren<QAbstractButton *>())
            texts << box->text();
        for (const QString &english : {"CAMERA", "Front camera", "Back camera", "PREVIEW", "None", "On", "Off"})
            QVERIFY2(texts.contains(english), qPrintable(texts.join(QLatin1Char('|'))));
        QVERIFY(!PanelDevice::showsRawKey(texts));
    }

    void noWebcamLeavesThePlaceholder()
    {
        qputenv("CALDERWICK_FAKE_V4L2", "");
        reopen();
        for (const char *name : {"frontCamera", "backCamera"})
            QCOMPARE(items(box(name)), QStringList({"Dummy camera"}));
        QCOMPARE(panel->cameraManager()->frontCamera()->name(), QStringLiteral("Dummy camera"));
        qputenv("CALDERWICK_FAKE_V4L2", Webcam);
    }

    // A webcam that can't take the device's size is logged; the device keeps being answered.
    void refusingWebcamIsLogged()
    {
        qputenv("CALDERWICK_FAKE_V4L2",
                QByteArray(Webcam) + ";/dev/video4 formats=YUYV:d640x480,352x288,320x240,176x144 shrink=1");
        reopen();
        QCOMPARE(sim.control(QStringLiteral("camera open back 640x480 YU12 40")), QStringLiteral("ok"));
        QTRY_VERIFY(!cameraEntries({{"camera", "back"}, {"event", "start"}}).isEmpty());
        QTest::ignoreMessage(QtCriticalMsg, "[CAMERA] Dimensions 640 x 480 are wrong for pixel format \"YUYV\"");
        box("backCamera")->setCurrentIndex(2);
        QCOMPARE(panel->cameraManager()->backCamera()->name(), QStringLiteral("webcam1"));
        const int frames = sim.control(QStringLiteral("camera frames back")).mid(3).toInt();
        QTRY_VERIFY(sim.control(QStringLiteral("camera frames back")).mid(3).toInt() > frames + 5);
        for (const QJsonObject &entry : cameraEntries({}))
            QVERIFY(!entry.contains(QStringLiteral("rejected")));
        qputenv("CALDERWICK_FAKE_V4L2", Webcam);
    }

    // The device goes away: the panel still lists, switches and previews.
    void deviceGoneLeavesThePanelUsable()
    {
        sim.player->eventManager()->setRetryDelay(60000);
        QVERIFY(sim.quit());
        reopen();
        box("frontCamera")->setCurrentIndex(1);
        QTest::mouseClick(panel->activationSwitch(), Qt::LeftButton);
        QVERIFY(!box("frontCamera")->isEnabled());
        QTest::mouseClick(panel->activationSwitch(), Qt::LeftButton);
        QCOMPARE(panel->cameraManager()->frontCamera()->name(), QStringLiteral("webcam0"));
        QVERIFY(panel->isVisible() && box("frontCamera")->isEnabled());
    }
};

CALDERWICK_PANEL_TEST_MAIN(TestWidgetCamera)

#include "tst_widgetcamera.moc"
