// VBoxManage's output formats, read from literal outputs as VirtualBox prints them.

#include "testenvironment.h"
#include "vboxoutputparser.h"
#include "vmtoolsmachine.h"

#include <QtTest>

class TestVBoxOutputParser : public QObject
{
    Q_OBJECT

private slots:
    void machineReadable()
    {
        const QByteArray output =
            "name=\"Google Pixel 3\"\n"
            "groups=\"/\"\n"
            "ostype=\"Linux 2.6 / 3.x / 4.x (64-bit)\"\n"
            "UUID=\"9f1b7e5c-3a2d-4c11-8e0f-2b6a1d3c4e5f\"\n"
            "CfgFile=\"/home/ann/VirtualBox VMs/Google Pixel 3/Google Pixel 3.vbox\"\n"
            "LogFldr=\"/home/ann/VirtualBox VMs/Google Pixel 3/Logs\"\n"
            "memory=2048\r\n"
            "cpus=4\n"
            "VMState=\"poweroff\"\n"
            "VMStateChangeTime=\"2024-03-01T09:12:44.000000000\"\n"
            "\"SATA-0-0\"=\"/home/ann/disks/system.vdi\"\n"
            "\"SATA-ImageUUID-0-0\"=\"1c4d2e0a-0000-4000-8000-000000000001\"\n"
            "nic1=\"hostonly\"\n"
            "hostonlyadapter1=\"vboxnet0\"\n"
            "nic2=\"nat\"\n"
            "description=\"says \\\"hi\\\"\\nsecond line \\\\ done\"\n"
            "broken=\"never closed\n"
            "garbage without equals\n";
        const QMap<QString, QString> values = VBoxOutputParser::machineReadable(output);
        // Quoted and bare values, a CR before the line end, a quoted key, escapes.
        QCOMPARE((QStringList{values.value("name"), values.value("memory"), values.value("cpus"), values.value("SATA-0-0"),
                              values.value("description")}),
                 (QStringList{"Google Pixel 3", "2048", "4", "/home/ann/disks/system.vdi", "says \"hi\"\nsecond line \\ done"}));
        QVERIFY(!values.contains("broken"));
        QCOMPARE(values.size(), 16);
    }

    void guestPropertyValue()
    {
        const struct { const char *output; bool present; const char *value; } rows[] = {
            {"Value: 192.168.56.101\n", true, "192.168.56.101"}, {"Value: two words \n", true, "two words "},
            {"Value: \n", true, ""}, {"No value set!\n", false, ""}, {"", false, ""},
            {"VBoxManage: error: Could not find a registered machine named 'x'\n", false, ""}};
        for (const auto &row : rows) {
            QString read = QStringLiteral("untouched");
            QVERIFY2(VBoxOutputParser::guestPropertyValue(row.output, &read) == row.present, row.output);
            if (row.present)
                QCOMPARE(read, QString::fromLatin1(row.value));
        }
    }

    void guestPropertyListOlderForm()
    {
        const QByteArray output =
            "Name: /VirtualBox/GuestInfo/Net/0/V4/IP, value: 192.168.56.101, timestamp: 1709284364000000000, "
            "flags: \n"
            "Name: /Calderwick/Resolution, value: 1080x1920, timestamp: 1709284300000000000, flags: RDONLYGUEST\n"
            "Name: /Calderwick/Note, value: a, b, c, timestamp: 1709284300000000000, flags: \n"
            "Name: /VirtualBox/HostInfo/GUI/LanguageID, value: , timestamp: 1709284300000000000, flags: \n";
        const QMap<QString, QString> properties = VBoxOutputParser::guestPropertyList(output);
        QCOMPARE(properties.size(), 4);
        QCOMPARE(properties.value("/VirtualBox/GuestInfo/Net/0/V4/IP"), QString("192.168.56.101"));
        QCOMPARE(properties.value("/Calderwick/Resolution"), QString("1080x1920"));
        QCOMPARE(properties.value("/Calderwick/Note"), QString("a, b, c"));
        QVERIFY(properties.contains("/VirtualBox/HostInfo/GUI/LanguageID"));
    }

    void guestPropertyListNewerForm()
    {
        const QByteArray output =
            "/VirtualBox/GuestInfo/Net/0/V4/IP = '192.168.56.102' @ 2024-03-01T09:12:44.123456789Z\n"
            "/Calderwick/Dpi                   = '420' @ 2024-03-01T09:10:00.000000000Z, RDONLYGUEST\n"
            "/Calderwick/Note = 'it's @ home' @ 2024-03-01T09:10:00.000000000Z\n";
        const QMap<QString, QString> properties = VBoxOutputParser::guestPropertyList(output);
        QCOMPARE(properties.size(), 3);
        QCOMPARE(properties.value("/VirtualBox/GuestInfo/Net/0/V4/IP"), QString("192.168.56.102"));
        QCOMPARE(properties.value("/Calderwick/Dpi"), QString("420"));
        QCOMPARE(properties.value("/Calderwick/Note"), QString("it's @ home"));
    }

