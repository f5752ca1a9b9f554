#pragma once

// The whole player program over simulated machines: each home is a temporary HOME with its
// own devicesim store, settings, statistics and temporary directory, the VBoxManage
// stand-in first on PATH and adb taken from an SDK folder holding a stand-in. Needs
// CALDERWICK_BIN_DIR (set by calderwick_add_test).

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QVector>
#include <QtTest>

class SimulatedPlayer
{
public:
    struct Home
    {
        QString path;
        QString store; // DEVICESIM_HOME
    };

    static QString bin() { return QStringLiteral(CALDERWICK_BIN_DIR); }

    // A fresh home; statistics are kept in ~/.Brackenlea/stats.db only with statistics on.
    Home newHome(bool statistics)
    {
        Home home;
        home.path = m_root.filePath(QStringLiteral("home%1").arg(m_homes.size() + 1));
        home.store = home.path + QStringLiteral("/devicesim");
        m_homes << home;
        QDir().mkpath(home.path + QStringLiteral("/tmp"));
        QDir().mkpath(home.path + QStringLiteral("/.config/Brackenlea"));
        // An adb that answers every call with success: no real adb server starts beside
        // the tests.
        const QString tools = home.path + QStringLiteral("/sdk/platform-tools");
        QDir().mkpath(tools);
        QFile adb(tools + QStringLiteral("/adb"));
        if (adb.open(QIODevice::WriteOnly)) {
            adb.write("#!/bin/sh\nexit 0\n");
            adb.close();
            adb.setPermissions(adb.permissions() | QFileDevice::ExeOwner);
        }
        setSdk(home, home.path + QStringLiteral("/sdk"), statistics);
        return home;
    }

    // Points the player at another SDK folder (one without adb, say).
    static void setSdk(const Home &home, const QString &sdk, bool statistics)
    {
        QFile settings(home.path + QStringLiteral("/.config/Brackenlea/Calderwick.conf"));
        if (settings.open(QIODevice::WriteOnly))
            settings.write("[General]\nstats.send.stats=" + QByteArray(statistics ? "true" : "false")
                           + "\nandroid.sdk.use=true\nandroid.sdk.path=" + sdk.toUtf8() + "\n");
    }

