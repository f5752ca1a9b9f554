#include "adbshell.h"

#include "adbserver.h"
#include "archivescripts.h"
#include "devicefiles.h"
#include "devicestate.h"
#include "packagemanager.h"
#include "ziparchive.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonObject>
#include <QMap>

#include <cctype>

namespace {

constexpr int MaxDepth = 4;
constexpr qint64 MaxCatSize = 16 * 1024 * 1024;

QByteArray quoted(const QByteArray &path)
{
    return '\'' + path + '\'';
}

// The options (words starting with "-") before the first operand, as one string of letters.
QByteArray takeFlags(QList<QByteArray> &args)
{
    QByteArray flags;
    while (!args.isEmpty() && args.first().startsWith('-') && args.first().size() > 1)
        flags += args.takeFirst().mid(1);
    return flags;
}

QByteArray modeText(const QFileInfo &info)
{
    QByteArray text = info.isSymLink() ? "l" : info.isDir() ? "d" : "-";
    const QFile::Permission bits[9] = {QFile::ReadOwner, QFile::WriteOwner, QFile::ExeOwner,
                                       QFile::ReadGroup, QFile::WriteGroup, QFile::ExeGroup,
                                       QFile::ReadOther, QFile::WriteOther, QFile::ExeOther};
    for (int i = 0; i < 9; ++i)
        text += (info.permissions() & bits[i]) ? "rwx"[i % 3] : '-';
    return text;
}

} // namespace

AdbShell::AdbShell(AdbServer *server)
    : server(server)
{
}

QList<AdbShell::Token> AdbShell::tokenize(const QByteArray &line)
{
    QList<Token> tokens;
    Token current;
    bool inWord = false;
    auto endWord = [&] {
        if (inWord)
            tokens << current;
        current = Token();
        inWord = false;
    };
    for (int i = 0; i < line.size(); ++i) {
        const char c = line.at(i);
        if (c == '\'') {
            const int close = line.indexOf('\'', i + 1);
            const int end = close < 0 ? line.size() : close;
            current.text += line.mid(i + 1, end - i - 1);
            inWord = true;
            i = end;
        } else if (c == '"') {
            inWord = true;
            for (++i; i < line.size() && line.at(i) != '"'; ++i) {
                if (line.at(i) == '\\' && i + 1 < line.size() && QByteArray("\"\\$`").contains(line.at(i + 1)))
                    ++i;
                current.text += line.at(i);
            }
        } else if (c == '\\' && i + 1 < line.size()) {
            current.text += line.at(++i);
            inWord = true;
        } else if (c == ' ' || c == '\t' || c == '\n' || c == '\r') {
            endWord();
        } else if (c == '<' || c == '>') {
            // Redirections are read and dropped: output always comes back on the stream.
            const bool descriptor = current.text.size() == 1 && isdigit(static_cast<unsigned char>(current.text.at(0)));
            if (descriptor)
                current = Token();
            inWord = inWord && !descriptor;
            endWord();
            while (i + 1 < line.size() && (line.at(i + 1) == '>' || line.at(i + 1) == '&'))
                ++i;
            const bool toDescriptor = line.at(i) == '&';
            tokens << Token{toDescriptor ? QByteArray(">&") : QByteArray(1, c), true};
        } else if (c == ';' || ((c == '&' || c == '|') && i + 1 < line.size() && line.at(i + 1) == c)) {
            endWord();
            tokens << Token{c == ';' ? QByteArray(";") : QByteArray(2, c), true};
            if (c != ';')
                ++i;
        } else {
            current.text += c;
            inWord = true;
        }
    }
    endWord();
    return tokens;
}

QByteArray AdbShell::run(const QByteArray &commandLine)
{
    QByteArray out;
    runLine(commandLine, out, 0);
    return out;
}

int AdbShell::runLine(const QByteArray &commandLine, QByteArray &out, int depth)
{
    int status = 0;
    QByteArray pendingOperator;
    QList<QByteArray> words;
    const QList<Token> tokens = tokenize(commandLine) << Token{";", true};
    bool redirectTarget = false;
    for (const Token &token : tokens) {
        if (!token.isOperator) {
            if (!redirectTarget)
                words << token.text;
            redirectTarget = false;
            continue;
        }
        if (token.text == "<" || token.text == ">" || token.text == ">&") {
            redirectTarget = true;
            continue;
        }
        const bool skip = (pendingOperator == "&&" && status != 0) || (pendingOperator == "||" && status == 0);
        if (!words.isEmpty() && !skip)
            status = execute(words, out, depth);
        words.clear();
        pendingOperator = token.text;
    }
    return status;
}

