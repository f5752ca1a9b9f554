#include "toolprocess.h"

#include "helpers.h"
#include "settings.h"
#include "tooloutput.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QProcess>

namespace ToolProcess {

QString bundledPath(const QString &name)
{
    return QDir::toNativeSeparators(QCoreApplication::applicationDirPath() + QStringLiteral("/tools/")) + name;
}

QString firstExisting(const QStringList &directories, const QString &name)
{
    for (const QString &directory : directories) {
        const QString candidate = QDir::toNativeSeparators(directory + QLatin1Char('/')) + name;
        if (QFileInfo(candidate).isFile())
            return candidate;
    }
    return QString();
}

bool sdkInUse()
{
    return parseBool(settingsValue(QStringLiteral("android.sdk.use"), false).toString());
}

QString sdkPath()
{
    return settingsValue(QStringLiteral("android.sdk.path"), QString()).toString();
}

QByteArray readBounded(QProcess &process, const char *tag)
{
    QByteArray data = process.read(ToolOutput::MaxOutputBytes);
    qint64 dropped = 0;
    while (process.bytesAvailable() > 0)
        dropped += process.read(64 * 1024).size();
    if (dropped > 0)
        qWarning().noquote() << tag << "output longer than" << ToolOutput::MaxOutputBytes << "bytes:" << dropped
                             << "bytes ignored";
    return data;
}

QString joined(const QStringList &arguments)
{
    return arguments.join(QStringLiteral(", "));
}

} // namespace ToolProcess
