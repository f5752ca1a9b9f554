// Buttons that answer while disabled, the clickable label, the close and light buttons.
#include "alwaysclickablepushbutton.h"
#include "alwaysclickabletoolbutton.h"
#include "clickableqlabel.h"
#include "closepopupbutton.h"
#include "qlightpushbutton.h"

#include <QSignalSpy>
#include <QtTest>

class TestClickableWidgets : public QObject
{
    Q_OBJECT

private slots:
    void disabledButton_data();
    void disabledButton();
    void disabledButtonInWindow_data();
    void disabledButtonInWindow();
    void enabledButton_data();
    void enabledButton();
    void labelClick();
    void labelReleaseOutside();
    void labelReleaseWithoutPress();
    void closePopupButton();
    void lightButton();
};

namespace {

// Both button kinds, behind one interface for the table-driven cases.
struct Clickable
{
    std::unique_ptr<QAbstractButton> button;
    std::unique_ptr<QSignalSpy> whileDisabled;
};

Clickable makeButton(const QString &kind)
{
    Clickable c;
    if (kind == QLatin1String("push")) {
        auto *b = new AlwaysClickablePushButton(QStringLiteral("Push"));
        c.whileDisabled = std::make_unique<QSignalSpy>(b, &AlwaysClickablePushButton::clickedWhileDisabled);
        c.button.reset(b);
    } else {
        auto *b = new AlwaysClickableToolButton;
        c.whileDisabled = std::make_unique<QSignalSpy>(b, &AlwaysClickableToolButton::clickedWhileDisabled);
        c.button.reset(b);
    }
    c.button->resize(48, 48);
    return c;
}

} // namespace

void TestClickableWidgets::disabledButton_data()
{
    QTest::addColumn<QString>("kind");
    QTest::newRow("push") << QStringLiteral("push");
    QTest::newRow("tool") << QStringLiteral("tool");
}

void TestClickableWidgets::disabledButton()
{
    QFETCH(QString, kind);
    Clickable c = makeButton(kind);
    c.button->setEnabled(false);
    c.button->show();
    QSignalSpy clicked(c.button.get(), &QAbstractButton::clicked);
    QSignalSpy pressed(c.button.get(), &QAbstractButton::pressed);

    QTest::mousePress(c.button.get(), Qt::LeftButton);
    QCOMPARE(c.whileDisabled->count(), 0); // the press alone is swallowed
    QTest::mouseRelease(c.button.get(), Qt::LeftButton);
    QCOMPARE(c.whileDisabled->count(), 1);

    QTest::mouseClick(c.button.get(), Qt::LeftButton);
    QTest::mouseClick(c.button.get(), Qt::LeftButton);
    QCOMPARE(c.whileDisabled->count(), 3); // once per click
    QCOMPARE(clicked.count(), 0);
    QCOMPARE(pressed.count(), 0);
}

void TestClickableWidgets::disabledButtonInWindow_data()
{
    disabledButton_data();
}

void TestClickableWidgets::disabledButtonInWindow()
{
    // Through the window, as the window system delivers it: the click lands on the disabled
    // button itself, not on the widget behind it.
    QFETCH(QString, kind);
    Clickable c = makeButton(kind);
    QWidget window;
    window.resize(200, 100);
    c.button.release()->setParent(&window);
    auto *button = window.findChild<QAbstractButton *>();
    button->move(50, 20);
    button->setEnabled(false);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QSignalSpy clicked(button, &QAbstractButton::clicked);

    const QPoint centre = button->geometry().center();
    QTest::mouseClick(window.windowHandle(), Qt::LeftButton, {}, centre);
    QCOMPARE(c.whileDisabled->count(), 1);
    QCOMPARE(clicked.count(), 0);
    // A click beside it is not one on the button.
    QTest::mouseClick(window.windowHandle(), Qt::LeftButton, {}, QPoint(5, 5));
    QCOMPARE(c.whileDisabled->count(), 1);
}

void TestClickableWidgets::enabledButton_data()
{
    disabledButton_data();
}

void TestClickableWidgets::enabledButton()
{
    QFETCH(QString, kind);
    Clickable c = makeButton(kind);
    c.button->show();
    QSignalSpy clicked(c.button.get(), &QAbstractButton::clicked);
    QTest::mouseClick(c.button.get(), Qt::LeftButton);
    QCOMPARE(clicked.count(), 1);
    QCOMPARE(c.whileDisabled->count(), 0);
}

void TestClickableWidgets::labelClick()
{
    ClickableQLabel label;
    QCOMPARE(label.width(), 350);
    label.show();
    QSignalSpy clicked(&label, &ClickableQLabel::clicked);
    QTest::mouseClick(&label, Qt::LeftButton);
    QCOMPARE(clicked.count(), 1);
    QTest::mouseClick(&label, Qt::LeftButton);
    QCOMPARE(clicked.count(), 2);
}

void TestClickableWidgets::labelReleaseOutside()
{
    ClickableQLabel label;
    label.resize(350, 20);
    label.show();
    QSignalSpy clicked(&label, &ClickableQLabel::clicked);
    QTest::mousePress(&label, Qt::LeftButton, {}, QPoint(10, 10));
    QTest::mouseRelease(&label, Qt::LeftButton, {}, QPoint(10, 500));
    QCOMPARE(clicked.count(), 0);
    // The aborted press does not linger into the next release.
    QTest::mouseRelease(&label, Qt::LeftButton, {}, QPoint(10, 10));
    QCOMPARE(clicked.count(), 0);
}

void TestClickableWidgets::labelReleaseWithoutPress()
{
    ClickableQLabel label;
    label.show();
    QSignalSpy clicked(&label, &ClickableQLabel::clicked);
    QTest::mouseRelease(&label, Qt::LeftButton);
    QCOMPARE(clicked.count(), 0);
}

void TestClickableWidgets::closePopupButton()
{
    ClosePopupButton button;
    QCOMPARE(button.size(), QSize(31, 33));
    QCOMPARE(button.focusPolicy(), Qt::NoFocus);
    QVERIFY(button.styleSheet().contains(QStringLiteral("border-image: url(:/buttons/close_popup);")));
    button.show();
    // The style sheet's image draws: the button is not blank.
    const QImage image = button.grab().toImage();
    QVERIFY(image.pixel(15, 16) != image.pixel(3, 3) || image.pixel(12, 12) != image.pixel(3, 3));
}

void TestClickableWidgets::lightButton()
{
    QLightPushButton button(QStringLiteral("Later"));
    QCOMPARE(button.text(), QStringLiteral("Later"));
    QCOMPARE(button.cursor().shape(), Qt::PointingHandCursor);
    QSignalSpy clicked(&button, &QPushButton::clicked);
    button.show();
    QTest::mouseClick(&button, Qt::LeftButton);
    QCOMPARE(clicked.count(), 1);
}

QTEST_MAIN(TestClickableWidgets)
#include "tst_clickablewidgets.moc"
