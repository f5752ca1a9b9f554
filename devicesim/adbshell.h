#pragma once

#include <QByteArray>
#include <QList>

class AdbServer;

// The device's shell as far as the player and adb use it: words split as sh does (quotes,
// backslashes), commands joined by ";", "&&" and "||", and the few tools a device offers
// them: echo, getprop, ls, mkdir, rm, rmdir, cat, touch, mv, unzip -l, id, pm, am, logcat,
// export, exec, sh -c, and the flashing scripts check-archive.sh and flash-archive.sh.
class AdbShell
{
public:
    explicit AdbShell(AdbServer *server);

    // Runs one command line and returns what it printed (standard output and error).
    QByteArray run(const QByteArray &commandLine);
    // Whether the last line ran a command that keeps going after its output (logcat).
    bool isFollowing() const { return following; }
    // The words and operators of a command line; operators come as ";", "&&", "||" and the
    // redirections "<", ">", ">&" (each followed by its target word) with isOperator set.
    struct Token
    {
        QByteArray text;
        bool isOperator = false;
    };
    static QList<Token> tokenize(const QByteArray &commandLine);

private:
    int execute(const QList<QByteArray> &words, QByteArray &out, int depth);
    int list(const QList<QByteArray> &args, QByteArray &out);
    int makeDirectories(const QList<QByteArray> &args, QByteArray &out);
    int remove(const QList<QByteArray> &args, QByteArray &out);
    int concatenate(const QList<QByteArray> &args, QByteArray &out);
    int listArchive(const QList<QByteArray> &args, QByteArray &out);
    int getprop(const QList<QByteArray> &args, QByteArray &out);
    int packageCommand(const QList<QByteArray> &args, QByteArray &out);
    int activityCommand(const QList<QByteArray> &args, QByteArray &out);
    int runLine(const QByteArray &commandLine, QByteArray &out, int depth);

    AdbServer *server;
    bool following = false;
};
