// Both toolbars in the real window against a simulated device: capability gating with its
// English reasons, the device keys reaching the device as key lines, the rotate button
// turning the device, the panel buttons opening their panels, and the bars' shortcuts.

#include "actionbutton.h"
#include "devicescreen.h"
#include "devicesimulator.h"
#include "devicestate.h"
#include "devicetoolbar.h"
#include "eventmanager.h"
#include "journal.h"
#include "panelbutton.h"
#include "panelwidget.h"
#include "player.h"
#include "testenvironment.h"
#include "widgettoolbar.h"

#include "openglrender.h"

#include <QJsonObject>
#include <QKeyEvent>
#include <QLabel>
#include <QScreen>
#include <QSignalSpy>
#include <QTranslator>

#include <memory>

namespace {

const QString DeviceAddress = TestEnvironment::loopback(20);
const QSize DeviceSize(360, 640);

} // namespace

class TestToolbars : public QObject
{
    Q_OBJECT

    std::unique_ptr<DeviceSimulator> sim;
    QTranslator english;
    Player *player = nullptr;
    int consumed = 0;

    // Key and pointer lines the device accepted since the last call.
    QStringList newLines()
    {
        QStringList lines;
        for (const QJsonObject &entry : sim->journal()->entries(QStringLiteral("event"))) {
            if (entry.contains(QStringLiteral("line")))
                lines << entry.value(QStringLiteral("line")).toString();
        }
        const QStringList fresh = lines.mid(consumed);
        consumed = lines.size();
        return fresh;
    }

    DeviceToolbar *keys() const { return player->keysToolbar(); }
    WidgetToolbar *panels() const { return player->panelsToolbar(); }

private slots:
    void initTestCase()
    {
        QVERIFY(english.load(QStringLiteral("player_en"), QStringLiteral(CALDERWICK_BIN_DIR "/translations")));
        QCoreApplication::installTranslator(&english);

        SimulatorOptions options;
        options.address = QHostAddress(DeviceAddress);
        options.size = DeviceSize;
        options.dpi = 160;
        options.screenPort = 25000;
        sim = std::make_unique<DeviceSimulator>(options);
        QString error;
        QVERIFY2(sim->start(&error), qPrintable(error));
        sim->state()->setCapability(QStringLiteral("gps"), false);
        sim->state()->setCapability(QStringLiteral("camera"), false);

        player = new Player(DeviceSize, 160, nullptr, nullptr);
        QSignalSpy playing(player, &Player::playing);
        player->connectTo(DeviceAddress);
        QTRY_COMPARE_WITH_TIMEOUT(playing.count(), 1, 10000);
        player->deviceScreen()->setupSubWindow();
        player->placeCentered(QPoint(600, 500));
        QVERIFY(QTest::qWaitForWindowExposed(player));
        newLines();
    }

    void cleanupTestCase()
    {
        delete player;
        Sylvane_shutdown();
        sim.reset();
    }

    void titlesShowTheirShortcuts()
    {
        QVERIFY(keys()->windowTitle().endsWith(QStringLiteral("\tCtrl+D")));
        QVERIFY(panels()->windowTitle().endsWith(QStringLiteral("\tCtrl+T")));
        QVERIFY(!keys()->windowTitle().startsWith(QStringLiteral("device.")));
    }

    void everythingGatedWaitsForCapabilities()
    {
        for (PanelButton *button : panels()->panelButtons())
            QVERIFY2(!button->isEnabled(), qPrintable(button->iconName()));
        QVERIFY(!keys()->button(QStringLiteral("rotate"))->isEnabled());
        QVERIFY(keys()->button(QStringLiteral("home"))->isEnabled());
    }

    void capabilitiesGateTheButtons()
    {
        QSignalSpy arrived(player->eventManager(), &EventManager::capabilitiesChanged);
        player->eventManager()->requestCapabilities();
        QTRY_COMPARE_WITH_TIMEOUT(arrived.count(), 1, 5000);

        QVERIFY(panels()->button(QStringLiteral("battery"))->isEnabled());
        QVERIFY(keys()->button(QStringLiteral("rotate"))->isEnabled());
        PanelButton *gps = panels()->button(QStringLiteral("gps"));
        QVERIFY(!gps->isEnabled());
        QVERIFY(!gps->panel()->isEnabled());
        QVERIFY(!panels()->button(QStringLiteral("camera"))->isEnabled());
        // The reason is told in English, not as a key.
        const QString reason = QCoreApplication::translate("ToolbarButton", "virtual.device.not.compatible");
        QVERIFY(reason != QLatin1String("virtual.device.not.compatible"));
        QVERIFY2(gps->toolTip().endsWith(QStringLiteral(" : ") + reason), qPrintable(gps->toolTip()));
        QVERIFY(!gps->toolTip().contains(QStringLiteral("tooltip.")));
        const QString battery = panels()->button(QStringLiteral("battery"))->toolTip();
        QVERIFY2(battery.endsWith(QStringLiteral("        Ctrl+1")), qPrintable(battery));
    }

