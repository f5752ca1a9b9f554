#pragma once

#include <QObject>
#include <QProcess>
#include <QString>

class QMutex;
class VMToolsMachine;

// Keeps adb attached to the virtual device: "adb connect", then a long-lived "adb shell"
// whose end means the link is gone, then connect again after a second's pause, whatever
// ended the last attempt, until stop(). A logcat capture into the device's log directory rides along.
// Lives on AdbReconnectThread; all its slots run there.
class AdbReconnect : public QObject
{
    Q_OBJECT

public:
    // machine is not owned and may be null (no address, no capture).
    explicit AdbReconnect(VMToolsMachine *machine, QObject *parent = nullptr);
    ~AdbReconnect() override;

    // Ends the cycle and every child process; a second call does nothing more.
    void stop();

public slots:
    void start();

private slots:
    void error();
    void connected(int status);
    void disconnected(int status);
    void logcatFinished(int result);

private:
    void startLogcat();

    VMToolsMachine *machine;
    QString ip;
    QMutex *mutex;
    bool running = false;
    QProcess connectProcess;
    QProcess shellProcess;
    QProcess *logcatProcess = nullptr;
};
