#pragma once

#include <QList>
#include <QObject>
#include <QProcess>
#include <QString>
#include <QStringList>

#include <functional>

// One device as "adb" sees it. Every operation is one blocking run of the tool; the
// result is a bool or a text, and the tool's own words of the last failure are kept
// for lastError(). Objects are not shared between threads: a worker makes its own.
class Adb : public QObject
{
    Q_OBJECT

public:
    // Which devices devices() keeps.
    enum Filter {
        NoDevices = 0,
        OtherDevices = 1,     // phones, and address:port devices without a "caldd" property
        CalderwickDevices = 2, // address:port devices with a "[caldd." property line
        AllDevices = 3,
    };

    // serial: "<address>:5555" for the virtual device, the listed serial for a phone.
    explicit Adb(const QString &serial, QObject *parent = nullptr);

    QString serial() const { return m_serial; }

    // The trimmed "get-state" output ("device", "offline"), empty on failure.
    QString getState();
    bool connect();
    bool disconnect();
    bool pull(const QString &remote, const QString &local);
    // A remote path ending in "/" is made first (except the download folder itself).
    bool push(const QString &local, const QString &remote);
    // The same copy with adb's progress figures: progress gets each new percent and is asked
    // at least every 200 ms whether to go on; false stops adb, and the result is false with
    // lastError() "cancelled". Nothing is logged as a failure then: the caller chose it.
    bool push(const QString &local, const QString &remote, const std::function<bool(int percent)> &progress);
    // An app that is already installed counts as success.
    bool install(const QString &path, bool reinstall);
    bool uninstall(const QString &package, bool acceptFailure);
    bool forward(int hostPort, int devicePort);
    bool startRemoteControl();
    bool stopRemoteControl();
    bool uninstallRemoteControl();
    bool installRemoteControl();
    // The trimmed value; defaultValue when the run fails. An empty value stays empty.
    QString getProp(const QString &name, const QString &defaultValue);
    QString androidVersion();
    // "<manufacturer>-<product>".
    QString deviceName();
    // The merged output in every case; timeout in ms, -1 waits without a limit.
    QString shell(const QStringList &arguments, int timeout);
    bool startActivity(const QString &package, const QString &activity);

    // One word for the device's shell, whatever it holds: adb joins shell arguments with
    // blanks, so a path with a blank or a quote must be quoted to stay one path.
    static QString shellQuoted(const QString &word);

    // New objects, owned by the caller, for the listed devices the filter keeps.
    static QList<Adb *> devices(int filter);

    // Starts "logcat -v time" into the file (truncated) and leaves it running. The
    // process has no parent: the caller owns it.
    QProcess *logcat(const QString &file);
    // Start on the caller's process without waiting.
    void reboot(QProcess *process);
    void connectAsync(QProcess *process);

    // The located tool, empty when there is none; found once, searched again when gone.
    static QString adbPath();
    // The bracketed word of the last failure's output, else that whole output.
    QString lastError() const;

private:
    enum class Run { NotStarted, NotFinished, Finished };

    // One run of the tool with the object's log tag. finishTimeout -1: no limit.
    // On NotStarted the "can't run" line is already logged.
    Run run(const char *tag, const QStringList &arguments, int finishTimeout, bool merged, QByteArray *output,
            int *exitCode, QString *errorText = nullptr);
    QByteArray properties();
    bool makeRemoteFolder(const char *tag, const QString &remote);
    void fail(const char *tag, const char *word, const QString &detail);

    QString m_serial;
    QString m_lastOutput;
};
