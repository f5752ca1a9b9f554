// DeviceScreen's arithmetic between widget pixels and device pixels: proportions, the
// render viewport in both modes, and the mapping of positions under every rotation.

#include "devicescreen.h"
#include "testenvironment.h"

#include <QScrollBar>

class TestDeviceScreen : public QObject
{
    Q_OBJECT

private slots:
    void proportions_data()
    {
        QTest::addColumn<QSize>("device");
        QTest::addColumn<int>("rotation");
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("expectedHeight");
        QTest::addColumn<int>("height");
        QTest::addColumn<int>("expectedWidth");
        QTest::newRow("upright") << QSize(1080, 1920) << 0 << 540 << 960 << 960 << 540;
        QTest::newRow("turned") << QSize(1080, 1920) << 90 << 960 << 540 << 540 << 960;
        // 1280 * 5 / 720 = 8.89 and 720 * 5 / 1280 = 2.81
        QTest::newRow("rounds to nearest") << QSize(720, 1280) << 0 << 5 << 9 << 5 << 3;
        // 2 * 1 / 4 = 0.5 and 4 * 1 / 8... halves go away from zero
        QTest::newRow("half goes up") << QSize(4, 2) << 0 << 1 << 1 << 3 << 6;
        QTest::newRow("half goes up, turned") << QSize(2, 4) << 90 << 1 << 1 << 1 << 2;
    }

    void proportions()
    {
        QFETCH(QSize, device);
        QFETCH(int, rotation);
        QFETCH(int, width);
        QFETCH(int, expectedHeight);
        QFETCH(int, height);
        QFETCH(int, expectedWidth);
        DeviceScreen screen(device, 160, nullptr);
        screen.setRotation(rotation);
        QCOMPARE(screen.rotation(), rotation);
        QCOMPARE(screen.heightForWidth(width), expectedHeight);
        QCOMPARE(screen.widthForHeight(height), expectedWidth);
        const bool turned = rotation == 90 || rotation == 270;
        QCOMPARE(screen.sizeHint(), turned ? device.transposed() : device);
    }

    void mapToDevice_data()
    {
        QTest::addColumn<int>("rotation");
        QTest::addColumn<QSize>("widget");
        QTest::addColumn<bool>("pixelPerfect");
        QTest::addColumn<QPoint>("position");
        QTest::addColumn<QPoint>("expected");
        QTest::addColumn<bool>("onDisplay");
        // Positions on the picture, in every rotation, scaled and scrolled, are proven by real
        // clicks in tst_playerwindow; here the edges and the bands beside the picture.
        // 300 x 320 leaves black bands left and right: scale 2, picture from x 60 to 240.
        QTest::newRow("left band") << 0 << QSize(300, 320) << false << QPoint(0, 160) << QPoint(-120, 320) << false;
        QTest::newRow("right band") << 0 << QSize(300, 320) << false << QPoint(299, 160) << QPoint(478, 320) << false;
        QTest::newRow("inside banded") << 0 << QSize(300, 320) << false << QPoint(60, 0) << QPoint(0, 0) << true;
        QTest::newRow("bottom edge is off") << 0 << QSize(360, 640) << false << QPoint(10, 640) << QPoint(10, 640) << false;
        QTest::newRow("turned, band") << 90 << QSize(640, 400) << false << QPoint(320, 10) << QPoint(370, 320) << false;
        // One device pixel per widget pixel, centred in a larger widget.
        QTest::newRow("pixel-perfect centred") << 0 << QSize(460, 740) << true << QPoint(50, 50) << QPoint(0, 0) << true;
        QTest::newRow("pixel-perfect, 90") << 90 << QSize(740, 460) << true << QPoint(50, 50) << QPoint(360, 0) << false;
    }

    void mapToDevice()
    {
        QFETCH(int, rotation);
        QFETCH(QSize, widget);
        QFETCH(bool, pixelPerfect);
        QFETCH(QPoint, position);
        QFETCH(QPoint, expected);
        QFETCH(bool, onDisplay);
        DeviceScreen screen(QSize(360, 640), 160, nullptr);
        screen.setRotation(rotation);
        screen.resize(widget);
        if (pixelPerfect)
            QVERIFY(screen.togglePixelPerfect());
        int x = position.x();
        int y = position.y();
        QCOMPARE(screen.mapToDevice(x, y), onDisplay);
        QCOMPARE(QPoint(x, y), expected);
    }

