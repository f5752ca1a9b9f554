#include "terminalprocess.h"

#include <QFile>

#include <cerrno>
#include <csignal>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int PollMs = 200;
constexpr int GraceMs = 2000;

bool reap(pid_t pid, int *status, bool wait)
{
    for (;;) {
        const pid_t done = waitpid(pid, status, wait ? 0 : WNOHANG);
        if (done == pid)
            return true;
        if (done == 0 || errno != EINTR)
            return false;
    }
}

int exitCodeOf(int status)
{
    return WIFEXITED(status) ? WEXITSTATUS(status) : -3;
}

} // namespace

int TerminalProcess::run(const QString &program, const QStringList &arguments, const Reader &reader)
{
    const QByteArray path = QFile::encodeName(program);
    std::vector<QByteArray> words{path};
    for (const QString &argument : arguments)
        words.push_back(argument.toLocal8Bit());
    std::vector<char *> argv;
    for (QByteArray &word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    if (path.isEmpty() || access(path.constData(), X_OK) != 0)
        return NotStarted;

    winsize size{};
    size.ws_row = 24;
    size.ws_col = 4096;
    int master = -1;
    const pid_t pid = forkpty(&master, nullptr, nullptr, &size);
    if (pid < 0)
        return NotStarted;
    if (pid == 0) {
        // Only async-signal-safe calls between fork and exec.
        setenv("TERM", "xterm", 1);
        execv(argv[0], argv.data());
        _exit(127);
    }

    char buffer[16384];
    bool stopped = false;
    int status = 0;
    for (;;) {
        pollfd fd{master, POLLIN, 0};
        const int ready = poll(&fd, 1, PollMs);
        QByteArray chunk;
        if (ready > 0) {
            const ssize_t got = read(master, buffer, sizeof buffer);
            if (got <= 0 && errno != EINTR && errno != EAGAIN)
                break; // EIO: the child and everything it started closed the terminal
            if (got > 0)
                chunk = QByteArray(buffer, int(got));
        } else if (ready < 0 && errno != EINTR) {
            break;
        } else if (ready == 0 && reap(pid, &status, false)) {
            // Ended, though something it started (a server it forked) may still hold the
            // terminal: what the child wrote has been read by now.
            close(master);
            return exitCodeOf(status);
        }
        if (!reader(chunk)) {
            stopped = true;
            break;
        }
    }
    if (stopped) {
        kill(pid, SIGTERM);
        bool ended = false;
        for (int waited = 0; waited < GraceMs && !(ended = reap(pid, &status, false)); waited += 50)
            usleep(50 * 1000);
        if (!ended) {
            kill(pid, SIGKILL);
            reap(pid, &status, true);
        }
        close(master);
        return Stopped;
    }
    close(master);
    return reap(pid, &status, true) ? exitCodeOf(status) : -3;
}
