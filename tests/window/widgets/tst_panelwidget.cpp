// The panel frame: the switch that greys the content, and the close signal.
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
    explicit TestPanel(bool hasSwitch, QWidget *parent = nullptr)
        : PanelWidget(hasSwitch, nullptr, nullptr, nullptr, parent)
    {
        content = new QWidget(this);
        auto *layout = new QVBoxLayout(content);
        edit = new QLineEdit(content);
        layout->addWidget(edit);
        auto *outer = new QVBoxLayout(this);
        outer->addWidget(headerWidget);
        outer->addWidget(content);
        setDefaultLabelStyle();
    }

    void updateFromDevice() override {}

    using PanelWidget::headerWidget;
    using PanelWidget::offLabel;
    using PanelWidget::onLabel;

    QWidget *content = nullptr;
    QLineEdit *edit = nullptr;
};

} // namespace

class TestPanelWidget : public QObject
{
    Q_OBJECT

private slots:
    void withoutSwitchNothingGreys()
    {
        TestPanel panel(false);
        panel.show();
        QVERIFY(!panel.activationSwitch()->isVisible());
        panel.activationSwitch()->setChecked(true);
        QVERIFY(!panel.isActivated());
        panel.updateActivation();
        QVERIFY(panel.edit->isEnabled());
    }

    void switchGreysTheContentAndCloseTells()
    {
        TestPanel panel(true);
        for (bool on : {true, false, true}) {
            panel.activationSwitch()->setChecked(on);
            panel.updateActivation();
            QCOMPARE(panel.isActivated(), on);
            // The header and the switch stay usable; the content and the on label follow it.
            QVERIFY(panel.activationSwitch()->isEnabled());
            QVERIFY(panel.offLabel->isEnabled());
            QVERIFY(panel.headerWidget->isEnabled());
            QCOMPARE(panel.onLabel->isEnabled(), on);
            QCOMPARE(panel.edit->isEnabled(), on);
        }
        QSignalSpy closed(&panel, &PanelWidget::widgetClosed);
        panel.show();
        QVERIFY(panel.close());
        QCOMPARE(closed.count(), 1);
        QVERIFY(!panel.isVisible());
    }

    void headerKeepsThePanelColourInsideABlackWindow()
    {
        // Panels are owned by the player window, whose black background cascades to its children.
        QWidget window;
        window.setStyleSheet(QStringLiteral("background: #000;"));
        auto *panel = new TestPanel(true, &window);
        panel->resize(420, 300);
        const QImage shot = panel->grab().toImage();
        const QPoint belowRule = panel->headerWidget->geometry().bottomRight() - QPoint(4, 4);
        QCOMPARE(QColor(shot.pixel(belowRule)).name(), QStringLiteral("#262626"));
    }
};

QTEST_MAIN(TestPanelWidget)
#include "tst_panelwidget.moc"