int AdbShell::execute(const QList<QByteArray> &words, QByteArray &out, int depth)
{
    QList<QByteArray> args = words;
    const QByteArray name = args.takeFirst();
    const DeviceFiles *files = server->files();
    if (name == "echo") {
        const bool newline = args.value(0) != "-n";
        if (!newline)
            args.removeFirst();
        out += args.join(' ') + (newline ? "\n" : "");
        return 0;
    }
    if (name == "true" || name == "exit" || name == "export")
        return 0;
    if (name == "exec" && !args.isEmpty())
        return execute(args, out, depth);
    if (name == "logcat") {
        // The device's log as far as a simulator has one; without -d it follows, as logcat
        // does, and the stream stays open until the host closes it.
        out += "--------- beginning of main\n"
               + QDateTime::currentDateTime().toString(QStringLiteral("MM-dd HH:mm:ss.zzz")).toLatin1()
               + " I/devicesim(    1): device ready\n";
        following = !args.contains("-d");
        return 0;
    }
    if (name == "false")
        return 1;
    if (name == "id" || name == "whoami") {
        out += name == "id" ? "uid=2000(shell) gid=2000(shell) groups=2000(shell)\n" : "shell\n";
        return 0;
    }
    if (name == "getprop")
        return getprop(args, out);
    if (name == "ls")
        return list(args, out);
    if (name == "mkdir")
        return makeDirectories(args, out);
    if (name == "rm" || name == "rmdir")
        return remove(name == "rmdir" ? QList<QByteArray>{"-d"} + args : args, out);
    if (name == "cat")
        return concatenate(args, out);
    if (name == "unzip")
        return listArchive(args, out);
    if (name == "pm")
        return packageCommand(args, out);
    if (name == "/system/bin/check-archive.sh" || name == "/system/bin/flash-archive.sh") {
        if (args.size() != 1) {
            out += name + ": usage: " + name + " ARCHIVE\n";
            return 2;
        }
        const ArchiveScripts scripts(files);
        QJsonObject entry;
        const int status = name.endsWith("check-archive.sh") ? scripts.check(args.first(), out, &entry)
                                                             : scripts.flash(args.first(), out, &entry);
        server->record(entry);
        return status;
    }
    if (name == "am")
        return activityCommand(args, out);
    if (name == "touch" || name == "mv") {
        const QString first = files->hostPath(args.value(0));
        const bool done = name == "touch" ? !first.isEmpty() && QFile(first).open(QIODevice::Append)
                                          : args.size() == 2 && QFile::rename(first, files->hostPath(args.at(1)));
        if (!done)
            out += name + ": " + quoted(args.value(0)) + ": failed\n";
        return done ? 0 : 1;
    }
    if (name == "sh" && args.value(0) == "-c" && depth < MaxDepth)
        return runLine(args.value(1), out, depth + 1);
    out += "/system/bin/sh: " + name + ": not found\n";
    return 127;
}

int AdbShell::getprop(const QList<QByteArray> &args, QByteArray &out)
{
    const DeviceState *state = server->state();
    const QString release = state->value(Calderwick::Parameter::AndroidVersion).toString();
    QMap<QByteArray, QByteArray> properties{
        {"ro.build.version.release", release.toUtf8()},
        {"ro.build.version.sdk", "28"},
        {"ro.build.product", "calderwick"},
        {"ro.product.manufacturer", "Calderwick"},
        {"ro.product.model", "Calderwick"},
        {"ro.product.name", "calderwick"},
        {"ro.product.device", "calderwick"},
        {"ro.serialno", server->hostAddress().toString().toUtf8() + ":5555"},
        {"sys.boot_completed", "1"},
        {"caldd.version", state->value(Calderwick::Parameter::CalderwickVersion).toString().toUtf8()},
        {"caldd.build", state->value(Calderwick::Parameter::BuildNumber).toString().toUtf8()},
    };
    if (server->isPhone()) {
        properties.remove("caldd.version");
        properties.remove("caldd.build");
        properties.insert("ro.product.manufacturer", "Brackenlea");
        properties.insert("ro.build.product", "pocketphone");
        properties.insert("ro.build.version.release", "4.4.2");
    }
    if (!args.isEmpty()) {
        out += properties.value(args.first()) + '\n';
        return 0;
    }
    for (auto it = properties.cbegin(); it != properties.cend(); ++it)
        out += '[' + it.key() + "]: [" + it.value() + "]\n";
    return 0;
}

