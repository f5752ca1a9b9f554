#pragma once

#include <QThread>

class AdbReconnect;
class VMToolsMachine;

// Carries AdbReconnect: made in run(), so its processes and timers live on this thread.
// End it with quit() and wait(); the destructor stops and deletes the worker.
class AdbReconnectThread : public QThread
{
    Q_OBJECT

public:
    // machine is not owned and may be null.
    explicit AdbReconnectThread(VMToolsMachine *machine, QObject *parent = nullptr);
    ~AdbReconnectThread() override;

protected:
    void run() override;

private:
    VMToolsMachine *machine;
    AdbReconnect *reconnect = nullptr;
};
