// Toolbar buttons without a device: disabled reasons and tool tips, the icons by state, and
// a panel button driving its panel.

#include "testenvironment.h"

#include "actionbutton.h"
#include "capabilities.h"
#include "panelbutton.h"
#include "panelwidget.h"

#include <QSignalSpy>
#include <QtTest>

namespace {

class CountingPanel : public PanelWidget
{
public:
    CountingPanel()
        : PanelWidget(true, nullptr, nullptr, nullptr)
    {
    }
    void updateFromDevice() override { ++updates; }
    int updates = 0;
};

QImage iconImage(const QIcon &icon, QIcon::Mode mode, QIcon::State state = QIcon::Off)
{
    return icon.pixmap(QSize(30, 30), mode, state).toImage();
}

} // namespace

class TestToolbarButtons : public QObject
{
    Q_OBJECT

private slots:
    void reasonsDecideEnabledAndToolTip()
    {
        ActionButton button(QStringLiteral("rotate"), DisabledReason::Capability);
        button.setShortcut(QKeySequence(QStringLiteral("Ctrl+F11")));
        button.setToolTipText(QStringLiteral("Rotate"));
        button.updateToolTip();
        QVERIFY(!button.isEnabled());
        QCOMPARE(button.toolTip(), QStringLiteral("Rotate : virtual.device.not.compatible"));

        QSignalSpy enabled(&button, &ToolbarButton::buttonEnabled);
        button.removeDisabledReason(DisabledReason::Capability);
        QVERIFY(button.isEnabled());
        QCOMPARE(button.toolTip(), QStringLiteral("Rotate        Ctrl+F11"));
        QCOMPARE(enabled.size(), 1);
        QCOMPARE(enabled.last().at(0).toBool(), true);

        button.addDisabledReason(DisabledReason::Capability);
        QVERIFY(!button.isEnabled());
        QCOMPARE(enabled.last().at(0).toBool(), false);
    }

    void reasonOutsideTheFixedMaskChangesNothing()
    {
        ActionButton button(QStringLiteral("home"), 0);
        QVERIFY(button.isEnabled());
        QSignalSpy enabled(&button, &ToolbarButton::buttonEnabled);
        button.addDisabledReason(DisabledReason::Capability);
        QVERIFY(button.isEnabled());
        QCOMPARE(button.disabledReasons(), 0u);
        QCOMPARE(enabled.size(), 1); // still told, with the unchanged state
        QCOMPARE(enabled.last().at(0).toBool(), true);
    }

    void actionIconHasItsThreeForms()
    {
        ActionButton button(QStringLiteral("home"), 0);
        const QIcon icon = button.icon();
        const QImage normal = iconImage(icon, QIcon::Normal);
        QVERIFY(!normal.isNull());
        QVERIFY(normal != iconImage(icon, QIcon::Disabled));
        QVERIFY(normal != iconImage(icon, QIcon::Active));
        QCOMPARE(iconImage(icon, QIcon::Active), iconImage(icon, QIcon::Normal, QIcon::On));

        button.setIconName(QStringLiteral("pixelperfect-active"));
        QVERIFY(iconImage(button.icon(), QIcon::Normal) != normal);
    }

    void panelButtonDrivesItsPanel()
    {
        CountingPanel panel;
        PanelButton button(QStringLiteral("battery"), DisabledReason::Capability, &panel);
        QVERIFY(button.isCheckable() && !button.isChecked());
        QVERIFY(!panel.isEnabled()); // a disabled button disables its panel

        button.removeDisabledReason(DisabledReason::Capability);
        QVERIFY(panel.isEnabled());
        button.setChecked(true);
        QVERIFY(panel.isVisible());
        QCOMPARE(panel.updates, 1);

        // Closing the panel any way unchecks the button.
        panel.close();
        QVERIFY(!button.isChecked());
        QVERIFY(!panel.isVisible());
        button.setChecked(true);
        panel.reject();
        QVERIFY(!button.isChecked());
        QCOMPARE(panel.updates, 2);

        button.addDisabledReason(DisabledReason::Capability);
        QVERIFY(!panel.isEnabled());
    }

    void panelIconFollowsActivation()
    {
        CountingPanel panel;
        PanelButton button(QStringLiteral("gps"), 0, &panel);
        const QImage inactive = iconImage(button.icon(), QIcon::Normal);
        QVERIFY(!inactive.isNull());
        emit panel.activationChanged(true);
        const QImage active = iconImage(button.icon(), QIcon::Normal);
        QVERIFY(active != inactive);
        emit panel.activationChanged(false);
        QCOMPARE(iconImage(button.icon(), QIcon::Normal), inactive);
    }
};

CALDERWICK_TEST_GUI_MAIN(TestToolbarButtons)
#include "tst_toolbarbuttons.moc"
