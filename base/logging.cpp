#include "logging.h"

#include <QDate>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QLocale>
#include <QMutex>
#include <QMutexLocker>
#include <QTextStream>
#include <QTime>

#include <algorithm>
#include <cstdio>
#include <vector>
#include <memory>

namespace {

// Lines of one key (a message text, or a leading tag) within the current window.
struct Burst
{
    qint64 windowStart = 0;
    quint64 sequence = 0;
    int written = 0;
    int suppressed = 0;
    QtMsgType type = QtDebugMsg;
    QString last; // the last message left out
};

// Past this many keys the oldest windows are closed at once, so the table stays small
// whatever a peer sends.
constexpr int MaxBursts = 256;

struct LogState
{
    QMutex mutex;
    QString applicationName;
    std::unique_ptr<QFile> file;
    std::unique_ptr<QFile> previous; // the open file of the installation before, until file opens
    QIODevice::OpenMode openMode = QIODevice::Append;
    qint64 fileBytes = 0;
    LogLimits limits;
    QHash<QString, Burst> bursts;
    quint64 burstsBegun = 0;
    QElapsedTimer clock;

    ~LogState();
};

LogState &state()
{
    static LogState s;
    return s;
}

QString severityText(QtMsgType type, const QString &message)
{
    switch (type) {
    case QtDebugMsg:
        return QStringLiteral("[Debug] %1").arg(message);
    case QtWarningMsg:
        return QStringLiteral("[Warning] %1").arg(message);
    case QtCriticalMsg:
        return QStringLiteral("[Error] %1").arg(message);
    case QtFatalMsg:
        return QStringLiteral("[Fatal] %1").arg(message);
    default:
        return QString(); // there is no info level in the file
    }
}

void writeStdout(const QString &text)
{
    QTextStream out(stdout);
    out << text << '\n';
    out.flush();
}

// All below run with the state's mutex held.

bool openFile(LogState &s)
{
    const QFileInfo info(*s.file);
    const QString path = info.absoluteFilePath();
    QDir().mkpath(info.absolutePath()); // a first run has no ~/.Brackenlea yet
    if (!s.file->open(s.openMode | QIODevice::WriteOnly)) {
        writeStdout(QStringLiteral("Error while opening log file: ") + path + QStringLiteral(": ")
                    + s.file->errorString());
        return false;
    }
    writeStdout(QStringLiteral("Logging activities to file: ") + path);
    s.fileBytes = s.file->size();
    return true;
}

void writeRaw(LogState &s, const QByteArray &bytes)
{
    // One write per line, flushed at once, so that a crash loses no line.
    s.file->write(bytes);
    s.file->flush();
    s.fileBytes += bytes.size();
}

QByteArray lineBytes(LogState &s, QtMsgType type, const QString &message)
{
    return formatLogLine(type, s.applicationName, message).toUtf8() + '\n';
}

void writeLine(LogState &s, QtMsgType type, const QString &message);

// The file is moved aside once, to "<file>.1", and begun anew: the newest lines are the
// ones a support request needs, and the disk use stays at twice the limit.
void rotate(LogState &s)
{
    const QString path = s.file->fileName();
    const QString aside = path + QStringLiteral(".1");
    const qint64 size = s.fileBytes;
    s.file->close();
    QFile::remove(aside);
    const bool moved = QFile::rename(path, aside);
    s.file->setFileName(path);
    if (!s.file->open((moved ? s.openMode : QIODevice::Truncate) | QIODevice::WriteOnly))
        return;
    s.fileBytes = s.file->size();
    writeRaw(s, lineBytes(s, QtWarningMsg,
                          moved ? QStringLiteral("[Logging] The log reached %1 bytes; earlier lines are in %2")
                                      .arg(size)
                                      .arg(aside)
                                : QStringLiteral("[Logging] The log reached %1 bytes and was emptied").arg(size)));
}

// Opens the file at its first line. A move to a folder that cannot be written (a machine's
// log folder, say) must not lose the lines: they go on in the file used before, which
// says where they were meant to go.
bool ensureOpen(LogState &s)
{
    if (!s.file)
        return false;
    if (s.file->isOpen())
        return true;
    if (openFile(s)) {
        s.previous.reset();
        return true;
    }
    if (!s.previous)
        return false;
    const QString wanted = QFileInfo(*s.file).absoluteFilePath();
    const QString reason = s.file->errorString();
    s.file = std::move(s.previous);
    s.fileBytes = s.file->size();
    writeLine(s, QtWarningMsg,
              QStringLiteral("[Logging] Cannot write the log file %1 (%2); logging goes on in this file")
                  .arg(wanted, reason));
    return true;
}

void writeLine(LogState &s, QtMsgType type, const QString &message)
{
    if (!ensureOpen(s))
        return;
    const QByteArray bytes = lineBytes(s, type, message);
    if (s.fileBytes > 0 && s.fileBytes + bytes.size() > s.limits.maxBytes) {
        rotate(s);
        if (!s.file->isOpen())
            return;
    }
    writeRaw(s, bytes);
}

void writeSummary(LogState &s, const QString &key, const Burst &burst)
{
    if (burst.suppressed == 0)
        return;
    const QString text = key.startsWith(QLatin1Char('t'))
                             ? QStringLiteral("[Logging] \"%1\" repeated %2 times").arg(burst.last).arg(burst.suppressed)
                             : QStringLiteral("[Logging] %1 lines repeated %2 times, the last: \"%3\"")
                                   .arg(key.mid(1))
                                   .arg(burst.suppressed)
                                   .arg(burst.last);
    writeLine(s, burst.type, text);
}

// Writes the summaries of the bursts whose window has passed (all with force), in the
// order the bursts began, and forgets them.
void closeBursts(LogState &s, qint64 now, bool force)
{
    std::vector<std::pair<QString, Burst>> closed;
    for (auto it = s.bursts.begin(); it != s.bursts.end();) {
        if (force || now - it->windowStart >= s.limits.windowMs) {
            if (it->suppressed > 0)
                closed.emplace_back(it.key(), *it);
            it = s.bursts.erase(it);
        } else {
            ++it;
        }
    }
    std::sort(closed.begin(), closed.end(),
              [](const auto &a, const auto &b) { return a.second.sequence < b.second.sequence; });
    for (const auto &burst : closed)
        writeSummary(s, burst.first, burst.second);
}

// The leading "[Tag]" (or "[Class][method]") of a message, empty if it has none.
QString tagOf(const QString &message)
{
    if (!message.startsWith(QLatin1Char('[')))
        return QString();
    int end = message.indexOf(QLatin1Char(']'));
    while (end > 0 && end + 1 < message.size() && message.at(end + 1) == QLatin1Char('['))
        end = message.indexOf(QLatin1Char(']'), end + 1);
    return end > 0 ? message.left(end + 1) : QString();
}

// Counts the message against its key; false when the key has used up its window.
bool admit(LogState &s, const QString &key, int allowed, qint64 now, QtMsgType type, const QString &message)
{
    auto it = s.bursts.find(key);
    if (it == s.bursts.end()) {
        if (s.bursts.size() >= MaxBursts)
            closeBursts(s, now, true);
        it = s.bursts.insert(key, Burst());
        it->windowStart = now;
        it->sequence = ++s.burstsBegun;
    }
    if (it->written < allowed) {
        ++it->written;
        return true;
    }
    ++it->suppressed;
    it->type = type;
    it->last = message;
    return false;
}

LogState::~LogState()
{
    // Bursts still open at the end of the process are told in its last lines.
    QMutexLocker lock(&mutex);
    closeBursts(*this, 0, true);
}

void messageHandler(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    LogState &s = state();
    // The lock keeps a concurrent installLogging from pulling the file away under a writer,
    // and the burst table whole.
    QMutexLocker lock(&s.mutex);
    if (!s.file)
        return;
    if (!s.clock.isValid())
        s.clock.start();
    const qint64 now = s.clock.elapsed();
    closeBursts(s, now, false);
    if (type != QtFatalMsg) {
        if (!admit(s, QStringLiteral("t") + message, s.limits.linesPerBurst, now, type, message))
            return;
        const QString tag = tagOf(message);
        if (!tag.isEmpty() && !admit(s, QStringLiteral("g") + tag, s.limits.tagLinesPerBurst, now, type, message))
            return;
    }
    writeLine(s, type, message);
}

} // namespace

