#pragma once

#include <QList>
#include <QObject>
#include <QProcess>
#include <QString>
#include <QStringList>

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
    void fail(const char *tag, const char *word, const QString &detail);

    QString m_serial;
    QString m_lastOutput;
};