    void fitViewport_data()
    {
        QTest::addColumn<int>("rotation");
        QTest::addColumn<QSize>("widget");
        QTest::addColumn<QSize>("viewport");
        QTest::newRow("half") << 0 << QSize(180, 320) << QSize(360, 640);
        // Wider than the picture: bands left and right, counted in device pixels.
        QTest::newRow("wide") << 0 << QSize(300, 320) << QSize(600, 640);
        // Taller: bands above and below.
        QTest::newRow("tall") << 0 << QSize(180, 400) << QSize(360, 800);
        QTest::newRow("turned exact") << 90 << QSize(640, 360) << QSize(640, 360);
        QTest::newRow("turned tall") << 270 << QSize(320, 400) << QSize(640, 800);
    }

    void fitViewport()
    {
        QFETCH(int, rotation);
        QFETCH(QSize, widget);
        QFETCH(QSize, viewport);
        DeviceScreen screen(QSize(360, 640), 160, nullptr);
        screen.setRotation(rotation);
        screen.updateViewport(widget.width(), widget.height());
        QCOMPARE(screen.viewport(), viewport);
        QVERIFY(screen.horizontalScrollBar()->isHidden());
        QVERIFY(screen.verticalScrollBar()->isHidden());
    }

    void pixelPerfectViewport_data()
    {
        QTest::addColumn<int>("rotation");
        QTest::addColumn<QSize>("widget");
        QTest::addColumn<bool>("hBar");
        QTest::addColumn<bool>("vBar");
        QTest::addColumn<QSize>("viewportWithoutBars"); // bars' thickness is taken off below
        QTest::newRow("exact size, no bar") << 0 << QSize(360, 640) << false << false << QSize(360, 640);
        // One pixel less in width: the horizontal bar, and then the height no longer fits.
        QTest::newRow("one pixel narrower") << 0 << QSize(359, 640) << true << true << QSize(359, 640);
        QTest::newRow("narrower, room for the bar") << 0 << QSize(300, 700) << true << false << QSize(300, 700);
        QTest::newRow("lower, room for the bar") << 0 << QSize(500, 600) << false << true << QSize(500, 600);
        QTest::newRow("lower, no room") << 0 << QSize(362, 600) << true << true << QSize(362, 600);
        QTest::newRow("smaller both ways") << 0 << QSize(200, 300) << true << true << QSize(200, 300);
        QTest::newRow("turned exact") << 90 << QSize(640, 360) << false << false << QSize(640, 360);
        QTest::newRow("turned, narrower") << 270 << QSize(600, 400) << true << false << QSize(600, 400);
    }

    void pixelPerfectViewport()
    {
        QFETCH(int, rotation);
        QFETCH(QSize, widget);
        QFETCH(bool, hBar);
        QFETCH(bool, vBar);
        QFETCH(QSize, viewportWithoutBars);
        DeviceScreen screen(QSize(360, 640), 160, nullptr);
        screen.setRotation(rotation);
        screen.resize(widget);
        screen.show();
        // Entering the mode decides for the widget's size.
        QVERIFY(screen.togglePixelPerfect());
        QScrollBar *horizontal = screen.horizontalScrollBar();
        QScrollBar *vertical = screen.verticalScrollBar();
        QCOMPARE(horizontal->isVisible(), hBar);
        QCOMPARE(vertical->isVisible(), vBar);
        const int barH = horizontal->sizeHint().height();
        const int barW = vertical->sizeHint().width();
        QCOMPARE(screen.viewport(), QSize(viewportWithoutBars.width() - (vBar ? barW : 0),
                                          viewportWithoutBars.height() - (hBar ? barH : 0)));
        const QSize hint = screen.sizeHint();
        if (hBar) {
            const int d = hint.width() - screen.viewport().width();
            QCOMPARE(horizontal->minimum(), d / 2 - d);
            QCOMPARE(horizontal->maximum(), d / 2);
            QCOMPARE(horizontal->pageStep(), screen.width());
        }
        if (vBar) {
            const int d = hint.height() - screen.viewport().height();
            QCOMPARE(vertical->minimum(), -(d / 2));
            QCOMPARE(vertical->maximum(), d - d / 2);
        }

        // Deciding again with the bars shown gives the same answer: their space is added back.
        const QSize first = screen.viewport();
        screen.updateViewport(widget.width() - (vBar ? barW : 0), widget.height() - (hBar ? barH : 0));
        QCOMPARE(screen.viewport(), first);

        // Leaving the mode hides the bars and resets the offsets.
        QVERIFY(!screen.togglePixelPerfect());
        QVERIFY(horizontal->isHidden());
        QVERIFY(vertical->isHidden());
        QCOMPARE(screen.scrollOffset(), QPoint(0, 0));
    }

};

CALDERWICK_TEST_GUI_MAIN(TestDeviceScreen)
#include "tst_devicescreen.moc"
