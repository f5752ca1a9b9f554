#pragma once

#include "adbshell.h"
#include "adbstream.h"

// The plain "shell:" (and "exec:") service: with a command, its output and then the end of
// the stream; without one, an interactive shell that runs each line it is sent and lives
// until the host closes it (what keeps a device attached).
class AdbShellStream : public AdbStream
{
    Q_OBJECT

public:
    static constexpr int MaxLine = 64 * 1024;
    static constexpr int HeldOutput = 1024 * 1024;

    AdbShellStream(AdbConnection *connection, quint32 localId, quint32 remoteId, const QByteArray &command);

    void start() override;
    bool received(const QByteArray &data) override;

protected:
    void drained() override;

private:
    AdbShell shell;
    QByteArray command;
    QByteArray input;
    bool overlong = false;
    bool ackOwed = false;
    bool warned = false; // once per stream, however often the host repeats it
};
