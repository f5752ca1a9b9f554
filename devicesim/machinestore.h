#pragma once

#include <QCommandLineOption>
#include <QList>
#include <QLockFile>
#include <QMap>
#include <QString>
#include <QStringList>

#include <memory>

// One simulated VirtualBox machine, as the VBoxManage stand-in keeps it.
struct SimulatedMachine
{
    static constexpr int AdapterCount = 8;

    QString name;
    QString uuid;
    QString directory;  // <store>/machines/<name>
    QString address;    // the loopback address its devicesim serves on
    int width = 720;
    int height = 1280;
    int dpi = 320;
    int cpus = 2;
    int memory = 2048;
    QString vmState = QStringLiteral("poweroff"); // VirtualBox's VMState word
    QString stateChangeTime;                       // ISO time of the last state change
    qint64 pid = 0;                                // its running devicesim, 0 if none
    quint64 pidStart = 0;                          // that process's start, see ProcessIdentity
    qint64 startedAtMs = 0;                        // when it was started, ms since the epoch
    QString nics[AdapterCount];                    // "hostonly", "nat", "none", ...
    QString hostOnlyAdapters[AdapterCount];
    QMap<QString, QString> guestProperties;

    QString logDirectory() const { return directory + QStringLiteral("/Logs"); }
    QString settingsFile() const { return directory + QLatin1Char('/') + name + QStringLiteral(".vbox"); }
    // Lines of the fault file "<directory>/faults", without comments and blank lines.
    QStringList faults() const;
    bool hasFault(const QString &word) const;
    // The rest of the first fault line starting with word, empty if none.
    QString faultArgument(const QString &word) const;
};

// The simulated machines under $DEVICESIM_HOME (default ~/.devicesim): one directory per
// machine under machines/, holding machine.json, its fault file and its Logs/. Shared by
// "devicesim create" and the VBoxManage stand-in; a lock file serialises changes between
// the many short stand-in processes.
class MachineStore
{
public:
    MachineStore();
    explicit MachineStore(const QString &home);

    static QString defaultHome();
    QString home() const { return homePath; }

    // Holds the store's lock until released or destroyed; false if it could not be had
    // within the limit (another process hangs on it).
    bool lock(int timeoutMs = 10000);
    void unlock();
    bool isLocked() const;

    QStringList machineNames() const;
    // By name or UUID (in any case, with or without braces).
    bool load(const QString &nameOrUuid, SimulatedMachine *machine) const;
    bool save(const SimulatedMachine &machine, QString *error = nullptr) const;

    // Registers a new machine with the defaults of a device; an empty address takes the
    // first loopback address from 127.0.0.100 up that no other machine has.
    bool create(const QString &name, int width, int height, int dpi, const QString &address,
                SimulatedMachine *machine, QString *error);

    QStringList hostOnlyInterfaces() const;
    bool saveHostOnlyInterfaces(const QStringList &names) const;

    // "devicesim create NAME --size WxH --dpi N [--address 127.0.0.x] [--cpus N]";
    // arguments start with "create". Returns the process exit code.
    static int runCreateCommand(const QStringList &arguments);
    // The options of "devicesim create", for its parser, its usage line and its help.
    static QList<QCommandLineOption> createOptions();

private:
    QString machineFile(const QString &name) const;
    bool createLocked(const QString &name, int width, int height, int dpi, const QString &address,
                      SimulatedMachine *machine, QString *error);

    QString homePath;
    std::unique_ptr<QLockFile> lockFile;
};
