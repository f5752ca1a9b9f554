#include "aapt.h"

#include "toolprocess.h"

#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QMutex>
#include <QMutexLocker>
#include <QProcess>

namespace {

constexpr int Timeout = 30000;

QMutex pathMutex;
QString &storedPath()
{
    static QString path;
    return path;
}

void store(const QString &path)
{
    QMutexLocker lock(&pathMutex);
    storedPath() = path;
}

} // namespace

Aapt::Aapt(QObject *parent) : QObject(parent)
{
}

QString Aapt::aaptPath()
{
    {
        QMutexLocker lock(&pathMutex);
        if (!storedPath().isEmpty() && QFileInfo::exists(storedPath()))
            return storedPath();
    }
    if (ToolProcess::sdkInUse()) {
        const QString sdk = ToolProcess::sdkPath();
        if (sdk.isEmpty()) {
            qDebug() << "[Aapt]" << "Can't retrieve SDK: path not set";
            return QString();
        }
        const QString found = searchSdk(sdk);
        store(found);
        return found;
    }
    const QString bundled = ToolProcess::bundledPath(QStringLiteral("aapt"));
    if (QFileInfo(bundled).isFile()) {
        store(bundled);
        return bundled;
    }
    qDebug() << "[Aapt]" << "Can't retrieve SDK: file doesn't exist";
    return QString();
}

QString Aapt::searchSdk(const QString &sdk)
{
    QStringList directories;
    const QDir buildTools(sdk + QStringLiteral("/build-tools"));
    for (const QString &name : buildTools.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name | QDir::Reversed))
        directories << buildTools.filePath(name);
    directories << sdk + QStringLiteral("/platform-tools");
    const QDir platforms(sdk + QStringLiteral("/platforms"));
    for (const QString &name : platforms.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name))
        directories << platforms.filePath(name) + QStringLiteral("/tools");
    directories << sdk + QStringLiteral("/tools") << sdk;

    const QString found = ToolProcess::firstExisting(directories, QStringLiteral("aapt"));
    if (found.isEmpty())
        qDebug() << "[Aapt]" << "aapt not found";
    else
        qDebug().noquote() << "[Aapt]" << "aapt found at" << found;
    return found;
}

bool Aapt::badging(const QString &apkPath, ApkBadging &record)
{
    QProcess process;
    process.setReadChannel(QProcess::StandardOutput);
    // Warnings about unknown resources go to standard error; only the dump is read.
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(aaptPath(), {QStringLiteral("dump"), QStringLiteral("badging"), apkPath}, QIODevice::ReadOnly);
    if (!process.waitForStarted(Timeout)) {
        qDebug() << "[Aapt]" << "Can't run aapt command:" << process.errorString();
        return false;
    }
    if (!process.waitForFinished(Timeout)) {
        qDebug() << "[Aapt]" << "Can't wait for aapt command to finish:" << process.errorString();
        process.kill();
        process.waitForFinished(Timeout);
        return false;
    }
    if (process.bytesAvailable() == 0)
        process.waitForReadyRead(Timeout);
    record = ToolOutput::parseBadging(ToolProcess::readBounded(process, "[Aapt]"));
    return true;
}
