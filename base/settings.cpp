#include "settings.h"

#include <QDir>
#include <QHash>
#include <QMutex>
#include <QMutexLocker>
#include <QSettings>

#include <memory>

namespace {

QSettings &appStore()
{
    // QSettings itself is thread-safe; a function-local static makes creation safe too.
    static QSettings store(QStringLiteral("Brackenlea"), QStringLiteral("Calderwick"));
    return store;
}

QMutex deviceStoresMutex;

QSettings &deviceStore(const QString &vmName)
{
    static QHash<QString, std::shared_ptr<QSettings>> stores;
    QMutexLocker lock(&deviceStoresMutex);
    auto &slot = stores[vmName];
    if (!slot) {
        const QString file = QDir(deviceDirectory(vmName)).filePath(QStringLiteral("calderwick-settings.cfg"));
        slot = std::make_shared<QSettings>(file, QSettings::IniFormat);
    }
    return *slot;
}

} // namespace

QVariant settingsValue(const QString &key, const QVariant &defaultValue)
{
    QSettings &s = appStore();
    s.sync();
    return s.value(key, defaultValue);
}

void setSettingsValue(const QString &key, const QVariant &value)
{
    QSettings &s = appStore();
    s.setValue(key, value);
    s.sync();
}

void removeSettingsValue(const QString &key)
{
    QSettings &s = appStore();
    s.remove(key);
    s.sync();
}

QVariant deviceSettingsValue(const QString &vmName, const QString &key, const QVariant &defaultValue)
{
    QSettings &s = deviceStore(vmName);
    s.sync();
    return s.value(key, defaultValue);
}

void setDeviceSettingsValue(const QString &vmName, const QString &key, const QVariant &value)
{
    QSettings &s = deviceStore(vmName);
    s.setValue(key, value);
    s.sync();
}

QString brackenleaDirectory()
{
    return QDir::homePath() + QStringLiteral("/.Brackenlea");
}

QString vmsPath()
{
    const QString fallback = brackenleaDirectory() + QStringLiteral("/Calderwick/deployed/");
    const QString path = settingsValue(QStringLiteral("vms.path"), fallback).toString();
    // An emptied setting must not turn "<vms.path>/<name>" into a path under the root.
    return path.trimmed().isEmpty() ? fallback : path;
}

QString deviceDirectory(const QString &vmName)
{
    return QDir::toNativeSeparators(QDir::cleanPath(vmsPath() + QLatin1Char('/') + vmName));
}

void migrateAndroidSdkSetting()
{
    const QString old = settingsValue(QStringLiteral("configuration_android_sdk_path")).toString();
    if (old.isEmpty())
        return;
    setSettingsValue(QStringLiteral("configuration_android_sdk_path"), QString());
    setSettingsValue(QStringLiteral("android.sdk.use"), true);
    setSettingsValue(QStringLiteral("android.sdk.path"), old);
}
