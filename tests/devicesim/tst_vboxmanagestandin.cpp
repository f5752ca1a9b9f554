// The VBoxManage stand-in as a program: VirtualBox's output formats, exit codes and
// messages. The faults of the fault file are proven through the plug-in in tests/plugins.

#include "testenvironment.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTcpSocket>
#include <QtTest>

class TestVBoxManageStandIn : public QObject
{
    Q_OBJECT

    QTemporaryDir home;

    struct Run
    {
        int exitCode = -1;
        QByteArray out;
        QByteArray err;
    };

    Run tool(const QStringList &arguments)
    {
        QProcess process;
        process.start(CALDERWICK_BIN_DIR "/simtools/VBoxManage", arguments);
        Run run;
        if (!process.waitForFinished(15000)) {
            process.kill();
            process.waitForFinished();
            return run;
        }
        run.exitCode = process.exitCode();
        run.out = process.readAllStandardOutput();
        run.err = process.readAllStandardError();
        return run;
    }

    bool create(const QString &name, const QString &address)
    {
        QProcess process;
        process.start(CALDERWICK_BIN_DIR "/devicesim", {"create", name, "--size", "720x1280", "--dpi", "320",
                                                        "--address", address});
        return process.waitForFinished(10000) && process.exitCode() == 0;
    }

    void writeFaults(const QString &name, const QByteArray &text)
    {
        QFile file(home.filePath("machines/" + name + "/faults"));
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(text);
    }

private slots:
    void initTestCase()
    {
        qputenv("DEVICESIM_HOME", home.path().toLocal8Bit());
        QVERIFY(create("Nexus", TestEnvironment::loopback(75)));
    }

    void cleanupTestCase() { tool({"controlvm", "Nexus", "poweroff"}); }

    void answersInVirtualBoxFormats()
    {
        QVERIFY(QRegularExpression("^\\d+\\.\\d+\\.\\d+r\\d+\n$").match(QString(tool({"--version"}).out)).hasMatch());
        QVERIFY(QRegularExpression("^\"Nexus\" \\{[0-9a-f-]{36}\\}\n$").match(QString(tool({"list", "vms"}).out)).hasMatch());
        QCOMPARE(tool({"list", "runningvms"}).out, QByteArray());
        const Run run = tool({"showvminfo", "Nexus", "--machinereadable"});
        QCOMPARE(run.exitCode, 0);
        for (const char *line : {"name=\"Nexus\"\n", "cpus=2\n", "VMState=\"poweroff\"\n", "nic1=\"hostonly\"\n",
                                 "hostonlyadapter1=\"vboxnet0\"\n", "nic2=\"nat\"\n", "nic8=\"none\"\n"})
            QVERIFY2(run.out.contains(line), line);
        QVERIFY(run.out.contains("LogFldr=\"" + home.filePath("machines/Nexus/Logs").toUtf8() + "\"\n"));
        const Run unknown = tool({"showvminfo", "Ghost", "--machinereadable"});
        QCOMPARE(unknown.exitCode, 1);
        QVERIFY(unknown.err.startsWith("VBoxManage: error: Could not find a registered machine named 'Ghost'\n"));
    }

