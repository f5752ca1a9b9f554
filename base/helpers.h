#pragma once

#include <QString>
#include <QStringList>

// Pure helpers shared by every subsystem.

struct DensityRow
{
    const char *name;
    int value;
};
// The one density table of the process, ending at the row with value 0 ("unknown").
extern const DensityRow DensityTable[10];

// -1, 0 or 1. Versions that are not dotted numbers compare equal to everything.
// parts < 0 compares as many components as the longer version has.
int compareVersions(const QString &a, const QString &b, int parts = -1);
// API level of a dotted Android version, 0 when unknown (4.0 is deliberately absent).
int androidVersionToApiLevel(const QString &version);
// true for "yes", "true", "1", "on", trimmed, any case.
bool parseBool(const QString &text);
// "1.50 KB", "512.00 bytes": two decimals and the largest unit below 1024.
QString formatSize(double bytes);
QString dpiName(int value);
// Density value for a name ("xhdpi", any case) or a number ("320") in the table, else -1.
int dpiFromString(const QString &text);
// 14 random digits followed by their Luhn check digit.
QString generateImei();
int computeImeiCheckDigit(const QString &first14);
// 16 random lower-case hexadecimal digits.
QString generateAndroidId();
void playSound(const QString &file);
QString osName();
QString cpuArchitecture();
// Starts "<directory or application directory>/player --vm-name <vmName> <extraArgs>" detached.
bool startPlayerProcess(const QString &vmName, const QStringList &extraArgs = QStringList(),
                        const QString &workingDir = QString(), const QString &directory = QString());
bool powerOffDevice(const QString &vmName, const QStringList &extraArgs = QStringList(),
                    const QString &workingDir = QString(), const QString &directory = QString());
// Recursive removal; a missing path counts as removed. Stops at the first failure.
bool removeDirectory(const QString &path);
// Sum of the sizes of the *.log, *.bin, *.txt and *.ova files under ~/.Brackenlea,
// removing them when asked.
int clearCache(bool remove);
QString networkAdapterModeName(int mode);
// "Unknown", "On", "Off", "Paused", "Process", "Aborted"; empty for other values.
QString machineStateName(int state);
