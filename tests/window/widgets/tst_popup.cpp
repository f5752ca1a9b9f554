// The frameless pop-up: its border pieces, body, close button and dragging.
#include "closepopupbutton.h"
#include "popup.h"

#include <QLabel>
#include <QLayout>
#include <QSignalSpy>
#include <QtTest>

class TestPopup : public QObject
{
    Q_OBJECT

private slots:
    void construction();
    void borders_data();
    void borders();
    void closeButtonCloses();
    void dragByTopBorder();
    void pressElsewhereDoesNotDrag();
};

void TestPopup::construction()
{
    Popup popup;
    QVERIFY(popup.windowFlags() & Qt::FramelessWindowHint);
    QVERIFY(popup.testAttribute(Qt::WA_TranslucentBackground));
    QCOMPARE(popup.body()->objectName(), QStringLiteral("body"));
    QCOMPARE(popup.centralWidget()->objectName(), QStringLiteral("centralWidget"));
    QCOMPARE(popup.iconLabel()->objectName(), QStringLiteral("icon"));
    QCOMPARE(popup.titleLabel()->objectName(), QStringLiteral("title"));
    const QMargins margins = popup.body()->layout()->contentsMargins();
    QCOMPARE(margins, QMargins(20, 20, 20, 20));
    QCOMPARE(popup.body()->layout()->spacing(), 10);
}

void TestPopup::borders_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QRect>("geometry");
    // A 300 x 200 pop-up: 13-pixel corners, the bottom row 2 pixels lower.
    QTest::newRow("Y0X0") << "borderY0X0" << QRect(0, 0, 13, 13);
    QTest::newRow("Y0X1") << "borderY0X1" << QRect(13, 0, 274, 13);
    QTest::newRow("Y0X2") << "borderY0X2" << QRect(287, 0, 13, 13);
    QTest::newRow("Y1X0") << "borderY1X0" << QRect(0, 13, 13, 176);
    QTest::newRow("Y1X2") << "borderY1X2" << QRect(287, 13, 13, 176);
    QTest::newRow("Y2X0") << "borderY2X0" << QRect(0, 189, 13, 13);
    QTest::newRow("Y2X1") << "borderY2X1" << QRect(13, 189, 274, 13);
    QTest::newRow("Y2X2") << "borderY2X2" << QRect(287, 189, 13, 13);
}

void TestPopup::borders()
{
    QFETCH(QString, name);
    QFETCH(QRect, geometry);
    Popup popup;
    popup.resize(300, 200);
    popup.show(); // a hidden widget gets its resize event only when shown
    QVERIFY(QTest::qWaitForWindowExposed(&popup));
    auto *label = popup.findChild<QLabel *>(name);
    QVERIFY(label);
    QVERIFY(label->hasScaledContents());
    QVERIFY(!label->pixmap(Qt::ReturnByValue).isNull());
    QCOMPARE(label->geometry(), geometry);
    QCOMPARE(popup.body()->geometry(), QRect(40, 40, 220, 120));
    QCOMPARE(popup.closeButton()->geometry().right(), 300 - 13 - 1);
}

void TestPopup::closeButtonCloses()
{
    Popup popup;
    QSignalSpy closed(&popup, &Popup::closed);
    popup.show();
    QVERIFY(QTest::qWaitForWindowExposed(&popup));
    QTest::mouseClick(popup.closeButton(), Qt::LeftButton);
    QTRY_COMPARE(closed.count(), 1);
    QVERIFY(!popup.isVisible());
}

namespace {

// Presses the left button at `grab` inside the pop-up and moves the pointer by `by`;
// returns whether the move was taken as a drag.
bool dragFrom(Popup &popup, const QPoint &grab, const QPoint &by)
{
    QMouseEvent press(QEvent::MouseButtonPress, grab, popup.mapToGlobal(grab), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    QApplication::sendEvent(&popup, &press);
    QMouseEvent move(QEvent::MouseMove, grab + by, popup.mapToGlobal(grab) + by, Qt::NoButton, Qt::LeftButton,
                     Qt::NoModifier);
    QApplication::sendEvent(&popup, &move);
    return move.isAccepted();
}

bool showAt(Popup &popup, const QPoint &position)
{
    popup.resize(300, 200);
    popup.move(position);
    popup.show();
    return QTest::qWaitForWindowExposed(&popup);
}

} // namespace

void TestPopup::dragByTopBorder()
{
    Popup popup;
    QVERIFY(showAt(popup, QPoint(100, 100)));
    const QPoint start = popup.pos();
    QVERIFY(dragFrom(popup, QPoint(50, 5), QPoint(30, 20)));
    QTRY_COMPARE(popup.pos(), start + QPoint(30, 20));
}

void TestPopup::pressElsewhereDoesNotDrag()
{
    Popup popup;
    QVERIFY(showAt(popup, QPoint(100, 100)));
    const QPoint start = popup.pos();
    dragFrom(popup, QPoint(150, 100), QPoint(30, 20));
    QCOMPARE(popup.pos(), start);
}

QTEST_MAIN(TestPopup)
#include "tst_popup.moc"
