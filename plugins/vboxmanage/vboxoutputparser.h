#pragma once

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>

// Pure readers of VBoxManage's output formats, kept apart from running the tool so that
// they can be tested with literal outputs. Each takes the tool's standard output as it
// came and never fails: what cannot be read is left out.
class VBoxOutputParser
{
public:
    struct VmEntry
    {
        QString name;
        QString uuid;
    };

    // "showvminfo --machinereadable": lines key=value, where the key may be quoted
    // ("SATA-0-0"="...") and a quoted value may hold \" \\ and \n escapes.
    static QMap<QString, QString> machineReadable(const QByteArray &output);

    // "guestproperty get": true and the value for "Value: ..."; false for "No value set!"
    // or anything else.
    static bool guestPropertyValue(const QByteArray &output, QString *value);

    // "guestproperty enumerate", in both the older form
    //   Name: /a/b, value: text, timestamp: 1530000000000000000, flags: RDONLYGUEST
    // and the newer one
    //   /a/b = 'text' @ 2024-01-01T10:00:00.000000000Z, RDONLYGUEST
    static QMap<QString, QString> guestPropertyList(const QByteArray &output);

    // "list vms" and "list runningvms": lines "name" {uuid}.
    static QList<VmEntry> vmList(const QByteArray &output);

    // "list hostonlyifs": blocks of "Key:   value" lines separated by blank lines.
    static QList<QMap<QString, QString>> hostOnlyInterfaces(const QByteArray &output);

    // "hostonlyif create": the name in "Interface 'vboxnet0' was successfully created".
    static QString createdInterfaceName(const QByteArray &output);

    // The machine state (MachineState) of a VMState word of showvminfo.
    static int machineState(const QString &vmState);

    // "startvm" failed because the processor lacks VT-x / AMD-V for this machine.
    static bool isVirtualizationMissing(const QByteArray &output);

    // The "VBoxManage: error:" lines of an output, joined by "; ", for log lines.
    static QString errorText(const QByteArray &output);
};
