// What adb and aapt print, read from literal outputs.

#include "testenvironment.h"
#include "tooloutput.h"

class TestToolOutput : public QObject
{
    Q_OBJECT

private slots:
    void deviceSerials_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<QStringList>("serials");
        QTest::newRow("none") << QByteArray("List of devices attached\n\n") << QStringList();
        QTest::newRow("empty") << QByteArray() << QStringList();
        QTest::newRow("phone and device")
            << QByteArray("List of devices attached\n0123456789ABCDEF\tdevice\n192.168.56.101:5555\tdevice\n\n")
            << QStringList{"0123456789ABCDEF", "192.168.56.101:5555"};
        // The state word is not looked at: offline and unauthorized devices are listed too.
        QTest::newRow("any state")
            << QByteArray("List of devices attached\n10.0.0.3:5555\toffline\nabc\tunauthorized\r\n")
            << QStringList{"10.0.0.3:5555", "abc"};
        // The first line is the header whatever it says.
        QTest::newRow("header dropped") << QByteArray("serial1\tdevice\nserial2\tdevice\n") << QStringList{"serial2"};
        QTest::newRow("not two words")
            << QByteArray("List of devices attached\n* daemon started successfully\nlonely\nx y z\n  spaced\tdevice  \n")
            << QStringList{"spaced"};
        QTest::newRow("long form ignored")
            << QByteArray("List of devices attached\nemulator-5554 device product:x model:y\n") << QStringList();
    }

    void deviceSerials()
    {
        QFETCH(QByteArray, output);
        QFETCH(QStringList, serials);
        QCOMPARE(ToolOutput::deviceSerials(output), serials);
    }

    void deviceListIsBounded()
    {
        QByteArray output("List of devices attached\n");
        for (int i = 0; i < ToolOutput::MaxDevices + 10; ++i)
            output += "serial" + QByteArray::number(i) + "\tdevice\n";
        QTest::ignoreMessage(QtWarningMsg, "[Adb] more than 256 devices listed, the rest is ignored");
        QCOMPARE(ToolOutput::deviceSerials(output).size(), ToolOutput::MaxDevices);
    }

    void networkSerial_data()
    {
        QTest::addColumn<QString>("serial");
        QTest::addColumn<bool>("network");
        QTest::newRow("device") << "192.168.56.101:5555" << true;
        QTest::newRow("other port") << "10.0.0.1:7" << true;
        QTest::newRow("no port") << "10.0.0.1" << false;
        QTest::newRow("usb") << "0123456789ABCDEF" << false;
        QTest::newRow("emulator") << "emulator-5554" << false;
        QTest::newRow("name with port") << "host.local:5555" << false;
        QTest::newRow("trailing") << "10.0.0.1:5555x" << false;
    }

    void networkSerial()
    {
        QFETCH(QString, serial);
        QFETCH(bool, network);
        QCOMPARE(ToolOutput::isNetworkSerial(serial), network);
    }

    void calderwickProperties_data()
    {
        QTest::addColumn<QByteArray>("properties");
        QTest::addColumn<bool>("mentions");
        QTest::addColumn<bool>("has");
        QTest::newRow("ours") << QByteArray("[ro.build.product]: [vbox86p]\n[caldd.version]: [2.6]\n") << true << true;
        QTest::newRow("mention in value") << QByteArray("[ro.x]: [caldd]\n") << true << false;
        QTest::newRow("none") << QByteArray("[ro.build.product]: [hammerhead]\n") << false << false;
        QTest::newRow("empty") << QByteArray() << false << false;
        QTest::newRow("indented") << QByteArray("  [caldd.serial]: [1]\r\n") << true << true;
        QTest::newRow("no dot") << QByteArray("[calddx]: [1]\n") << true << false;
    }

    void calderwickProperties()
    {
        QFETCH(QByteArray, properties);
        QFETCH(bool, mentions);
        QFETCH(bool, has);
        QCOMPARE(ToolOutput::mentionsCalderwick(properties), mentions);
        QCOMPARE(ToolOutput::hasCalderwickProperty(properties), has);
    }

    void errorWord_data()
    {
        QTest::addColumn<QString>("output");
        QTest::addColumn<QString>("word");
        QTest::newRow("install failure") << "\tpkg: /data/local/tmp/a.apk\nFailure [INSTALL_FAILED_OLDER_SDK]\n"
                                         << "INSTALL_FAILED_OLDER_SDK";
        QTest::newRow("first of two") << "Failure [A] then [B]" << "A";
        QTest::newRow("bracket at start") << "[INSTALL_FAILED_X]" << "[INSTALL_FAILED_X]";
        QTest::newRow("later line") << "[prefix] no\nerror [WORD]\n" << "WORD";
        QTest::newRow("none") << "error: device offline" << "error: device offline";
        QTest::newRow("empty") << "" << "";
    }

    void errorWord()
    {
        QFETCH(QString, output);
        QFETCH(QString, word);
        QCOMPARE(ToolOutput::errorWord(output), word);
    }

    void quotedName_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("name");
        QTest::newRow("package") << "package: name='com.a.b' versionCode='3' versionName='1.0'" << "com.a.b";
        QTest::newRow("activity, first name") << "launchable-activity: name='com.a.Main'  label='Main' icon=''"
                                              << "com.a.Main";
        QTest::newRow("no name") << "package: versionCode='3'" << "";
        QTest::newRow("empty name") << "package: name='' x='y'" << "";
    }

    void quotedName()
    {
        QFETCH(QString, line);
        QFETCH(QString, name);
        QCOMPARE(ToolOutput::quotedName(line), name);
    }

    void badging_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<QString>("package");
        QTest::addColumn<QString>("activity");
        QTest::newRow("full")
            << QByteArray("package: name='com.example.hello' versionCode='3' versionName='1.2'\n"
                          "application: label='' icon=''\n"
                          "launchable-activity: name='com.example.hello.MainActivity'  label='Main' icon=''\n"
                          "uses-permission: name='android.permission.INTERNET'\n")
            << "com.example.hello" << "com.example.hello.MainActivity";
        QTest::newRow("no launcher") << QByteArray("package: name='com.lib' versionCode='1'\nsdkVersion:'9'\n")
                                     << "com.lib" << "";
        QTest::newRow("not an apk") << QByteArray("ERROR: dump failed because no AndroidManifest.xml found\n") << ""
                                    << "";
        // Only lines that start with the word count.
        QTest::newRow("indented") << QByteArray(" package: name='x'\n") << "" << "";
    }

    void badging()
    {
        QFETCH(QByteArray, output);
        QFETCH(QString, package);
        QFETCH(QString, activity);
        const ApkBadging record = ToolOutput::parseBadging(output);
        QCOMPARE(record.packageName, package);
        QCOMPARE(record.launchableActivity, activity);
    }
};

CALDERWICK_TEST_MAIN(TestToolOutput)
#include "tst_tooloutput.moc"
