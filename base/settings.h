#pragma once

#include <QString>
#include <QVariant>

// Application-wide store: native QSettings of "Brackenlea"/"Calderwick", kept for the
// whole process. Reads synchronise with the disk first; writes synchronise after.
QVariant settingsValue(const QString &key, const QVariant &defaultValue = QVariant());
void setSettingsValue(const QString &key, const QVariant &value);
void removeSettingsValue(const QString &key);

// Per-device store: an INI file "calderwick-settings.cfg" in the device's directory.
QVariant deviceSettingsValue(const QString &vmName, const QString &key,
                             const QVariant &defaultValue = QVariant());
void setDeviceSettingsValue(const QString &vmName, const QString &key, const QVariant &value);

// "<home>/.Brackenlea", the root of everything the player keeps on disk.
QString brackenleaDirectory();
// The "vms.path" setting, with its default "<home>/.Brackenlea/Calderwick/deployed/".
QString vmsPath();
// "<vms.path>/<vmName>", with native separators.
QString deviceDirectory(const QString &vmName);

// Moves the obsolete "configuration_android_sdk_path" to "android.sdk.path".
void migrateAndroidSdkSetting();
