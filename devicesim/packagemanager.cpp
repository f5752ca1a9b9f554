#include "packagemanager.h"

#include "apkinfo.h"
#include "devicefiles.h"
#include "journal.h"

#include <QDir>
#include <QFile>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSaveFile>

PackageManager::PackageManager(const DeviceFiles *files, Journal *journal, QObject *parent)
    : QObject(parent)
    , files(files)
    , journal(journal)
{
    load();
}

QString PackageManager::install(const QByteArray &devicePath, bool replace)
{
    QFile apk(files->hostPath(devicePath));
    ApkInfo info;
    QString result = check(&apk, &info, replace);
    QJsonObject entry{{QStringLiteral("event"), QStringLiteral("install")},
                      {QStringLiteral("path"), QString::fromUtf8(devicePath)},
                      {QStringLiteral("package"), info.packageName}};
    if (result.isEmpty()) {
        const QString folder = files->hostPath("/data/app/" + info.packageName.toUtf8());
        QDir().mkpath(folder);
        QFile::remove(folder + QStringLiteral("/base.apk"));
        apk.close();
        if (!apk.copy(folder + QStringLiteral("/base.apk")))
            result = QStringLiteral("INSTALL_FAILED_INSUFFICIENT_STORAGE");
    }
    entry.insert(QStringLiteral("result"), result.isEmpty() ? QStringLiteral("Success") : result);
    journal->record(QStringLiteral("adb"), entry);
    if (!result.isEmpty())
        return QStringLiteral("Failure [%1]").arg(result);
    installed.insert(info.packageName, info.certificateDigest);
    save();
    return QStringLiteral("Success");
}

QString PackageManager::check(QFile *apk, ApkInfo *info, bool replace) const
{
    QString failure;
    if (apk->fileName().isEmpty() || !apk->open(QIODevice::ReadOnly))
        return QStringLiteral("INSTALL_FAILED_INVALID_URI");
    if (!ApkInfo::read(apk, info, &failure))
        return failure;
    static const QRegularExpression validName(QStringLiteral("^[A-Za-z][A-Za-z0-9_]*(\\.[A-Za-z][A-Za-z0-9_]*)+$"));
    if (!validName.match(info->packageName).hasMatch())
        return QStringLiteral("INSTALL_PARSE_FAILED_BAD_PACKAGE_NAME");
    if (!installed.contains(info->packageName))
        return QString();
    // The word the player's uninstall-and-retry path reacts to.
    if (installed.value(info->packageName) != info->certificateDigest)
        return QStringLiteral("INSTALL_PARSE_FAILED_INCONSISTENT_CERTIFICATES");
    return replace ? QString() : QStringLiteral("INSTALL_FAILED_ALREADY_EXISTS");
}

QString PackageManager::uninstall(const QString &packageName)
{
    const bool known = installed.remove(packageName) > 0;
    journal->record(QStringLiteral("adb"), {{QStringLiteral("event"), QStringLiteral("uninstall")},
                                            {QStringLiteral("package"), packageName},
                                            {QStringLiteral("result"), known}});
    if (!known)
        return QStringLiteral("Failure [DELETE_FAILED_INTERNAL_ERROR]");
    QDir(files->hostPath("/data/app/" + packageName.toUtf8())).removeRecursively();
    save();
    return QStringLiteral("Success");
}

void PackageManager::recordActivityStart(const QString &component, const QString &action, bool started)
{
    journal->record(QStringLiteral("adb"), {{QStringLiteral("event"), QStringLiteral("start")},
                                            {QStringLiteral("component"), component},
                                            {QStringLiteral("action"), action},
                                            {QStringLiteral("started"), started}});
    if (started)
        emit activityStarted(component);
}

void PackageManager::recordBroadcast(const QString &action)
{
    journal->record(QStringLiteral("adb"),
                    {{QStringLiteral("event"), QStringLiteral("broadcast")}, {QStringLiteral("action"), action}});
    emit broadcastSent(action);
}

QString PackageManager::listPath() const
{
    return files->hostPath("/data/system/packages.list");
}

void PackageManager::load()
{
    QFile list(listPath());
    if (!list.open(QIODevice::ReadOnly))
        return;
    while (!list.atEnd()) {
        const QList<QByteArray> fields = list.readLine(4096).trimmed().split(' ');
        if (fields.size() == 2)
            installed.insert(QString::fromUtf8(fields.at(0)), fields.at(1));
    }
}

void PackageManager::save() const
{
    QDir().mkpath(files->hostPath("/data/system"));
    QSaveFile list(listPath());
    if (!list.open(QIODevice::WriteOnly))
        return;
    for (auto it = installed.cbegin(); it != installed.cend(); ++it)
        list.write(it.key().toUtf8() + ' ' + it.value() + '\n');
    list.commit();
}
