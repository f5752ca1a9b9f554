// The frameless pop-up: its border pieces around the body, the close button, dragging.
#include "closepopupbutton.h"
#include "popup.h"

#include <QLabel>
#include <QSignalSpy>
#include <QtTest>

namespace {

// Presses the left button at grab inside the pop-up and moves the pointer by `by`.
void dragFrom(Popup &popup, const QPoint &grab, const QPoint &by)
{
    QMouseEvent press(QEvent::MouseButtonPress, grab, popup.mapToGlobal(grab), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    QApplication::sendEvent(&popup, &press);
    QMouseEvent move(QEvent::MouseMove, grab + by, popup.mapToGlobal(grab) + by, Qt::NoButton, Qt::LeftButton,
                     Qt::NoModifier);
    QApplication::sendEvent(&popup, &move);
}

} // namespace

class TestPopup : public QObject
{
    Q_OBJECT

private slots:
    void bordersFrameTheBodyAndCloseButtonCloses()
    {
        Popup popup;
        popup.resize(300, 200);
        popup.show(); // a hidden widget gets its resize event only when shown
        QVERIFY(QTest::qWaitForWindowExposed(&popup));
        // 13-pixel corners, the bottom row 2 pixels lower.
        const QMap<QString, QRect> pieces{{"borderY0X0", QRect(0, 0, 13, 13)},    {"borderY0X1", QRect(13, 0, 274, 13)},
                                          {"borderY0X2", QRect(287, 0, 13, 13)},  {"borderY1X0", QRect(0, 13, 13, 176)},
                                          {"borderY1X2", QRect(287, 13, 13, 176)}, {"borderY2X0", QRect(0, 189, 13, 13)},
                                          {"borderY2X1", QRect(13, 189, 274, 13)}, {"borderY2X2", QRect(287, 189, 13, 13)}};
        for (auto piece = pieces.begin(); piece != pieces.end(); ++piece) {
            auto *label = popup.findChild<QLabel *>(piece.key());
            QVERIFY2(label && !label->pixmap(Qt::ReturnByValue).isNull(), qPrintable(piece.key()));
            QCOMPARE(label->geometry(), piece.value());
        }
        QCOMPARE(popup.body()->geometry(), QRect(40, 40, 220, 120));
        QCOMPARE(popup.closeButton()->geometry().right(), 300 - 13 - 1);
        QSignalSpy closed(&popup, &Popup::closed);
        QTest::mouseClick(popup.closeButton(), Qt::LeftButton);
        QTRY_COMPARE(closed.count(), 1);
        QVERIFY(!popup.isVisible());
    }

    void dragsOnlyByTheTopBorder()
    {
        Popup popup;
        popup.resize(300, 200);
        popup.move(100, 100);
        popup.show();
        QVERIFY(QTest::qWaitForWindowExposed(&popup));
        const QPoint start = popup.pos();
        dragFrom(popup, QPoint(150, 100), QPoint(30, 20));
        QCOMPARE(popup.pos(), start);
        dragFrom(popup, QPoint(50, 5), QPoint(30, 20));
        QTRY_COMPARE(popup.pos(), start + QPoint(30, 20));
    }
};

QTEST_MAIN(TestPopup)
#include "tst_popup.moc"
