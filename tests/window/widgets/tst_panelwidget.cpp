// The panel frame: header, switch, labels, activation and the close signal.
#include "panelwidget.h"

#include <QFrame>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QVBoxLayout>
#include <QtTest>

namespace {

class TestPanel : public PanelWidget
{
public:
    explicit TestPanel(bool hasSwitch)
        : PanelWidget(hasSwitch, nullptr, nullptr, nullptr)
    {
        titleLabel->setText(QStringLiteral("Test"));
        content = new QWidget(this);
        content->setObjectName(QStringLiteral("content"));
        auto *layout = new QVBoxLayout(content);
        label = new QLabel(QStringLiteral("Level"), content);
        edit = new QLineEdit(content);
        layout->addWidget(label);
        layout->addWidget(edit);
        auto *outer = new QVBoxLayout(this);
        outer->addWidget(headerWidget);
        outer->addWidget(content);
        setDefaultLabelStyle();
    }

    void updateFromDevice() override { ++updates; }

    using PanelWidget::headerWidget;
    using PanelWidget::offLabel;
    using PanelWidget::onLabel;
    using PanelWidget::rule;
    using PanelWidget::titleLabel;

    QWidget *content = nullptr;
    QLabel *label = nullptr;
    QLineEdit *edit = nullptr;
    int updates = 0;
};

} // namespace

class TestPanelWidget : public QObject
{
    Q_OBJECT

private slots:
    void frame();
    void withoutSwitch();
    void activation_data();
    void activation();
    void defaultLabelStyle();
    void closeEmits();
};

void TestPanelWidget::frame()
{
    TestPanel panel(true);
    QVERIFY(panel.windowFlags() & Qt::Window);
    QCOMPARE(panel.windowTitle(), QStringLiteral("Calderwick sensor"));
    QVERIFY(panel.styleSheet().startsWith(QStringLiteral("PanelWidget {background: #262626;}")));
    QVERIFY(panel.styleSheet().contains(QStringLiteral("url(:/widgets/common/btn_switch_on)")));
    QCOMPARE(panel.titleLabel->objectName(), QStringLiteral("title"));
    QCOMPARE(panel.rule->frameShape(), QFrame::HLine);
    QCOMPARE(panel.rule->minimumWidth(), 1300);
    QCOMPARE(panel.headerWidget->width(), 400);
    QCOMPARE(panel.offLabel->text(), QStringLiteral("Off"));
    QCOMPARE(panel.onLabel->text(), QStringLiteral("On"));

    QPushButton *toggle = panel.activationSwitch();
    QVERIFY(toggle->isCheckable());
    QVERIFY(!toggle->isChecked());
    QCOMPARE(toggle->focusPolicy(), Qt::NoFocus);
    QCOMPARE(toggle->size(), QSize(77, 27));
    QVERIFY(!panel.isActivated());
    toggle->setChecked(true);
    QVERIFY(panel.isActivated());
}

void TestPanelWidget::withoutSwitch()
{
    TestPanel panel(false);
    panel.show();
    QVERIFY(!panel.activationSwitch()->isVisible());
    panel.activationSwitch()->setChecked(true);
    QVERIFY(!panel.isActivated());
    // Nothing is greyed on a panel that cannot be switched off.
    panel.updateActivation();
    QVERIFY(panel.edit->isEnabled());
    QVERIFY(panel.onLabel->styleSheet().isEmpty());
}

void TestPanelWidget::activation_data()
{
    QTest::addColumn<bool>("on");
    QTest::addColumn<QString>("onStyle");
    QTest::addColumn<QString>("offStyle");
    QTest::newRow("on") << true << "QLabel { color: #E6195E; }" << "QLabel { color: #3C3C39; }";
    QTest::newRow("off") << false << "QLabel { color: #3C3C39; }" << "QLabel { color: #FFFFFF; }";
}

void TestPanelWidget::activation()
{
    QFETCH(bool, on);
    QFETCH(QString, onStyle);
    QFETCH(QString, offStyle);

    TestPanel panel(true);
    panel.activationSwitch()->setChecked(on);
    panel.updateActivation();
    QCOMPARE(panel.onLabel->styleSheet(), onStyle);
    QCOMPARE(panel.offLabel->styleSheet(), offStyle);

    // The header and the switch stay usable; the content and the on label follow the switch.
    QVERIFY(panel.activationSwitch()->isEnabled());
    QVERIFY(panel.offLabel->isEnabled());
    QVERIFY(panel.titleLabel->isEnabled());
    QVERIFY(panel.rule->isEnabled());
    QVERIFY(panel.headerWidget->isEnabled());
    QCOMPARE(panel.onLabel->isEnabled(), on);
    QCOMPARE(panel.content->isEnabled(), on);
    QCOMPARE(panel.edit->isEnabled(), on);
    QCOMPARE(panel.label->isEnabled(), on);

    // And back again.
    panel.activationSwitch()->setChecked(!on);
    panel.updateActivation();
    QCOMPARE(panel.edit->isEnabled(), !on);
    QVERIFY(panel.activationSwitch()->isEnabled());
}

void TestPanelWidget::defaultLabelStyle()
{
    TestPanel panel(true);
    QCOMPARE(panel.titleLabel->objectName(), QStringLiteral("title"));
    QCOMPARE(panel.label->objectName(), QStringLiteral("default"));
    QCOMPARE(panel.onLabel->objectName(), QStringLiteral("default"));
    QCOMPARE(panel.offLabel->objectName(), QStringLiteral("default"));
}

void TestPanelWidget::closeEmits()
{
    TestPanel panel(true);
    QSignalSpy closed(&panel, &PanelWidget::widgetClosed);
    panel.show();
    QVERIFY(panel.close());
    QCOMPARE(closed.count(), 1);
    QVERIFY(!panel.isVisible());
}

QTEST_MAIN(TestPanelWidget)
#include "tst_panelwidget.moc"
