#include "commandline.h"
#include "testenvironment.h"

class TestCommandLine : public QObject
{
    Q_OBJECT

private slots:
    void parse_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<bool>("ok");
        QTest::addColumn<QString>("vmName");
        QTest::addColumn<int>("action");
        QTest::addColumn<bool>("showChecks");
        QTest::addColumn<bool>("noPopup");
        QTest::addColumn<QString>("fromPlugin");
        QTest::addColumn<QString>("ide");

        const QString p = QStringLiteral("/usr/bin/player");
        QTest::newRow("name") << QStringList{p, "-n", "dev"} << true << "dev" << 0 << true << false << "" << "";
        QTest::newRow("long name") << QStringList{p, "--vm-name", "My Phone"} << true << "My Phone" << 0 << true << false << "" << "";
        QTest::newRow("no name") << QStringList{p} << false << "" << 0 << true << false << "" << "";
        QTest::newRow("dangling name") << QStringList{p, "-n"} << false << "" << 0 << true << false << "" << "";
        QTest::newRow("dangling second name") << QStringList{p, "-n", "dev", "-n"} << false << "dev" << 0 << true << false << "" << "";
        QTest::newRow("dangling ide") << QStringList{p, "-n", "dev", "-i"} << false << "dev" << 0 << true << false << "" << "";
        QTest::newRow("option as name") << QStringList{p, "-n", "--poweroff"} << true << "--poweroff" << 0 << true << false << "" << "";
        QTest::newRow("name untrimmed") << QStringList{p, " -n ", " dev "} << true << " dev " << 0 << true << false << "" << "";
        QTest::newRow("later action wins") << QStringList{p, "-x", "-a", "-n", "dev"} << true << "dev" << 2 << true << false << "" << "";
        QTest::newRow("poweroff") << QStringList{p, "-n", "dev", "--poweroff"} << true << "dev" << 1 << true << false << "" << "";
        QTest::newRow("stopadb") << QStringList{p, "-z", "-n", "dev"} << true << "dev" << 3 << true << false << "" << "";
        QTest::newRow("quiet") << QStringList{p, "-n", "dev", "--quiet"} << true << "dev" << 0 << false << false << "" << "";
        QTest::newRow("no popup") << QStringList{p, "-s", "-n", "dev"} << true << "dev" << 0 << false << true << "" << "";
        QTest::newRow("from plugin") << QStringList{p, "-n", "dev", "--from-plugin=studio 3"} << true << "dev" << 0 << true << false << "studio 3" << "";
        QTest::newRow("plugin without =") << QStringList{p, "-n", "dev", "-p"} << true << "dev" << 0 << true << false << "" << "";
        QTest::newRow("plugin only") << QStringList{p, "--from-plugin=x"} << false << "" << 0 << true << false << "x" << "";
        QTest::newRow("ide") << QStringList{p, "--ide", "-n", "-n", "dev"} << true << "dev" << 0 << true << false << "" << "-n";
        QTest::newRow("case matters") << QStringList{p, "-N", "dev", "-X"} << false << "" << 0 << true << false << "" << "";
        QTest::newRow("prefix is not enough") << QStringList{p, "-n", "dev", "--poweroffnow", "-qq"} << true << "dev" << 0 << true << false << "" << "";
        QTest::newRow("unknown skipped") << QStringList{p, "--bogus", "-n", "dev", "extra"} << true << "dev" << 0 << true << false << "" << "";
    }

    void parse()
    {
        QFETCH(QStringList, args);
        QFETCH(bool, ok);
        QFETCH(QString, vmName);
        QFETCH(int, action);
        QFETCH(bool, showChecks);
        QFETCH(bool, noPopup);
        QFETCH(QString, fromPlugin);
        QFETCH(QString, ide);

        PlayerOptions options;
        QCOMPARE(parseCommandLine(args, options), ok);
        if (!ok && vmName.isEmpty())
            return;
        QCOMPARE(options.vmName, vmName);
        QCOMPARE(options.action, action);
        QCOMPARE(options.showChecks, showChecks);
        QCOMPARE(options.noPopup, noPopup);
        QCOMPARE(options.fromPlugin, fromPlugin);
        QCOMPARE(options.ide, ide);
    }

    void orders()
    {
        QCOMPARE(orderForAction(0), QStringLiteral("PING"));
        QCOMPARE(orderForAction(1), QStringLiteral("POWEROFF"));
        QCOMPARE(orderForAction(2), QStringLiteral("STARTADB"));
        QCOMPARE(orderForAction(3), QStringLiteral("STOPADB"));
    }
};

CALDERWICK_TEST_MAIN(TestCommandLine)
#include "tst_commandline.moc"