    void syntaxErrors_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("nothing") << QStringList{};
        QTest::newRow("unknown command") << QStringList{"frobnicate"};
        QTest::newRow("unknown list") << QStringList{"list", "everything"};
        QTest::newRow("bad modifyvm option") << QStringList{"modifyvm", "Nexus", "--colour", "red"};
        QTest::newRow("bad nic type") << QStringList{"modifyvm", "Nexus", "--nic1", "wormhole"};
        QTest::newRow("showvminfo without machinereadable") << QStringList{"showvminfo", "Nexus"};
    }

    void syntaxErrors()
    {
        QFETCH(QStringList, arguments);
        const Run run = tool(arguments);
        QCOMPARE(run.exitCode, 2);
        QVERIFY(run.err.startsWith("VBoxManage: error: "));
    }

    void guestProperties()
    {
        QCOMPARE(tool({"guestproperty", "get", "Nexus", "/Calderwick/Dpi"}).out, QByteArray("Value: 320\n"));
        QCOMPARE(tool({"guestproperty", "get", "Nexus", "/Calderwick/Nothing"}).out, QByteArray("No value set!\n"));
        QCOMPARE(tool({"guestproperty", "set", "Nexus", "/Calderwick/Note", "a, b"}).exitCode, 0);
        QCOMPARE(tool({"guestproperty", "get", "Nexus", "/Calderwick/Note"}).out, QByteArray("Value: a, b\n"));
        const Run listed = tool({"guestproperty", "enumerate", "Nexus", "--patterns", "/Calderwick/N*|/x"});
        QVERIFY(QRegularExpression("^Name: /Calderwick/NavigationBarConfigured, value: 1, timestamp: \\d+, flags: \n"
                                   "Name: /Calderwick/NavigationBarShown, value: 1, timestamp: \\d+, flags: \n"
                                   "Name: /Calderwick/Note, value: a, b, timestamp: \\d+, flags: \n$")
                    .match(QString(listed.out))
                    .hasMatch());
        QCOMPARE(tool({"guestproperty", "unset", "Nexus", "/Calderwick/Note"}).exitCode, 0);
        QCOMPARE(tool({"guestproperty", "get", "Nexus", "/Calderwick/Note"}).out, QByteArray("No value set!\n"));
    }

    void startPauseResumePowerOff()
    {
        // No address while the machine is off.
        QCOMPARE(tool({"guestproperty", "get", "Nexus", "/VirtualBox/GuestInfo/Net/0/V4/IP"}).out,
                 QByteArray("No value set!\n"));
        const Run started = tool({"startvm", "Nexus", "--type", "headless"});
        QCOMPARE(started.exitCode, 0);
        QCOMPARE(started.out, QByteArray("Waiting for VM \"Nexus\" to power on...\n"
                                         "VM \"Nexus\" has been successfully started.\n"));
        QVERIFY(tool({"showvminfo", "Nexus", "--machinereadable"}).out.contains("VMState=\"running\"\n"));
        QCOMPARE(tool({"guestproperty", "get", "Nexus", "/VirtualBox/GuestInfo/Net/0/V4/IP"}).out,
                 ("Value: " + TestEnvironment::loopback(75) + "\n").toUtf8());
        QVERIFY(tool({"list", "runningvms"}).out.startsWith("\"Nexus\" {"));
        QTcpSocket socket;
        socket.connectToHost(TestEnvironment::loopback(75), 22666);
        QVERIFY(socket.waitForConnected(2000));
        // The device's files (what adb sees) live in the machine's folder.
        QVERIFY(QFileInfo(home.filePath("machines/Nexus/storage/sdcard/Download")).isDir());

        // A running machine is locked for changes and for a second start.
        const Run locked = tool({"modifyvm", "Nexus", "--cpus", "1"});
        QCOMPARE(locked.exitCode, 1);
        QVERIFY(locked.err.contains("is already locked by a session"));
        QCOMPARE(tool({"startvm", "Nexus"}).exitCode, 1);

        QCOMPARE(tool({"controlvm", "Nexus", "pause"}).exitCode, 0);
        QVERIFY(tool({"showvminfo", "Nexus", "--machinereadable"}).out.contains("VMState=\"paused\"\n"));
        QCOMPARE(tool({"controlvm", "Nexus", "resume"}).exitCode, 0);
        QVERIFY(tool({"showvminfo", "Nexus", "--machinereadable"}).out.contains("VMState=\"running\"\n"));

        const Run stopped = tool({"controlvm", "Nexus", "poweroff"});
        QCOMPARE(stopped.exitCode, 0);
        QVERIFY(stopped.err.contains("100%"));
        QVERIFY(tool({"showvminfo", "Nexus", "--machinereadable"}).out.contains("VMState=\"poweroff\"\n"));
        QCOMPARE(tool({"guestproperty", "get", "Nexus", "/VirtualBox/GuestInfo/Net/0/V4/IP"}).out,
                 QByteArray("No value set!\n"));
        QTcpSocket refused;
        refused.connectToHost(TestEnvironment::loopback(75), 22666);
        QVERIFY(!refused.waitForConnected(1000));

        const Run again = tool({"controlvm", "Nexus", "poweroff"});
        QCOMPARE(again.exitCode, 1);
        QVERIFY(again.err.contains("Machine 'Nexus' is not currently running"));
    }

    // The other faults are proven through the plug-in itself (tests/plugins), which reads
    // these messages; a machine stuck in a state it cannot leave is the stand-in's alone.
    void stuckStateRefusesPowerOff()
    {
        QVERIFY(create("Faulty", TestEnvironment::loopback(76)));
        writeFaults("Faulty", "state stuck\n");
        const Run run = tool({"controlvm", "Faulty", "poweroff"});
        QCOMPARE(run.exitCode, 1);
        QVERIFY2(run.err.contains("Invalid machine state: stuck"), run.err.constData());
        QVERIFY(tool({"showvminfo", "Faulty", "--machinereadable"}).out.contains("VMState=\"stuck\"\n"));
    }

    void hostOnlyInterfaces()
    {
        const Run created = tool({"hostonlyif", "create"});
        QCOMPARE(created.exitCode, 0);
        QVERIFY(created.out.endsWith("Interface 'vboxnet1' was successfully created\n"));
        const Run listed = tool({"list", "hostonlyifs"});
        QVERIFY(listed.out.startsWith("Name:            vboxnet0\nGUID:            "));
        QVERIFY(listed.out.contains("\n\nName:            vboxnet1\n"));
        QVERIFY(listed.out.contains("Status:          Up\n"));
    }

    void startFailsOnMissingInterface()
    {
        QCOMPARE(tool({"modifyvm", "Nexus", "--hostonlyadapter1", "vboxnet9"}).exitCode, 0);
        const Run run = tool({"startvm", "Nexus"});
        QCOMPARE(run.exitCode, 1);
        QVERIFY(run.err.contains("Nonexistent host networking interface, name 'vboxnet9'"));
        QCOMPARE(tool({"modifyvm", "Nexus", "--hostonlyadapter1", "vboxnet0"}).exitCode, 0);
    }
};

CALDERWICK_TEST_MAIN(TestVBoxManageStandIn)
#include "tst_vboxmanagestandin.moc"
