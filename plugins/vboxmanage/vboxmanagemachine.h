#pragma once

#include "processrunner.h"
#include "vmtoolsmachine.h"

#include <QMap>
#include <QMutex>
#include <QString>

#include <memory>

// One VirtualBox machine driven through VBoxManage. Commands name the machine by its
// UUID, so a rename while the player runs does not lose it. The device's fixed values
// (versions, platform, density, size, flags) are read once with the machine and kept;
// state, processors, adapters, acceleration and the address are read fresh.
// state() and ip() may be called on the main thread while another thread waits in
// waitForIp(): every command runs in a process of its own and the kept values are locked.
class VBoxManageMachine : public VMToolsMachine
{
public:
    // info: showvminfo --machinereadable of the machine; properties: its /Calderwick/ ones.
    VBoxManageMachine(std::shared_ptr<ProcessRunner> runner, const QMap<QString, QString> &info,
                      const QMap<QString, QString> &properties);

    QString uuid() const { return machineUuid; }

    QString logDirectory() override;
    bool prepareStart() override;
    bool isHardwareAccelerated() override;
    int processorCount() override;
    bool setProcessorCount(int count) override;
    void setHardwareAccelerated(bool on) override;
    QString name() override;
    QString waitForIp() override;
    int state() override;
    QString androidVersion() override;
    QString systemVersion() override;
    QString platform() override;
    QString dpi() override;
    QPair<int, int> size() override;
    bool startsFullScreen() override;
    bool navigationBarShown() override;
    void setNavigationBarShown(bool on) override;
    bool navigationBarConfigured() override;
    void setNavigationBarConfigured(bool on) override;
    QString ip() override;
    int networkAdapterMode(int index) override;
    int setNetworkAdapter(int index, int mode, const QString &interfaceName) override;

    // VirtualBox numbers network adapters 1 to 8; the index is that number.
    static constexpr int MaxAdapters = 8;

private:
    // A fresh showvminfo; empty when the tool failed.
    QMap<QString, QString> readInfo(int timeoutMs) const;
    // A fresh guestproperty get: false when unset or the tool failed.
    bool readProperty(const char *property, QString *value, int timeoutMs) const;
    bool writeProperty(const char *property, const QString &value);
    QString keptProperty(const char *property) const;
    bool keptFlag(const char *property) const;
    void setFlag(const char *property, bool on);
    // The address property if it holds a usable IPv4 address, else empty.
    QString readAddress(int timeoutMs) const;

    std::shared_ptr<ProcessRunner> runner;
    QString machineUuid;
    QString machineName;
    QString logFolder;
    mutable QMutex mutex;
    QMap<QString, QString> properties;
    QString knownAddress;
};
