// Player without a device: the best window size against a range of desktops, the window's
// reaction to rotations, its keys, its close; and the two other surfaces of the start,
// PlayerProgress and DeviceScreenContainer.

#include "devicescreen.h"
#include "devicescreencontainer.h"
#include "logreader.h"
#include "devicetoolbar.h"
#include "player.h"
#include "widgettoolbar.h"
#include "playerprogress.h"
#include "rotateevent.h"
#include "testenvironment.h"

#include <QKeyEvent>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>

Q_DECLARE_METATYPE(QMargins)

class TestPlayerFrame : public QObject
{
    Q_OBJECT

private slots:
    void bestSize_data()
    {
        QTest::addColumn<QSize>("device");
        QTest::addColumn<int>("rotation");
        QTest::addColumn<QRect>("available");
        QTest::addColumn<QRect>("full");
        QTest::addColumn<QSize>("frame");
        QTest::addColumn<QSize>("nonScreen");
        QTest::addColumn<QSize>("expected");
        const QRect laptop(0, 0, 1366, 768);
        // A desktop without panels is not trusted: 30 pixels less, and 29 for an unknown title bar.
        // maxH = 768 - 30 - 29 = 709; width 1080 * 709 / 1920 = 398.8
        QTest::newRow("1080x1920 on 1366x768") << QSize(1080, 1920) << 0 << laptop << laptop << QSize(0, 0)
                                               << QSize(0, 0) << QSize(399, 709);
        // A 28-pixel panel at the bottom is believed: maxH = 740 - 29 = 711; 1080 * 711 / 1920 = 399.9
        QTest::newRow("with a bottom panel") << QSize(1080, 1920) << 0 << QRect(0, 0, 1366, 740) << laptop
                                             << QSize(0, 0) << QSize(0, 0) << QSize(400, 711);
        // Decoration known: 2 by 31; maxH = 738 - 31 = 707; 1080 * 707 / 1920 = 397.7
        QTest::newRow("decorated") << QSize(1080, 1920) << 0 << laptop << laptop << QSize(2, 31) << QSize(0, 0)
                                   << QSize(398, 707);
        // Toolbars beside the screen: 60 pixels wide, 10 high of other widgets.
        QTest::newRow("fits with toolbars") << QSize(360, 640) << 0 << QRect(0, 27, 1920, 1053)
                                            << QRect(0, 0, 1920, 1080) << QSize(0, 0) << QSize(60, 10)
                                            << QSize(420, 650);
        // Turned: 1920x1080 shown; maxH 709, width 1920 * 709 / 1080 = 1260.4 fits in 1366.
        QTest::newRow("turned on 1366x768") << QSize(1080, 1920) << 90 << laptop << laptop << QSize(0, 0)
                                            << QSize(0, 0) << QSize(1260, 709);
        // Turned on a narrow desktop: the width limits, height 1080 * 1024 / 1920 = 576.
        QTest::newRow("turned, width-limited") << QSize(1080, 1920) << 270 << QRect(0, 0, 1024, 768)
                                               << QRect(0, 0, 1024, 768) << QSize(0, 0) << QSize(0, 0)
                                               << QSize(1024, 576);
        // Second monitor to the right, panel at its top: trusted.
        QTest::newRow("second monitor") << QSize(720, 1280) << 0 << QRect(1920, 24, 1280, 1000)
                                        << QRect(1920, 0, 1280, 1024) << QSize(4, 24) << QSize(0, 0)
                                        << QSize(549, 976);
    }

    void bestSize()
    {
        QFETCH(QSize, device);
        QFETCH(int, rotation);
        QFETCH(QRect, available);
        QFETCH(QRect, full);
        QFETCH(QSize, frame);
        QFETCH(QSize, nonScreen);
        QFETCH(QSize, expected);
        DeviceScreen screen(device, 320, nullptr);
        screen.setRotation(rotation);
        Player::Desktop desktop{available, full, frame, nonScreen};
        const QSize size = Player::bestSize(desktop, screen);
        QCOMPARE(size, expected);
        // Never taller than the usable height.
        QVERIFY(size.height() <= available.height() - (frame.isNull() ? 29 : frame.height()));
    }

