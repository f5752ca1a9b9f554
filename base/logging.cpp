#include "logging.h"

#include <QDate>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QMutex>
#include <QMutexLocker>
#include <QTextStream>
#include <QTime>

#include <cstdio>
#include <memory>

namespace {

struct LogState
{
    QMutex mutex;
    QString applicationName;
    std::unique_ptr<QFile> file;
    QIODevice::OpenMode openMode = QIODevice::Append;
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

void messageHandler(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    LogState &s = state();
    // The lock only keeps a concurrent installLogging from pulling the file away
    // under a writer; one stream per message keeps lines whole on their own.
    QMutexLocker lock(&s.mutex);
    if (!s.file)
        return;
    const QString line = formatLogLine(type, s.applicationName, message);
    if (!s.file->isOpen()) {
        const QFileInfo info(*s.file);
        const QString path = info.absoluteFilePath();
        QDir().mkpath(info.absolutePath()); // a first run has no ~/.Brackenlea yet
        if (s.file->open(s.openMode | QIODevice::WriteOnly)) {
            writeStdout(QStringLiteral("Logging activities to file: ") + path);
        } else {
            writeStdout(QStringLiteral("Error while opening log file: ") + path + QStringLiteral(": ")
                        + s.file->errorString());
            return;
        }
    }
    QTextStream stream(s.file.get());
    stream << line << '\n';
    stream.flush();
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
