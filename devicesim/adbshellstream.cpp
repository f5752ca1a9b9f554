#include "adbshellstream.h"

#include "adbconnection.h"

#include <QDebug>

AdbShellStream::AdbShellStream(AdbConnection *connection, quint32 localId, quint32 remoteId,
                               const QByteArray &command)
    : AdbStream(connection, localId, remoteId)
    , shell(connection->server())
    , command(command)
{
}

void AdbShellStream::start()
{
    accept();
    if (command.trimmed().isEmpty())
        return;
    send(shell.run(command));
    if (!shell.isFollowing())
        finish();
}

bool AdbShellStream::received(const QByteArray &data)
{
    if (!command.trimmed().isEmpty())
        return true; // a command's stream takes no input
    input += data;
    int newline;
    while ((newline = input.indexOf('\n')) >= 0) {
        const QByteArray line = input.left(newline);
        input.remove(0, newline + 1);
        if (overlong) {
            overlong = false;
            continue;
        }
        if (line.trimmed() == "exit") {
            finish();
            return true;
        }
        send(shell.run(line));
    }
    if (queued() > HeldOutput) {
        ackOwed = true; // the host sends its next line once the output has gone out
        return false;
    }
    if (input.size() > MaxLine) {
        if (!warned)
            qWarning().noquote() << "[AdbShellStream] dropping a shell line longer than" << MaxLine << "bytes";
        warned = overlong = true;
        input.clear();
    }
    return true;
}

void AdbShellStream::drained()
{
    if (ackOwed) {
        ackOwed = false;
        acknowledge();
    }
}