    void keysReachTheDevice_data()
    {
        QTest::addColumn<QString>("icon");
        QTest::addColumn<int>("code");
        QTest::newRow("volume up") << "sound-up" << 115;
        QTest::newRow("volume down") << "sound-down" << 114;
        QTest::newRow("back") << "back" << 158;
        QTest::newRow("recent") << "recent" << 221;
        QTest::newRow("menu") << "menu" << 229;
        QTest::newRow("home") << "home" << 102;
        QTest::newRow("power") << "power" << 116;
    }

    void keysReachTheDevice()
    {
        QFETCH(QString, icon);
        QFETCH(int, code);
        newLines();
        ActionButton *button = keys()->button(icon);
        QVERIFY(button);
        // Some of the lower buttons sit in the bar's overflow on a short window: a press made
        // there is the same signal.
        QStringList lines;
        QTest::mousePress(button, Qt::LeftButton);
        QTRY_VERIFY((lines += newLines()).size() >= 1);
        QTest::mouseRelease(button, Qt::LeftButton);
        QTRY_VERIFY((lines += newLines()).size() >= 2);
        QCOMPARE(lines, (QStringList{QStringLiteral("KBDPR:%1:0").arg(code), QStringLiteral("KBDRL:%1:0").arg(code)}));
    }

    void heldKeyboardKeyIsNotRepeated()
    {
        // The device repeats a held key itself: the host's auto-repeat would double it.
        newLines();
        QKeyEvent press(QEvent::KeyPress, Qt::Key_A, Qt::NoModifier, QStringLiteral("a"));
        QKeyEvent repeat(QEvent::KeyPress, Qt::Key_A, Qt::NoModifier, QStringLiteral("a"), true);
        QKeyEvent repeatRelease(QEvent::KeyRelease, Qt::Key_A, Qt::NoModifier, QStringLiteral("a"), true);
        QKeyEvent release(QEvent::KeyRelease, Qt::Key_A, Qt::NoModifier, QStringLiteral("a"));
        for (QKeyEvent *event : {&press, &repeat, &repeatRelease, &repeat, &repeatRelease, &release})
            QCoreApplication::sendEvent(player, event);
        QStringList lines;
        QTRY_VERIFY((lines += newLines()).size() >= 2);
        QTest::qWait(100);
        lines += newLines();
        QCOMPARE(lines, (QStringList{QStringLiteral("KBDPR:30:0"), QStringLiteral("KBDRL:30:0")}));
    }

    void rotateTurnsTheDevice()
    {
        QCOMPARE(sim->state()->orientation(), 0);
        QTest::mouseClick(keys()->button(QStringLiteral("rotate")), Qt::LeftButton);
        QTRY_COMPARE(sim->state()->orientation(), 90);
        QVERIFY(qAbs(sim->state()->gravityX() - 9.776218750101208) < 1e-9);
        QTest::mouseClick(keys()->button(QStringLiteral("rotate")), Qt::LeftButton);
        QTRY_COMPARE(sim->state()->orientation(), 0);
        QVERIFY(qAbs(sim->state()->gravityY() - 9.776218750101208) < 1e-9);
    }

    void panelButtonOpensItsPanel()
    {
        PanelButton *battery = panels()->button(QStringLiteral("battery"));
        QTest::mouseClick(battery, Qt::LeftButton);
        QVERIFY(battery->isChecked());
        QTRY_VERIFY(battery->panel()->isVisible());
        bool saysSo = false;
        for (QLabel *label : battery->panel()->findChildren<QLabel *>())
            saysSo = saysSo || label->text().contains(QStringLiteral("not available"));
        QVERIFY(saysSo);
        battery->panel()->close();
        QVERIFY(!battery->isChecked());
    }

    void shortcutsHideAndShowTheBars()
    {
        player->activateWindow();
        QTRY_VERIFY(QApplication::activeWindow() == player);
        QVERIFY(panels()->isVisible());
        QTest::keyClick(player, Qt::Key_T, Qt::ControlModifier);
        QTRY_VERIFY(!panels()->isVisible());
        QTest::keyClick(player, Qt::Key_T, Qt::ControlModifier);
        QTRY_VERIFY(panels()->isVisible());
        QTest::keyClick(player, Qt::Key_D, Qt::ControlModifier);
        QTRY_VERIFY(!keys()->isVisible());
        QTest::keyClick(player, Qt::Key_D, Qt::ControlModifier);
        QTRY_VERIFY(keys()->isVisible());
    }

    void screenshotShowsBothBars()
    {
        QTest::qWait(300);
        const QImage shot = QGuiApplication::primaryScreen()->grabWindow(0, player->x(), player->y(),
                                                                        player->frameGeometry().width(),
                                                                        player->frameGeometry().height()).toImage();
        QVERIFY(!shot.isNull());
        shot.save(QStringLiteral(CALDERWICK_TEST_BIN_DIR "/toolbars-screenshot.png"));
        // The bars stand right of the screen; their icons are drawn in light strokes on black.
        const QRect bars(player->deviceScreen()->width(), 0, shot.width() - player->deviceScreen()->width(),
                         shot.height());
        int lit = 0;
        for (int y = bars.top(); y < bars.bottom(); ++y)
            for (int x = bars.left(); x < bars.right(); ++x)
                lit += qGray(shot.pixel(x, y)) > 100;
        QVERIFY2(lit > 500, qPrintable(QString::number(lit)));
    }
};

CALDERWICK_TEST_GUI_MAIN(TestToolbars)
#include "tst_toolbars.moc"
