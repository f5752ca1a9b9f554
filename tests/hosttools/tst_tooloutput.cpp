// What adb and aapt print, read from literal outputs. Crash safety on arbitrary bytes is the
// fuzz target's job; these rows pin what each reader makes of real and awkward output.

#include "testenvironment.h"
#include "tooloutput.h"

#include <functional>

class TestToolOutput : public QObject
{
    Q_OBJECT

private slots:
    // reader: which function reads the output; result: its answer as text (lists joined by '|').
    void readers_data()
    {
        QTest::addColumn<QString>("reader");
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<QString>("result");
        QTest::newRow("serials none") << "serials" << QByteArray("List of devices attached\n\n") << "";
        QTest::newRow("serials phone and device")
            << "serials" << QByteArray("List of devices attached\n0123456789ABCDEF\tdevice\n192.168.56.101:5555\tdevice\n\n")
            << "0123456789ABCDEF|192.168.56.101:5555";
        // The state word is not looked at: offline and unauthorized devices are listed too.
        QTest::newRow("serials any state")
            << "serials" << QByteArray("List of devices attached\n10.0.0.3:5555\toffline\nabc\tunauthorized\r\n")
            << "10.0.0.3:5555|abc";
        // The first line is the header whatever it says.
        QTest::newRow("serials header dropped") << "serials" << QByteArray("serial1\tdevice\nserial2\tdevice\n") << "serial2";
        QTest::newRow("serials not two words")
            << "serials" << QByteArray("List of devices attached\n* daemon started successfully\nlonely\nx y z\n  spaced\tdevice  \n")
            << "spaced";
        QTest::newRow("serials long form ignored")
            << "serials" << QByteArray("List of devices attached\nemulator-5554 device product:x model:y\n") << "";

        QTest::newRow("network device") << "network" << QByteArray("192.168.56.101:5555") << "1";
        QTest::newRow("network other port") << "network" << QByteArray("10.0.0.1:7") << "1";
        QTest::newRow("network no port") << "network" << QByteArray("10.0.0.1") << "0";
        QTest::newRow("network usb") << "network" << QByteArray("0123456789ABCDEF") << "0";
        QTest::newRow("network emulator") << "network" << QByteArray("emulator-5554") << "0";
        QTest::newRow("network name with port") << "network" << QByteArray("host.local:5555") << "0";
        QTest::newRow("network trailing") << "network" << QByteArray("10.0.0.1:5555x") << "0";

        // Two flags: some line mentions "caldd", some line is a "caldd." property.
        QTest::newRow("props ours") << "props" << QByteArray("[ro.build.product]: [vbox86p]\n[caldd.version]: [2.6]\n") << "11";
        QTest::newRow("props mention in value") << "props" << QByteArray("[ro.x]: [caldd]\n") << "10";
        QTest::newRow("props none") << "props" << QByteArray("[ro.build.product]: [hammerhead]\n") << "00";
        QTest::newRow("props indented") << "props" << QByteArray("  [caldd.serial]: [1]\r\n") << "11";
        QTest::newRow("props no dot") << "props" << QByteArray("[calddx]: [1]\n") << "10";

        QTest::newRow("error install failure")
            << "error" << QByteArray("\tpkg: /data/local/tmp/a.apk\nFailure [INSTALL_FAILED_OLDER_SDK]\n")
            << "INSTALL_FAILED_OLDER_SDK";
        QTest::newRow("error first of two") << "error" << QByteArray("Failure [A] then [B]") << "A";
        QTest::newRow("error bracket at start") << "error" << QByteArray("[INSTALL_FAILED_X]") << "[INSTALL_FAILED_X]";
        QTest::newRow("error later line") << "error" << QByteArray("[prefix] no\nerror [WORD]\n") << "WORD";
        QTest::newRow("error none") << "error" << QByteArray("error: device offline") << "error: device offline";

        // Package and activity; the activity line also has a label: the first name is taken.
        QTest::newRow("badging full")
            << "badging"
            << QByteArray("package: name='com.example.hello' versionCode='3' versionName='1.2'\n"
                          "application: label='' icon=''\n"
                          "launchable-activity: name='com.example.hello.MainActivity'  label='Main' icon=''\n"
                          "uses-permission: name='android.permission.INTERNET'\n")
            << "com.example.hello|com.example.hello.MainActivity";
        QTest::newRow("badging no launcher")
            << "badging" << QByteArray("package: name='com.lib' versionCode='1'\nsdkVersion:'9'\n") << "com.lib|";
        QTest::newRow("badging no name") << "badging" << QByteArray("package: versionCode='3'\n") << "|";
        QTest::newRow("badging empty name") << "badging" << QByteArray("package: name='' x='y'\n") << "|";
        QTest::newRow("badging not an apk")
            << "badging" << QByteArray("ERROR: dump failed because no AndroidManifest.xml found\n") << "|";
        // Only lines that start with the word count.
        QTest::newRow("badging indented") << "badging" << QByteArray(" package: name='x'\n") << "|";
        QTest::newRow("progress last figure")
            << "progress" << QByteArray("\r[  0%] /sdcard/a b\x1b[K\r[ 57%] /sdcard/a b\x1b[K") << "57";
        QTest::newRow("progress done") << "progress" << QByteArray("[100%] x") << "100";
        QTest::newRow("progress not a figure") << "progress" << QByteArray("[101%] [%] [ 5 %] [12%") << "-1";
        QTest::newRow("progress error word") << "progress" << QByteArray("Failure [INSTALL_FAILED_X]") << "-1";
    }

    void readers()
    {
        QFETCH(QString, reader);
        QFETCH(QByteArray, output);
        using namespace ToolOutput;
        const auto flag = [](bool on) { return on ? QStringLiteral("1") : QStringLiteral("0"); };
        const QMap<QString, std::function<QString()>> read{
            {"serials", [&] { return deviceSerials(output).join('|'); }},
            {"network", [&] { return flag(isNetworkSerial(QString::fromLatin1(output))); }},
            {"props", [&] { return flag(mentionsCalderwick(output)) + flag(hasCalderwickProperty(output)); }},
            {"error", [&] { return errorWord(QString::fromLatin1(output)); }},
            {"progress", [&] { return QString::number(pushPercent(output)); }},
            {"badging", [&] {
                 const ApkBadging record = parseBadging(output);
                 return record.packageName + '|' + record.launchableActivity;
             }},
        };
        QTEST(read.value(reader)(), "result");
    }

    void deviceListIsBounded()
    {
        QByteArray output("List of devices attached\n");
        for (int i = 0; i < ToolOutput::MaxDevices + 10; ++i)
            output += "serial" + QByteArray::number(i) + "\tdevice\n";
        QTest::ignoreMessage(QtWarningMsg, "[Adb] more than 256 devices listed, the rest is ignored");
        QCOMPARE(ToolOutput::deviceSerials(output).size(), ToolOutput::MaxDevices);
    }
};

CALDERWICK_TEST_MAIN(TestToolOutput)
#include "tst_tooloutput.moc"
