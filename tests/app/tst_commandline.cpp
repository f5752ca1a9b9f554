#include "commandline.h"
#include "testenvironment.h"

class TestCommandLine : public QObject
{
    Q_OBJECT

private slots:
    void parse()
    {
        // arguments after the program; ok, name, action, checks shown, no popup, plug-in, IDE
        const struct { QStringList args; bool ok; const char *vmName; int action; bool showChecks, noPopup; const char *fromPlugin, *ide; } rows[] = {
            {{"-n", "dev"}, true, "dev", 0, true, false, "", ""}, // name
            {{"--vm-name", "My Phone"}, true, "My Phone", 0, true, false, "", ""}, // long name
            {{}, false, "", 0, true, false, "", ""}, // no name
            {{"-n"}, false, "", 0, true, false, "", ""}, // dangling name
            {{"-n", "dev", "-n"}, false, "dev", 0, true, false, "", ""}, // dangling second name
            {{"-n", "dev", "-i"}, false, "dev", 0, true, false, "", ""}, // dangling ide
            {{"-n", "--poweroff"}, true, "--poweroff", 0, true, false, "", ""}, // option as name
            {{" -n ", " dev "}, true, " dev ", 0, true, false, "", ""}, // name untrimmed
            {{"-x", "-a", "-n", "dev"}, true, "dev", 2, true, false, "", ""}, // later action wins
            {{"-n", "dev", "--poweroff"}, true, "dev", 1, true, false, "", ""}, // poweroff
            {{"-z", "-n", "dev"}, true, "dev", 3, true, false, "", ""}, // stopadb
            {{"-n", "dev", "--quiet"}, true, "dev", 0, false, false, "", ""}, // quiet
            {{"-s", "-n", "dev"}, true, "dev", 0, false, true, "", ""}, // no popup
            {{"-n", "dev", "--from-plugin=studio 3"}, true, "dev", 0, true, false, "studio 3", ""}, // from plugin
            {{"-n", "dev", "-p"}, true, "dev", 0, true, false, "", ""}, // plugin without =
            {{"--from-plugin=x"}, false, "", 0, true, false, "x", ""}, // plugin only
            {{"--ide", "-n", "-n", "dev"}, true, "dev", 0, true, false, "", "-n"}, // ide
            {{"-N", "dev", "-X"}, false, "", 0, true, false, "", ""}, // case matters
            {{"-n", "dev", "--poweroffnow", "-qq"}, true, "dev", 0, true, false, "", ""}, // prefix is not enough
            {{"--bogus", "-n", "dev", "extra"}, true, "dev", 0, true, false, "", ""}, // unknown skipped
        };
        for (const auto &row : rows) {
            PlayerOptions options;
            const QString tag = row.args.join(QLatin1Char(' '));
            QVERIFY2(parseCommandLine(QStringList{QStringLiteral("/usr/bin/player")} + row.args, options) == row.ok, qPrintable(tag));
            if (!row.ok && !*row.vmName)
                continue;
            QVERIFY2(options.vmName == QLatin1String(row.vmName) && options.action == row.action && options.showChecks == row.showChecks
                         && options.noPopup == row.noPopup && options.fromPlugin == QLatin1String(row.fromPlugin)
                         && options.ide == QLatin1String(row.ide), qPrintable(tag));
        }
    }

    void orders()
    {
        QCOMPARE((QStringList{orderForAction(0), orderForAction(1), orderForAction(2), orderForAction(3)}),
                 (QStringList{"PING", "POWEROFF", "STARTADB", "STOPADB"}));
    }
};

CALDERWICK_TEST_MAIN(TestCommandLine)
#include "tst_commandline.moc"
