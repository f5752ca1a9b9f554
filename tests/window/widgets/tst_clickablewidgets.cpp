// Buttons that answer while disabled, the clickable label, the close button.
#include "alwaysclickablepushbutton.h"
#include "alwaysclickabletoolbutton.h"
#include "clickableqlabel.h"
#include "closepopupbutton.h"

#include <QSignalSpy>
#include <QtTest>

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

class TestClickableWidgets : public QObject
{
    Q_OBJECT

private slots:
    void disabledButton_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::newRow("push") << QStringLiteral("push");
        QTest::newRow("tool") << QStringLiteral("tool");
    }

    void disabledButton()
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
        QSignalSpy pressed(button, &QAbstractButton::pressed);
        const QPoint centre = button->geometry().center();
        QTest::mousePress(window.windowHandle(), Qt::LeftButton, {}, centre);
        QCOMPARE(c.whileDisabled->count(), 0); // the press alone is swallowed
        QTest::mouseRelease(window.windowHandle(), Qt::LeftButton, {}, centre);
        QCOMPARE(c.whileDisabled->count(), 1);
        QTest::mouseClick(window.windowHandle(), Qt::LeftButton, {}, centre);
        QCOMPARE(c.whileDisabled->count(), 2); // once per click
        QCOMPARE(clicked.count(), 0);
        QCOMPARE(pressed.count(), 0);
        // A click beside it is not one on the button.
        QTest::mouseClick(window.windowHandle(), Qt::LeftButton, {}, QPoint(5, 5));
        QCOMPARE(c.whileDisabled->count(), 2);
        // Enabled, it is a plain button.
        button->setEnabled(true);
        QTest::mouseClick(window.windowHandle(), Qt::LeftButton, {}, centre);
        QCOMPARE(clicked.count(), 1);
        QCOMPARE(c.whileDisabled->count(), 2);
    }

    void labelClicksOnlyOnReleaseInside()
    {
        ClickableQLabel label;
        label.resize(350, 20);
        label.show();
        QSignalSpy clicked(&label, &ClickableQLabel::clicked);
        QTest::mouseRelease(&label, Qt::LeftButton); // without a press
        QCOMPARE(clicked.count(), 0);
        QTest::mousePress(&label, Qt::LeftButton, {}, QPoint(10, 10));
        QTest::mouseRelease(&label, Qt::LeftButton, {}, QPoint(10, 500));
        QCOMPARE(clicked.count(), 0);
        // The aborted press does not linger into the next release.
        QTest::mouseRelease(&label, Qt::LeftButton, {}, QPoint(10, 10));
        QCOMPARE(clicked.count(), 0);
        QTest::mouseClick(&label, Qt::LeftButton);
        QTest::mouseClick(&label, Qt::LeftButton);
        QCOMPARE(clicked.count(), 2);
    }

    void closePopupButtonDrawsItsImage()
    {
        ClosePopupButton button;
        QCOMPARE(button.size(), QSize(31, 33));
        button.show();
        const QImage image = button.grab().toImage();
        QVERIFY(image.pixel(15, 16) != image.pixel(3, 3) || image.pixel(12, 12) != image.pixel(3, 3));
    }
};

QTEST_MAIN(TestClickableWidgets)
#include "tst_clickablewidgets.moc"
