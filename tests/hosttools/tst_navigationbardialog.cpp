// The navigation bar dialog: when the remote control asks, and what each answer does. The
// reboot ends the event loop with a restart requested, as the entry sequence expects.

#include "navigationbardialog.h"
#include "playeroptions.h"
#include "testenvironment.h"
#include "testmachine.h"

#include <QPushButton>
#include <QSignalSpy>

namespace {

struct FlagMachine : TestMachine
{
    bool shown = false;
    bool configured = false;
    bool navigationBarShown() override { return shown; }
    void setNavigationBarShown(bool on) override { shown = on; }
    bool navigationBarConfigured() override { return configured; }
    void setNavigationBarConfigured(bool on) override { configured = on; }
};

// The dialog's button of a text key (no translation is loaded here).
QPushButton *button(const NavigationBarDialog &dialog, const QString &key)
{
    for (QPushButton *candidate : dialog.findChildren<QPushButton *>()) {
        if (candidate->text() == key)
            return candidate;
    }
    return nullptr;
}

} // namespace

class TestNavigationBarDialog : public QObject
{
    Q_OBJECT

private slots:
    void isNeeded_data()
    {
        QTest::addColumn<QString>("serial");
        QTest::addColumn<bool>("shown");
        QTest::addColumn<bool>("configured");
        QTest::addColumn<bool>("needed");
        QTest::newRow("both on") << "10.0.3.15:5555" << true << true << false;
        QTest::newRow("shown off") << "10.0.3.15:5555" << false << true << true;
        QTest::newRow("configured off") << "10.0.3.15:5555" << true << false << true;
        QTest::newRow("phone serial") << "0123456789ABCDEF" << false << false << false;
        QTest::newRow("port too large") << "10.0.3.15:65536" << false << false << false;
        QTest::newRow("no address") << ":5555" << false << false << false;
        QTest::newRow("host name") << "device:5555" << false << false << false;
    }

    void isNeeded()
    {
        QFETCH(QString, serial);
        FlagMachine machine;
        QFETCH(bool, shown);
        QFETCH(bool, configured);
        machine.shown = shown;
        machine.configured = configured;
        QTEST(NavigationBarDialog::isNeeded(serial, &machine), "needed");
    }

    void cancelLeavesTheFlags()
    {
        FlagMachine machine;
        NavigationBarDialog dialog(&machine);
        QPushButton *reboot = button(dialog, "reboot");
        QVERIFY(reboot && reboot->isDefault());
        QTimer::singleShot(0, button(dialog, "cancel"), &QPushButton::click);
        QCOMPARE(dialog.exec(), int(QDialog::Rejected));
        QVERIFY(!machine.shown && !machine.configured && !Global::restartRequested);
    }

    // Run inside the application's own loop, as the player runs: the reboot ends it.
    void rebootSetsBothFlagsAndRestarts()
    {
        FlagMachine machine;
        NavigationBarDialog dialog(&machine);
        QSignalSpy quitting(qApp, &QCoreApplication::aboutToQuit);
        QTimer guard;
        connect(&guard, &QTimer::timeout, [] { QCoreApplication::exit(99); });
        guard.start(10000);
        QTimer::singleShot(0, &dialog, [&] {
            QTimer::singleShot(0, button(dialog, "reboot"), &QPushButton::click);
            dialog.exec();
        });
        QCOMPARE(QApplication::exec(), 0);
        QCOMPARE(quitting.count(), 1);
        QVERIFY(machine.shown && machine.configured && Global::restartRequested);
        QVERIFY(button(dialog, "reboot")->isHidden());
    }
};

CALDERWICK_TEST_GUI_MAIN(TestNavigationBarDialog)
#include "tst_navigationbardialog.moc"
