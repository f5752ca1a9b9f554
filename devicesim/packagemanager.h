#pragma once

#include <QMap>
#include <QObject>
#include <QStringList>

struct ApkInfo;
class DeviceFiles;
class QFile;
class Journal;

// The device's installed packages, as "pm" and "am" see them: name and signing certificate,
// the APK kept under /data/app/<name>/base.apk, the list in /data/system/packages.list so a
// restarted device still has them. Installs, removals, starts and broadcasts are journaled.
class PackageManager : public QObject
{
    Q_OBJECT

public:
    PackageManager(const DeviceFiles *files, Journal *journal, QObject *parent = nullptr);

    // "pm install [options] PATH": the text pm prints ("Success" or "Failure [WORD]").
    QString install(const QByteArray &devicePath, bool replace);
    QString uninstall(const QString &packageName);
    QStringList packages() const { return installed.keys(); }
    bool isInstalled(const QString &packageName) const { return installed.contains(packageName); }
    void recordActivityStart(const QString &component, const QString &action, bool started);
    void recordBroadcast(const QString &action);

signals:
    // An activity that "am start" resolved, as "package/.Activity"; a broadcast's action.
    void activityStarted(const QString &component);
    void broadcastSent(const QString &action);

private:
    // The failure word for installing this APK, empty when it may go in.
    QString check(QFile *apk, ApkInfo *info, bool replace) const;
    void load();
    void save() const;
    QString listPath() const;

    const DeviceFiles *files;
    Journal *journal;
    QMap<QString, QByteArray> installed; // package name -> certificate digest
};
