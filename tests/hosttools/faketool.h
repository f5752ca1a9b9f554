#pragma once

// A stand-in for adb or aapt: a shell script, written into a directory of the test's
// choice, that records each call and answers from files the test scripted.
//
// Each call appends one line to "<dir>/.<name>/calls": the time in nanoseconds, the
// process id, then every argument, separated by the unit separator 0x1f. The answer is looked up under
// "<dir>/.<name>/", first by the whole argument list joined with '_' ("-s_<serial>_shell_getprop"
// for "-s <serial> shell getprop", '/' written '%', ' ' written '+'), then by the command word (the
// first argument, or the third after "-s <serial>"):
//   <key>.out  printed on standard output     <key>.err  printed on standard error
//   <key>.sleep  seconds to wait afterwards   <key>.code exit code, default 0
// A key with a wait but no exit code keeps the process alive for that long (exec), so
// killing the tool leaves nothing behind.

#include <QDir>
#include <QFile>
#include <QList>
#include <QString>
#include <QStringList>

class FakeTool
{
public:
    FakeTool() = default;
    FakeTool(const QString &directory, const QString &name) { install(directory, name); }

    bool install(const QString &directory, const QString &name)
    {
        m_path = QDir(directory).filePath(name);
        m_state = QDir(directory).filePath(QLatin1Char('.') + name);
        QDir().mkpath(m_state);
        QFile script(m_path);
        if (!script.open(QIODevice::WriteOnly | QIODevice::Truncate))
            return false;
        script.write(R"SH(#!/bin/sh
state="$(dirname "$0")/.$(basename "$0")"
# One write per call: tools started together must not interleave their lines.
line=$(printf '%s\037%s' "$(date +%s%N)" "$$"; for a in "$@"; do printf '\037%s' "$a"; done)
printf '%s\n' "$line" >> "$state/calls"
full=$(printf '%s_' "$@" | tr '/ ' '%+'); full=${full%_}
if [ "$1" = "-s" ]; then word=$3; else word=$1; fi
key=$word
for k in "$full" ; do
  if [ -e "$state/$k.out" ] || [ -e "$state/$k.code" ] || [ -e "$state/$k.sleep" ] || [ -e "$state/$k.err" ]; then key=$k; fi
done
[ -e "$state/$key.out" ] && cat "$state/$key.out"
[ -e "$state/$key.err" ] && cat "$state/$key.err" >&2
if [ -e "$state/$key.sleep" ]; then
  if [ -e "$state/$key.code" ]; then sleep "$(cat "$state/$key.sleep")"; else exec sleep "$(cat "$state/$key.sleep")"; fi
fi
[ -e "$state/$key.code" ] && exit "$(cat "$state/$key.code")"
exit 0
)SH");
        script.close();
        return QFile::setPermissions(m_path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    QString path() const { return m_path; }
    QString callsFile() const { return m_state + QStringLiteral("/calls"); }

    // key: "install", "devices", "shell_getprop", ...
    void answer(const QString &key, const QByteArray &out, int code = 0, double sleepSeconds = 0,
                const QByteArray &err = QByteArray())
    {
        for (const char *suffix : {".out", ".err", ".code", ".sleep"})
            QFile::remove(m_state + QLatin1Char('/') + key + QLatin1String(suffix));
        write(key + QStringLiteral(".out"), out);
        if (code >= 0)
            write(key + QStringLiteral(".code"), QByteArray::number(code));
        if (sleepSeconds > 0)
            write(key + QStringLiteral(".sleep"), QByteArray::number(sleepSeconds));
        if (!err.isEmpty())
            write(key + QStringLiteral(".err"), err);
    }

    // Prints the text and stays up for the given time, like a shell or a capture.
    void answerAndStay(const QString &key, const QByteArray &out, double seconds) { answer(key, out, -1, seconds); }

    // Every scripted answer goes; calls stay.
    void clearAnswers()
    {
        for (const QString &name : QDir(m_state).entryList(QDir::Files))
            if (name != QLatin1String("calls"))
                QFile::remove(m_state + QLatin1Char('/') + name);
    }

    void clearCalls() { QFile::remove(callsFile()); }

    // The argument lists of every call so far, oldest first.
    QList<QStringList> calls() const
    {
        QList<QStringList> result;
        for (const Call &call : timedCalls())
            result << call.arguments;
        return result;
    }

    struct Call
    {
        qint64 nanoseconds;
        qint64 pid; // stays the same across the wait of a key without exit code
        QStringList arguments;
    };

    QList<Call> timedCalls() const
    {
        QList<Call> result;
        QFile file(callsFile());
        if (!file.open(QIODevice::ReadOnly))
            return result;
        for (const QByteArray &line : file.readAll().split('\n')) {
            if (line.isEmpty())
                continue;
            QStringList fields = QString::fromUtf8(line).split(QChar(0x1f));
            const qint64 time = fields.takeFirst().toLongLong();
            const qint64 pid = fields.isEmpty() ? 0 : fields.takeFirst().toLongLong();
            result << Call{time, pid, fields};
        }
        return result;
    }

private:
    void write(const QString &name, const QByteArray &data)
    {
        QFile file(m_state + QLatin1Char('/') + name);
        if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            file.write(data);
    }

    QString m_path;
    QString m_state;
};