    void vmList()
    {
        const QByteArray output = "\"Google Pixel 3\" {9f1b7e5c-3a2d-4c11-8e0f-2b6a1d3c4e5f}\n"
                                  "\"Odd \"quoted\" {name}\" {00000000-1111-2222-3333-444444444444}\n"
                                  "\"<inaccessible>\" {not-a-uuid}\n"
                                  "\n";
        const QList<VBoxOutputParser::VmEntry> machines = VBoxOutputParser::vmList(output);
        QCOMPARE(machines.size(), 2);
        QCOMPARE(machines.at(0).name, QString("Google Pixel 3"));
        QCOMPARE(machines.at(0).uuid, QString("9f1b7e5c-3a2d-4c11-8e0f-2b6a1d3c4e5f"));
        QCOMPARE(machines.at(1).name, QString("Odd \"quoted\" {name}"));
    }

    void hostOnlyInterfaces()
    {
        const QByteArray output = "Name:            vboxnet0\n"
                                  "GUID:            786f6276-656e-4074-8000-0a0027000000\n"
                                  "DHCP:            Disabled\n"
                                  "IPAddress:       192.168.56.1\n"
                                  "NetworkMask:     255.255.255.0\n"
                                  "IPV6Address:     fe80::800:27ff:fe00:0\n"
                                  "IPV6NetworkMaskPrefixLength: 64\n"
                                  "HardwareAddress: 0a:00:27:00:00:00\n"
                                  "MediumType:      Ethernet\n"
                                  "Wireless:        Disabled\n"
                                  "Status:          Down\n"
                                  "VBoxNetworkName: HostInterfaceNetworking-vboxnet0\n"
                                  "\n"
                                  "Name:            vboxnet1\n"
                                  "IPAddress:       192.168.57.1\n"
                                  "Status:          Up\n"
                                  "Name:            vboxnet2\n"
                                  "Status:          Up\n";
        const QList<QMap<QString, QString>> interfaces = VBoxOutputParser::hostOnlyInterfaces(output);
        QCOMPARE(interfaces.size(), 3);
        QCOMPARE(interfaces.at(0).value("IPV6Address"), QString("fe80::800:27ff:fe00:0"));
        QCOMPARE(interfaces.at(1).value("IPAddress"), QString("192.168.57.1"));
        QCOMPARE(interfaces.at(2).value("Name"), QString("vboxnet2"));
        QVERIFY(VBoxOutputParser::hostOnlyInterfaces("").isEmpty());
    }

    void createdInterfaceName()
    {
        QCOMPARE(VBoxOutputParser::createdInterfaceName("0%...10%...20%...30%...40%...50%...60%...70%...80%...90%..."
                                                        "100%\nInterface 'vboxnet3' was successfully created\n"),
                 QString("vboxnet3"));
        QCOMPARE(VBoxOutputParser::createdInterfaceName("VBoxManage: error: Failed to create the host-only adapter\n"),
                 QString());
    }

    void machineState()
    {
        const struct { const char *word; int state; } rows[] = {
            {"running", MachineState::On}, {"poweroff", MachineState::Off}, {"saved", MachineState::Off},
            {"paused", MachineState::Paused}, {"starting", MachineState::Process}, {"stopping", MachineState::Process},
            {"saving", MachineState::Process}, {"restoring", MachineState::Process},
            {"deletingsnapshotlive", MachineState::Process}, {"aborted", MachineState::Aborted},
            {"gurumeditation", MachineState::Undefined}, {"", MachineState::Undefined}, {" Running ", MachineState::On}};
        for (const auto &row : rows)
            QVERIFY2(VBoxOutputParser::machineState(QLatin1String(row.word)) == row.state, row.word);
    }

    void virtualizationMissing()
    {
        QVERIFY(VBoxOutputParser::isVirtualizationMissing("VBoxManage: error: VT-x is not available (VERR_VMX_NO_VMX)\n"
                                                          "VBoxManage: error: Details: code NS_ERROR_FAILURE (0x80004005), "
                                                          "component ConsoleWrap, interface IConsole\n"));
        QVERIFY(VBoxOutputParser::isVirtualizationMissing("VBoxManage: error: AMD-V is not available (VERR_SVM_NO_SVM)\n"));
        QVERIFY(!VBoxOutputParser::isVirtualizationMissing("VBoxManage: error: The virtual machine 'x' has terminated "
                                                           "unexpectedly during startup with exit code 1 (0x1)\n"));
        QVERIFY(!VBoxOutputParser::isVirtualizationMissing("VM \"x\" has been successfully started.\n"));
    }

    void errorText()
    {
        QCOMPARE(VBoxOutputParser::errorText("Waiting for VM \"x\" to power on...\n"
                                             "VBoxManage: error: VT-x is not available (VERR_VMX_NO_VMX)\n"
                                             "VBoxManage: error: Details: code NS_ERROR_FAILURE (0x80004005)\n"),
                 QString("VT-x is not available (VERR_VMX_NO_VMX); Details: code NS_ERROR_FAILURE (0x80004005)"));
        QCOMPARE(VBoxOutputParser::errorText("plain\nfailure  text\n"), QString("plain failure text"));
    }
};

CALDERWICK_TEST_MAIN(TestVBoxOutputParser)
#include "tst_vboxoutputparser.moc"