int AdbShell::list(const QList<QByteArray> &arguments, QByteArray &out)
{
    QList<QByteArray> args = arguments;
    const QByteArray flags = takeFlags(args);
    if (args.isEmpty())
        args << "/";
    int status = 0;
    for (const QByteArray &path : args) {
        const QString host = server->files()->hostPath(path);
        const QFileInfo info(host);
        if (host.isEmpty() || !(info.exists() || info.isSymLink())) {
            out += "ls: " + path + ": No such file or directory\n";
            status = 1;
            continue;
        }
        QList<QFileInfo> entries;
        if (info.isDir()) {
            QDir::Filters filter = QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot;
            if (flags.contains('a'))
                filter |= QDir::Hidden;
            entries = QDir(host).entryInfoList(filter, QDir::Name);
        } else {
            entries << info;
        }
        for (const QFileInfo &entry : entries) {
            const QByteArray shown = info.isDir() ? DeviceFiles::nameBytes(entry.fileName()) : path;
            if (flags.contains('l')) {
                out += modeText(entry) + " shell shell " + QByteArray::number(entry.isDir() ? 4096 : entry.size())
                       + ' ' + entry.lastModified().toString(QStringLiteral("yyyy-MM-dd HH:mm")).toLatin1() + ' ';
            }
            out += shown + '\n';
        }
    }
    return status;
}

int AdbShell::makeDirectories(const QList<QByteArray> &arguments, QByteArray &out)
{
    QList<QByteArray> args = arguments;
    const bool parents = takeFlags(args).contains('p');
    int status = 0;
    for (const QByteArray &path : args) {
        const QString host = server->files()->hostPath(path);
        const QFileInfo info(host);
        QString problem;
        if (host.isEmpty())
            problem = QStringLiteral("Permission denied");
        else if (info.exists() && !(parents && info.isDir()))
            problem = QStringLiteral("File exists");
        else if (!info.exists() && !(parents ? QDir().mkpath(host) : QDir().mkdir(host)))
            problem = QFileInfo(info.absolutePath()).isDir() ? QStringLiteral("Permission denied")
                                                             : QStringLiteral("No such file or directory");
        if (!problem.isEmpty()) {
            // The wording of the device's toolbox, which callers search for "failed".
            out += "mkdir failed for " + path + ", " + problem.toUtf8() + '\n';
            status = 1;
        }
    }
    return status;
}

int AdbShell::remove(const QList<QByteArray> &arguments, QByteArray &out)
{
    QList<QByteArray> args = arguments;
    const QByteArray flags = takeFlags(args);
    const bool recursive = flags.contains('r') || flags.contains('R');
    const bool force = flags.contains('f');
    int status = 0;
    for (const QByteArray &path : args) {
        const QString host = server->files()->hostPath(path);
        const QFileInfo info(host);
        QByteArray problem;
        if (host.isEmpty() || host == server->files()->root())
            problem = "Permission denied";
        else if (!info.exists() && !info.isSymLink())
            problem = force ? QByteArray() : QByteArray("No such file or directory");
        else if (info.isDir() && !info.isSymLink()) {
            const bool removed = recursive ? QDir(host).removeRecursively()
                                 : flags.contains('d') ? QDir().rmdir(host)
                                                       : false;
            if (!removed)
                problem = recursive || flags.contains('d') ? "Directory not empty" : "Is a directory";
        } else if (!QFile::remove(host)) {
            problem = "Permission denied";
        }
        if (!problem.isEmpty()) {
            out += "rm: " + path + ": " + problem + '\n';
            status = 1;
        }
    }
    return status;
}

int AdbShell::concatenate(const QList<QByteArray> &args, QByteArray &out)
{
    int status = 0;
    for (const QByteArray &path : args) {
        QFile file(server->files()->hostPath(path));
        if (file.fileName().isEmpty() || QFileInfo(file.fileName()).isDir() || !file.open(QIODevice::ReadOnly)) {
            out += "cat: " + path + ": No such file or directory\n";
            status = 1;
        } else if (file.size() > MaxCatSize) {
            out += "cat: " + path + ": File too large\n";
            status = 1;
        } else {
            out += file.readAll();
        }
    }
    return status;
}

