#pragma once

// A machine whose state, name, address and log directory a test sets; everything else
// answers as a healthy, configured device would. The stand-in engine plug-ins derive from
// it and override what they script.

#include "vmtoolsmachine.h"

class TestMachine : public VMToolsMachine
{
public:
    int machineState = MachineState::On;
    QString machineName = QStringLiteral("test");
    QString address;
    QString logs;

    QString logDirectory() override { return logs; }
    bool prepareStart() override { return true; }
    bool isHardwareAccelerated() override { return true; }
    int processorCount() override { return 2; }
    bool setProcessorCount(int) override { return true; }
    void setHardwareAccelerated(bool) override {}
    QString name() override { return machineName; }
    QString waitForIp() override { return address; }
    int state() override { return machineState; }
    QString androidVersion() override { return QString(); }
    QString systemVersion() override { return QString(); }
    QString platform() override { return QString(); }
    QString dpi() override { return QStringLiteral("160"); }
    QPair<int, int> size() override { return {360, 640}; }
    bool startsFullScreen() override { return false; }
    bool navigationBarShown() override { return true; }
    void setNavigationBarShown(bool) override {}
    bool navigationBarConfigured() override { return true; }
    void setNavigationBarConfigured(bool) override {}
    QString ip() override { return address; }
    int networkAdapterMode(int) override { return AdapterMode::HostOnly; }
    int setNetworkAdapter(int, int, const QString &) override { return 1; }
};