    // The player runs on the X server of the test run unless told "offscreen".
    QProcessEnvironment environment(const Home &home) const
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("HOME"), home.path);
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), home.path + QStringLiteral("/.config"));
        env.insert(QStringLiteral("TMPDIR"), home.path + QStringLiteral("/tmp"));
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), platform);
        env.insert(QStringLiteral("DEVICESIM_HOME"), home.store);
        env.insert(QStringLiteral("PATH"), bin() + QStringLiteral("/simtools:") + env.value(QStringLiteral("PATH")));
        env.remove(QStringLiteral("CALDERWICK_VBOXMANAGE"));
        for (const QString &key : extra.keys())
            env.insert(key, extra.value(key));
        return env;
    }

    // Runs a program to its end (20 s at most, else -1) and gives its exit status.
    int run(const Home &home, const QString &program, const QStringList &arguments, QByteArray *output = nullptr) const
    {
        QProcess process;
        process.setProcessEnvironment(environment(home));
        process.start(program, arguments);
        if (!process.waitForFinished(20000)) {
            process.kill();
            process.waitForFinished();
            return -1;
        }
        if (output)
            *output = process.readAllStandardOutput() + process.readAllStandardError();
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }

    int vboxManage(const Home &home, const QStringList &arguments, QByteArray *output = nullptr) const
    {
        return run(home, bin() + QStringLiteral("/simtools/VBoxManage"), arguments, output);
    }

    int createMachine(const Home &home, const QString &name, const QString &address, const QStringList &more = {}) const
    {
        return run(home, bin() + QStringLiteral("/devicesim"),
                   QStringList{QStringLiteral("create"), name, QStringLiteral("--size"), QStringLiteral("720x1280"),
                               QStringLiteral("--dpi"), QStringLiteral("320"), QStringLiteral("--address"), address}
                       + more);
    }

    static bool writeFaults(const Home &home, const QString &machine, const QByteArray &lines)
    {
        QFile faults(machineDir(home, machine) + QStringLiteral("/faults"));
        return faults.open(QIODevice::WriteOnly) && faults.write(lines) == lines.size();
    }

    static QString machineDir(const Home &home, const QString &machine)
    {
        return home.store + QStringLiteral("/machines/") + machine;
    }

    // A copy of the player and its render library in a folder of the root, with the engine
    // plug-in given (none if empty); gives the copy's path.
    QString install(const QString &folder, const QString &plugin = QString()) const
    {
        const QString dir = m_root.filePath(folder);
        QDir().mkpath(plugin.isEmpty() ? dir : dir + QStringLiteral("/plugins"));
        bool ok = true;
        for (const QString &file : {QStringLiteral("/player"), QStringLiteral("/lib64OpenglRender.so")})
            ok = copy(bin() + file, dir + file) && ok;
        if (!plugin.isEmpty())
            ok = copy(plugin, dir + QStringLiteral("/plugins/libvboxmanage.so")) && ok;
        return ok ? dir + QStringLiteral("/player") : QString();
    }

    // The player started in the background; the caller owns it.
    QProcess *startPlayer(const Home &home, const QStringList &arguments, const QString &program = QString()) const
    {
        auto *player = new QProcess;
        player->setProcessEnvironment(environment(home));
        player->start(program.isEmpty() ? bin() + QStringLiteral("/player") : program, arguments);
        player->waitForStarted(5000);
        return player;
    }

    // A file's lines, empty ones left out.
    static QStringList lines(const QString &path)
    {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return {};
        return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }

    // The messages ("[Debug] ...") of the player's log before the machine was found and of
    // the machine's own log folder afterwards.
    static QStringList log(const Home &home, const QString &machine)
    {
        QStringList messages;
        for (const QString &path : {home.path + QStringLiteral("/.Brackenlea/calderwick.log"),
                                    machineDir(home, machine) + QStringLiteral("/Logs/calderwick-player.log")}) {
            for (const QString &line : lines(path))
                messages << line.section(QStringLiteral("] "), 1);
        }
        return messages;
    }

    static bool waitForLog(const Home &home, const QString &machine, const QString &message, int ms = 30000)
    {
        return QTest::qWaitFor([&] { return log(home, machine).contains(message); }, ms);
    }

    // The simulated device's journal lines of one channel ("event" gives the accepted lines).
    static QStringList journal(const Home &home, const QString &machine, const QByteArray &channel)
    {
        return lines(machineDir(home, machine) + QStringLiteral("/Logs/devicesim-journal.jsonl"))
            .filter(QStringLiteral("\"channel\":\"%1\"").arg(QString::fromUtf8(channel)));
    }

    QByteArray machineState(const Home &home, const QString &machine) const
    {
        QByteArray output;
        vboxManage(home, {QStringLiteral("showvminfo"), machine, QStringLiteral("--machinereadable")}, &output);
        for (const QByteArray &line : output.split('\n')) {
            if (line.startsWith("VMState="))
                return line;
        }
        return output;
    }

    // Stand-in calls with their arguments, one a line.
    static QStringList vboxManageCalls(const Home &home) { return lines(home.store + QStringLiteral("/vboxmanage.log")); }

    // The decoded statistics records of one event ("player_start") of a home, oldest first,
    // read with the sqlite3 tool.
    static QStringList statsEvents(const Home &home, const QString &event)
    {
        QProcess sqlite;
        sqlite.start(QStringLiteral("sqlite3"), {home.path + QStringLiteral("/.Brackenlea/stats.db"),
                                                 QStringLiteral("SELECT data FROM stats ORDER BY id")});
        if (!sqlite.waitForFinished(10000))
            return {};
        QStringList records;
        for (const QByteArray &row : sqlite.readAllStandardOutput().split('\n'))
            records << QString::fromUtf8(QByteArray::fromBase64(row));
        return records.filter(QStringLiteral("\"event\":\"%1\"").arg(event));
    }

    // Orders POWEROFF and waits for the player to end; kills it if it does not.
    bool powerOff(const Home &home, const QString &machine, QProcess *player) const
    {
        const bool handed = run(home, bin() + QStringLiteral("/player"), {QStringLiteral("-n"), machine, QStringLiteral("-x")}) == 0;
        if (player->state() != QProcess::NotRunning && !player->waitForFinished(30000)) {
            player->kill();
            player->waitForFinished();
            return false;
        }
        return handed;
    }

    // Powers off every machine of every home, so a failed check leaves no device serving.
    void powerOffAll() const
    {
        for (const Home &home : m_homes) {
            for (const QString &name : QDir(home.store + QStringLiteral("/machines")).entryList(QDir::Dirs | QDir::NoDotAndDotDot))
                vboxManage(home, {QStringLiteral("controlvm"), name, QStringLiteral("poweroff")});
        }
    }

    QString root() const { return m_root.path(); }

    QString platform = QStringLiteral("xcb");
    QProcessEnvironment extra; // added to every process's environment

private:
    static bool copy(const QString &from, const QString &to)
    {
        QFile::remove(to);
        return QFile::copy(from, to) && QFile::setPermissions(to, QFile(from).permissions());
    }

    QTemporaryDir m_root;
    QVector<Home> m_homes;
};
