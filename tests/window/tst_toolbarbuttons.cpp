// Toolbar buttons without a device: disabled reasons, the icons by state, and a panel button
// driving its panel.

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
    // The tool tips with and without a reason are proven in English in tst_playerwindow.
    void reasonsDecideEnabled()
    {
        ActionButton button(QStringLiteral("rotate"), DisabledReason::Capability);
        QVERIFY(!button.isEnabled());
        QSignalSpy enabled(&button, &ToolbarButton::buttonEnabled);
        button.removeDisabledReason(DisabledReason::Capability);
        QVERIFY(button.isEnabled());
        button.addDisabledReason(DisabledReason::Capability);
        QVERIFY(!button.isEnabled());
        QCOMPARE(enabled.size(), 2);
        QCOMPARE(enabled.first().at(0).toBool(), true);
        QCOMPARE(enabled.last().at(0).toBool(), false);

        // A reason outside the button's fixed mask changes nothing, but is still told.
        ActionButton home(QStringLiteral("home"), 0);
        QSignalSpy homeEnabled(&home, &ToolbarButton::buttonEnabled);
        home.addDisabledReason(DisabledReason::Capability);
        QVERIFY(home.isEnabled());
        QCOMPARE(home.disabledReasons(), 0u);
        QCOMPARE(homeEnabled.size(), 1);
        QCOMPARE(homeEnabled.last().at(0).toBool(), true);
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
