#include "settings.h"
#include "startreports.h"
#include "testenvironment.h"

class TestStartReports : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { setSettingsValue(QStringLiteral("support.root"), QStringLiteral("https://help.test/")); }

    void linkTextIsItsTarget()
    {
        QCOMPARE(StartReports::link(QStringLiteral("#!/support?chapter=vbox#faq")),
                 QStringLiteral("<a href='https://help.test/#!/support?chapter=vbox#faq'><font color='#FFF'>"
                                "https://help.test/#!/support?chapter=vbox#faq</font></a>"));
    }

    void reports_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        const QString br = QStringLiteral("<br><br>");
        auto link = [](const char *path) { return QStringLiteral("<p>") + StartReports::link(QLatin1String(path)) + QStringLiteral("</p>"); };

        // Without a translation loaded each key stands for itself, so the order shows.
        QTest::newRow("engine") << StartReports::engineMissing()
                                << "Unable to load VirtualBox engine." + br + "Make sure vbox installed." + br
                                       + "error.more.information" + link("#!/support?chapter=vbox#faq");
        QTest::newRow("no such device") << StartReports::noSuchDevice()
                                        << "error.run.virtual.device" + br + "error.run.no.such.device";
        QTest::newRow("no address")
            << StartReports::noAddress()
            << "error.run.virtual.device" + br + "error.run.virtual.no.ip.address" + br
                   + "error.unknown.reason.no.ip.address.attributed" + br + "error.more.help"
                   + link("#!/support?chapter=collapse-nostart#faq");
        QTest::newRow("network")
            << StartReports::networkAdapter()
            << "error.run.virtual.device" + br + "error.run.cant.configure.network.adapter" + br
                   + "error.run.check.following.points<ul><li>error.run.check.vbox.host.only.adapter</li>"
                     "<li>error.run.check.virtual.device.configure.to.use.host.private.network</li></ul>";
        QTest::newRow("cpu count") << StartReports::cannotReduceCpu()
                                   << "cant.set.proc.number" + br
                                          + "we.were.not.able.to.reduce.the.number.of.cpu.of.your.virtual.device" + br
                                          + "try.set.it.manualy.via.virtualbox";
        QTest::newRow("bios hides it")
            << StartReports::virtualizationMissing(true)
            << "warning.cpu.count.force" + br + "virtualization.technology.not.available.in.your.bios" + br
                   + "try.activate.it.and.recreate.virtual.device.to.use.multiple.processor" + br
                   + "see.faq.bios.informations" + link("#!/support?chapter=collapse-perfs#faq");
        QTest::newRow("cpu lacks it")
            << StartReports::virtualizationMissing(false)
            << "warning.cpu.count.force" + br + "virtualization.technology.not.available.in.your.cpu" + br
                   + "you.wont.be.able.to.use.multiple.processor" + br + "see.faq.bios.informations"
                   + link("#!/support?chapter=collapse-perfs#faq");
        QTest::newRow("logs") << StartReports::hardwareAcceleration()
                              << "error.run.virtual.device" + br + "error.run.cant.set.hardware.acceleration" + br
                                     + "check.log.files.and.see.faq.log.files" + link("#!/support?chapter=collapse-logs#faq");
    }

    void reports()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QCOMPARE(text, expected);
    }
};

CALDERWICK_TEST_MAIN(TestStartReports)
#include "tst_startreports.moc"