int AdbShell::listArchive(const QList<QByteArray> &args, QByteArray &out)
{
    if (args.size() != 2 || args.first() != "-l") {
        out += "unzip: only \"unzip -l FILE\" is available\n";
        return 1;
    }
    QFile file(server->files()->hostPath(args.at(1)));
    ZipArchive archive;
    QString error;
    if (file.fileName().isEmpty() || !file.open(QIODevice::ReadOnly) || !archive.open(&file, &error)) {
        out += "unzip: " + args.at(1) + ": " + (error.isEmpty() ? QByteArray("No such file") : error.toUtf8()) + '\n';
        return 9;
    }
    out += "Archive:  " + args.at(1) + "\n  Length      Date    Time    Name\n---------  ---------- -----   ----\n";
    quint64 total = 0;
    for (const ZipArchive::Entry &entry : archive.entries()) {
        out += QByteArray::number(entry.size).rightJustified(9) + "  "
               + entry.modified.toString(QStringLiteral("yyyy-MM-dd HH:mm")).toLatin1() + "   " + entry.name + '\n';
        total += entry.size;
    }
    out += "---------                     -------\n" + QByteArray::number(total).rightJustified(9)
           + "                     " + QByteArray::number(archive.entries().size()) + " files\n";
    return 0;
}

int AdbShell::packageCommand(const QList<QByteArray> &arguments, QByteArray &out)
{
    QList<QByteArray> args = arguments;
    const QByteArray verb = args.isEmpty() ? QByteArray() : args.takeFirst();
    PackageManager *packages = server->packages();
    if (verb == "install" && !args.isEmpty()) {
        const bool replace = args.contains("-r");
        const QString result = packages->install(args.last(), replace);
        out += result.toUtf8() + '\n';
        return result == QLatin1String("Success") ? 0 : 1;
    }
    if (verb == "uninstall" && !args.isEmpty()) {
        const QString result = packages->uninstall(QString::fromUtf8(args.last()));
        out += result.toUtf8() + '\n';
        return result == QLatin1String("Success") ? 0 : 1;
    }
    if (verb == "list" && args.value(0) == "packages") {
        for (const QString &name : packages->packages())
            out += "package:" + name.toUtf8() + '\n';
        return 0;
    }
    if (verb == "path" && args.size() == 1 && packages->isInstalled(QString::fromUtf8(args.first()))) {
        out += "package:/data/app/" + args.first() + "/base.apk\n";
        return 0;
    }
    out += "Error: unknown or incomplete pm command\n";
    return 1;
}

int AdbShell::activityCommand(const QList<QByteArray> &arguments, QByteArray &out)
{
    QList<QByteArray> args = arguments;
    const QByteArray verb = args.isEmpty() ? QByteArray() : args.takeFirst();
    QByteArray action;
    QByteArray component;
    bool wait = false;
    for (int i = 0; i < args.size(); ++i) {
        const QByteArray &arg = args.at(i);
        if (arg == "-a")
            action = args.value(++i);
        else if (arg == "-n")
            component = args.value(++i);
        else if (arg == "-W")
            wait = true;
        else if (arg == "-c" || arg == "-d" || arg == "-t" || arg == "-f" || arg == "--user")
            ++i;
        else if (arg.startsWith("--e") || arg == "-e")
            i += 2;
    }
    QByteArray intent = "Intent { ";
    if (!action.isEmpty())
        intent += "act=" + action + ' ';
    if (!component.isEmpty())
        intent += "cmp=" + component + ' ';
    intent += '}';
    PackageManager *packages = server->packages();
    if (verb == "broadcast") {
        packages->recordBroadcast(QString::fromUtf8(action));
        out += "Broadcasting: " + intent + "\nBroadcast completed: result=0\n";
        return 0;
    }
    if (verb == "force-stop")
        return 0;
    if (verb != "start") {
        out += "Error: unknown am command\n";
        return 1;
    }
    const QByteArray package = component.left(component.indexOf('/'));
    const bool started = component.contains('/') && packages->isInstalled(QString::fromUtf8(package));
    packages->recordActivityStart(QString::fromUtf8(component), QString::fromUtf8(action), started);
    out += "Starting: " + intent + '\n';
    if (!started) {
        out += "Error: Activity not started, unable to resolve " + intent + '\n';
        return 1;
    }
    if (wait)
        out += "Status: ok\nActivity: " + component + "\nThisTime: 120\nTotalTime: 120\nWaitTime: 130\nComplete\n";
    return 0;
}