    void keptOnScreen_data()
    {
        QTest::addColumn<QRect>("window");
        QTest::addColumn<QMargins>("frame");
        QTest::addColumn<QRect>("expected");
        const QMargins title(0, 29, 0, 0);
        // A window centred high above the top, or turned at the right edge, is proven on a real
        // desktop in tst_playerwindow; here the frame's margins and the other edges.
        QTest::newRow("past the right") << QRect(1300, 100, 500, 300) << QMargins(2, 24, 2, 2)
                                        << QRect(1098, 100, 500, 300);
        QTest::newRow("past the bottom left") << QRect(-50, 1000, 300, 400) << title << QRect(0, 800, 300, 400);
        QTest::newRow("already on it") << QRect(100, 100, 300, 400) << title << QRect(100, 100, 300, 400);
        // Larger than the desktop: the top left corner stays visible.
        QTest::newRow("too large") << QRect(-100, -100, 2000, 1500) << title << QRect(0, 29, 2000, 1500);
    }

    void keptOnScreen()
    {
        QFETCH(QRect, window);
        QFETCH(QMargins, frame);
        QFETCH(QRect, expected);
        QCOMPARE(Player::keptOnScreen(window, frame, QRect(0, 0, 1600, 1200)), expected);
    }

    void rotationReshapesTheWindow_data()
    {
        QTest::addColumn<QList<int>>("angles");
        QTest::addColumn<bool>("swapped");
        // Quarter turns from one angle to the next are proven on a device in tst_playerwindow.
        QTest::newRow("0 to 180 keeps the size") << QList<int>{180} << false;
        QTest::newRow("90 to 270 keeps") << QList<int>{90, 270} << true;
        QTest::newRow("angle is truncated") << QList<int>{270} << true;
    }

    void rotationReshapesTheWindow()
    {
        QFETCH(QList<int>, angles);
        QFETCH(bool, swapped);
        Player player(QSize(360, 640), 160, nullptr, nullptr);
        player.resize(300, 500);
        player.show();
        QVERIFY(QTest::qWaitForWindowExposed(&player));
        const QSize screenBefore = player.deviceScreen()->size();
        for (int angle : angles)
            player.rotate(RotateEvent(angle + 0.7f));
        QCOMPARE(int(player.rotation()), angles.last());
        QCOMPARE(player.deviceScreen()->rotation(), angles.last());
        QTRY_COMPARE(player.deviceScreen()->size(), swapped ? screenBefore.transposed() : screenBefore);
    }

    void rotationSwapsTheScrollBars()
    {
        Player player(QSize(360, 640), 160, nullptr, nullptr);
        player.resize(200, 300);
        player.show();
        QVERIFY(QTest::qWaitForWindowExposed(&player));
        QVERIFY(player.togglePixelPerfect());
        DeviceScreen *screen = player.deviceScreen();
        QTRY_VERIFY(screen->horizontalScrollBar()->isVisible() && screen->verticalScrollBar()->isVisible());
        screen->horizontalScrollBar()->setValue(10);
        screen->verticalScrollBar()->setValue(-20);
        player.rotate(RotateEvent(90));
        QCOMPARE(screen->horizontalScrollBar()->value(), -20);
        QCOMPARE(screen->verticalScrollBar()->value(), 10);
    }

    void doubleClickOnTheEdgeRemovesIt_data()
    {
        QTest::addColumn<bool>("pixelPerfect");
        QTest::addColumn<QSize>("window");
        QTest::addColumn<QPoint>("click");
        QTest::addColumn<QSize>("expected");
        // Fit: 300 x 500 shows the picture 281 wide (360 * 500 / 640), with bands left and right.
        QTest::newRow("fit, side band") << false << QSize(300, 500) << QPoint(2, 250) << QSize(281, 500);
        // Fit: 300 x 600 shows it 533 high (640 * 300 / 360), with bands above and below.
        QTest::newRow("fit, top band") << false << QSize(300, 600) << QPoint(150, 3) << QSize(300, 533);
        // A click on the picture itself changes nothing.
        QTest::newRow("fit, on the picture") << false << QSize(300, 500) << QPoint(150, 250) << QSize(300, 500);
        // Pixel-perfect in a larger window: back to the device's own size.
        QTest::newRow("pixel-perfect") << true << QSize(500, 700) << QPoint(5, 5) << QSize(360, 640);
    }

    void doubleClickOnTheEdgeRemovesIt()
    {
        QFETCH(bool, pixelPerfect);
        QFETCH(QSize, window);
        QFETCH(QPoint, click);
        QFETCH(QSize, expected);
        Player player(QSize(360, 640), 160, nullptr, nullptr);
        // The sizes below are the screen's alone: the toolbars stand aside.
        player.panelsToolbar()->hide();
        player.keysToolbar()->hide();
        player.resize(window);
        player.show();
        QVERIFY(QTest::qWaitForWindowExposed(&player));
        QTRY_COMPARE(player.deviceScreen()->size(), window);
        if (pixelPerfect)
            player.togglePixelPerfect();
        QTest::mouseDClick(player.deviceScreen(), Qt::LeftButton, Qt::NoModifier, click);
        QTRY_COMPARE(player.size(), expected);

        // In full screen the edge stays.
        player.toggleFullScreen();
        QVERIFY(player.isFullScreen());
        const QSize full = player.size();
        QTest::mouseDClick(player.deviceScreen(), Qt::LeftButton, Qt::NoModifier, QPoint(1, 1));
        QVERIFY(player.isFullScreen());
        QCOMPARE(player.size(), full);
    }