QString formatLogLine(QtMsgType type, const QString &applicationName, const QString &message)
{
    // The C locale keeps the month English whatever the user's language: "Nov 14", not "nov. 14".
    return QLocale::c().toString(QDate::currentDate(), QStringLiteral("MMM d")) + QLatin1Char(' ')
           + QTime::currentTime().toString() + QStringLiteral(" [") + applicationName
           + QStringLiteral("] ") + severityText(type, message);
}

void installLogging(const QString &applicationName, const QString &filePath, QIODevice::OpenMode openMode)
{
    LogState &s = state();
    {
        QMutexLocker lock(&s.mutex);
        closeBursts(s, 0, true);
        // The file in use stays at hand until the new one has opened.
        if (s.file && s.file->isOpen())
            s.previous = std::move(s.file);
        s.applicationName = applicationName;
        s.file = std::make_unique<QFile>(filePath);
        s.openMode = openMode;
    }
    qInstallMessageHandler(messageHandler);
}

QString logFilePath()
{
    LogState &s = state();
    QMutexLocker lock(&s.mutex);
    return s.file ? s.file->fileName() : QString();
}

void setLogLimits(const LogLimits &limits)
{
    LogState &s = state();
    QMutexLocker lock(&s.mutex);
    s.limits = limits;
}
