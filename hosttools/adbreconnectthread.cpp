#include "adbreconnectthread.h"

#include "adbreconnect.h"

AdbReconnectThread::AdbReconnectThread(VMToolsMachine *machine, QObject *parent) : QThread(parent), machine(machine)
{
}

AdbReconnectThread::~AdbReconnectThread()
{
    // The owner normally waited already; never leave the worker running under us.
    if (isRunning()) {
        quit();
        wait();
    }
    if (reconnect) {
        reconnect->stop();
        delete reconnect;
    }
}

void AdbReconnectThread::run()
{
    reconnect = new AdbReconnect(machine);
    reconnect->start();
    exec();
    reconnect->stop();
}