    void f11TogglesFullScreen_data()
    {
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<bool>("toggles");
        QTest::newRow("alone") << int(Qt::NoModifier) << true;
        QTest::newRow("with Meta") << int(Qt::MetaModifier) << true;
        QTest::newRow("with Ctrl") << int(Qt::ControlModifier) << false;
        QTest::newRow("with Meta and Shift") << int(Qt::MetaModifier | Qt::ShiftModifier) << false;
    }

    void f11TogglesFullScreen()
    {
        QFETCH(int, modifiers);
        QFETCH(bool, toggles);
        Player player(QSize(360, 640), 160, nullptr, nullptr);
        player.show();
        QVERIFY(QTest::qWaitForWindowExposed(&player));
        QSignalSpy updates(&player, &Player::needViewPortUpdate);
        QKeyEvent press(QEvent::KeyPress, Qt::Key_F11, Qt::KeyboardModifiers(modifiers));
        QApplication::sendEvent(&player, &press);
        QVERIFY(press.isAccepted());
        QCOMPARE(player.isFullScreen(), toggles);
        QCOMPARE(updates.count(), toggles ? 1 : 0);
        if (toggles) {
            player.toggleFullScreen();
            QVERIFY(!player.isFullScreen());
            QCOMPARE(updates.count(), 2);
        }
    }

    void closingExitsWithZero()
    {
        Player player(QSize(360, 640), 160, nullptr, nullptr);
        QSignalSpy quitting(&player, &Player::aboutToQuit);
        player.show();
        QVERIFY(QTest::qWaitForWindowExposed(&player));
        // The application's loop runs here as in the player; exec() also forgets an earlier exit.
        QTimer::singleShot(0, &player, &QWidget::close);
        QTimer::singleShot(5000, &player, [] { QCoreApplication::exit(99); });
        QCOMPARE(QCoreApplication::exec(), 0);
        QCOMPARE(quitting.count(), 1);
        QCOMPARE(player.vmMachine(), nullptr);
    }

    void progressSteps_data()
    {
        QTest::addColumn<int>("step");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("abort");
        QTest::newRow("0") << 0 << "Initializing virtual device..." << true;
        QTest::newRow("3") << 3 << "Configuring VirtualBox..." << true;
        QTest::newRow("4, no abort") << 4 << "Starting virtual device..." << false;
        QTest::newRow("5 unknown") << 5 << "" << true;
        QTest::newRow("negative unknown") << -1 << "" << true;
    }

    void progressSteps()
    {
        QFETCH(int, step);
        QFETCH(QString, text);
        QFETCH(bool, abort);
        PlayerProgress progress(QStringLiteral("Nexus"));
        progress.setStep(step);
        QCOMPARE(progress.text(), text);
        QCOMPARE(progress.isAbortVisible(), abort);
        // Steps above 5 change nothing.
        progress.setStep(6);
        QCOMPARE(progress.text(), text);
    }

    void abortEndsWithEleven()
    {
        LogReader log;
        PlayerProgress progress(QStringLiteral("Nexus"));
        progress.show();
        QPushButton *button = progress.findChild<QPushButton *>();
        QVERIFY(button);
        QTimer::singleShot(0, button, &QPushButton::click);
        QTimer::singleShot(5000, &progress, [] { QCoreApplication::exit(99); });
        QCOMPARE(QCoreApplication::exec(), 11);
        QVERIFY(log.contains(QStringLiteral("[Error] Starting canceled by user (cancel button)")));
    }

    void containerShowsAndEndsThePushProgress()
    {
        LogReader log;
        DeviceScreenContainer container(QStringLiteral("10.0.0.5:5555"), nullptr);
        container.slotShowProgressDialog(true);
        QVERIFY(container.pushProgress().isVisible());
        container.slotShowProgressDialog(false);
        QVERIFY(!container.pushProgress().isVisible());
        QVERIFY(log.contains(QStringLiteral("[Debug] [DeviceScreenContainer][slotShowProgressDialog] true")));
        QVERIFY(log.contains(QStringLiteral("[Debug] [DeviceScreenContainer][slotShowProgressDialog] false")));
    }

};

CALDERWICK_TEST_GUI_MAIN(TestPlayerFrame)
#include "tst_playerframe.moc"
