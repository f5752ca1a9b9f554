#include "helpers.h"

#include "settings.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QProcess>
#include <QRegExp>
#include <QSysInfo>

#include <cstdlib>

const DensityRow DensityTable[10] = {
    {"ldpi", 120},   {"mdpi", 160},   {"tvdpi", 213},   {"hdpi", 240},     {"xhdpi", 320},
    {"420dpi", 420}, {"xxhdpi", 480}, {"560dpi", 560},  {"xxxhdpi", 640},  {"unknown", 0},
};

namespace {

// Compares two runs of decimal digits as integers of any length: a component such as
// "20240101123000" does not fit in 64 bits and must not wrap or read as 0.
int compareDigits(const QString &a, const QString &b)
{
    int ia = 0;
    int ib = 0;
    while (ia < a.size() - 1 && a.at(ia) == QLatin1Char('0'))
        ++ia;
    while (ib < b.size() - 1 && b.at(ib) == QLatin1Char('0'))
        ++ib;
    const int lengthA = a.size() - ia;
    const int lengthB = b.size() - ib;
    if (lengthA != lengthB)
        return lengthA > lengthB ? 1 : -1;
    const int order = QStringRef(&a, ia, lengthA).compare(QStringRef(&b, ib, lengthB));
    return order == 0 ? 0 : (order > 0 ? 1 : -1);
}

} // namespace

int compareVersions(const QString &a, const QString &b, int parts)
{
    const QRegExp dotted(QStringLiteral("^\\d+(\\.\\d+)*$"));
    const QString ta = a.trimmed();
    const QString tb = b.trimmed();
    if (!dotted.exactMatch(ta) || !dotted.exactMatch(tb))
        return 0;
    const QStringList la = ta.split(QLatin1Char('.'));
    const QStringList lb = tb.split(QLatin1Char('.'));
    const int count = parts < 0 ? qMax(la.size(), lb.size()) : parts;
    for (int i = 0; i < count; ++i) {
        if (i >= la.size() || i >= lb.size()) {
            if (la.size() == lb.size())
                return 0;
            return la.size() > lb.size() ? 1 : -1;
        }
        const int order = compareDigits(la.at(i), lb.at(i));
        if (order != 0)
            return order;
    }
    return 0;
}

int androidVersionToApiLevel(const QString &version)
{
    if (compareVersions(version, QStringLiteral("2.3"), 2) == 0)
        return compareVersions(version, QStringLiteral("2.3.3"), 3) < 0 ? 9 : 10;
    static const struct { const char *version; int parts; int level; } rows[] = {
        {"3.2", 1, 13}, {"4.1", 2, 16}, {"4.2", 2, 17}, {"4.3", 2, 18}, {"4.4", 2, 19},
        {"5.0", 2, 21}, {"5.1", 2, 22}, {"6.0", 2, 23},
    };
    for (const auto &row : rows) {
        if (compareVersions(version, QLatin1String(row.version), row.parts) == 0)
            return row.level;
    }
    return 0;
}

bool parseBool(const QString &text)
{
    const QString t = text.trimmed().toLower();
    return t == QLatin1String("yes") || t == QLatin1String("true") || t == QLatin1String("1")
           || t == QLatin1String("on");
}

QString formatSize(double bytes)
{
    static const char *const units[] = {"KB", "MB", "GB", "TB"};
    QString unit = QStringLiteral("bytes");
    double value = bytes;
    for (const char *next : units) {
        if (value < 1024.0)
            break;
        unit = QLatin1String(next);
        value *= 0.0009765625;
    }
    return QString::number(value, 'f', 2) + QLatin1Char(' ') + unit;
}

QString dpiName(int value)
{
    for (const DensityRow &row : DensityTable) {
        if (row.value == value)
            return QLatin1String(row.name);
    }
    return QStringLiteral("unknown");
}

int dpiFromString(const QString &text)
{
    const QString lower = text.toLower();
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    for (const DensityRow &row : DensityTable) {
        if (row.value == 0)
            break;
        if (lower == QLatin1String(row.name) || (isNumber && number == row.value))
            return row.value;
    }
    return -1;
}

int computeImeiCheckDigit(const QString &first14)
{
    int sum = 0;
    for (int i = 0; i < 14 && i < first14.size(); ++i) {
        const int digit = first14.at(i).digitValue();
        const int product = (digit < 0 ? 0 : digit) * (i % 2 == 0 ? 1 : 2);
        sum += product / 10 + product % 10;
    }
    const int check = (sum * 9) % 10;
    qDebug() << "Computing Luhn algorithm on IMEI " << first14 << ": last digit = " << check;
    return check;
}

QString generateImei()
{
    QString digits;
    digits.reserve(15);
    for (int i = 0; i < 14; ++i)
        digits.append(QChar('0' + std::rand() % 10));
    return digits + QString::number(computeImeiCheckDigit(digits));
}

QString generateAndroidId()
{
    static const char hex[] = "0123456789abcdef";
    QString id;
    id.reserve(16);
    for (int i = 0; i < 16; ++i)
        id.append(QLatin1Char(hex[std::rand() % 16]));
    return id;
}

void playSound(const QString &file)
{
    QProcess::startDetached(QStringLiteral("aplay"), {QStringLiteral("--quiet"), file});
}

QString osName()
{
    return QStringLiteral("Linux");
}

QString cpuArchitecture()
{
    return QSysInfo::currentCpuArchitecture();
}

bool startPlayerProcess(const QString &vmName, const QStringList &extraArgs, const QString &workingDir,
                        const QString &directory)
{
    const QString dir = directory.isEmpty() ? QCoreApplication::applicationDirPath() : directory;
    const QStringList args = QStringList{QStringLiteral("--vm-name"), vmName} + extraArgs;
    return QProcess::startDetached(dir + QStringLiteral("/player"), args, workingDir);
}

bool powerOffDevice(const QString &vmName, const QStringList &extraArgs, const QString &workingDir,
                    const QString &directory)
{
    return startPlayerProcess(vmName, extraArgs + QStringList{QStringLiteral("--poweroff")}, workingDir,
                              directory);
}

bool removeDirectory(const QString &path)
{
    // QDir::exists() is false for a file too, which must not pass for removed.
    if (!QFileInfo::exists(path))
        return true;
    QDir dir(path);
    if (!dir.exists())
        return false;
    const QFileInfoList entries = dir.entryInfoList(
        QDir::AllEntries | QDir::AllDirs | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
        QDir::DirsFirst);
    for (const QFileInfo &entry : entries) {
        const bool ok = (entry.isDir() && !entry.isSymLink()) ? removeDirectory(entry.absoluteFilePath())
                                                              : QFile::remove(entry.absoluteFilePath());
        if (!ok)
            return false;
    }
    return dir.rmdir(dir.absolutePath());
}

int clearCache(bool remove)
{
    const QString root = brackenleaDirectory();
    qDebug() << "[ClearCache] Path of search:" << root;
    qint64 total = 0;
    QDirIterator it(root,
                    {QStringLiteral("*.log"), QStringLiteral("*.bin"), QStringLiteral("*.txt"),
                     QStringLiteral("*.ova")},
                    QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString file = it.next();
        const QFileInfo info = it.fileInfo();
        total += info.size();
        if (remove) {
            qDebug() << "[ClearCache] Removing " << file;
            QFile::remove(file);
        } else {
            qDebug() << "[ClearCache] " << info.size() << " bytes in " << file;
        }
    }
    return static_cast<int>(total);
}

QString networkAdapterModeName(int mode)
{
    switch (mode) {
    case 2:
        return QStringLiteral("hostonly");
    case 1:
        return QStringLiteral("unknown");
    default:
        return QStringLiteral("null");
    }
}

QString machineStateName(int state)
{
    static const char *const names[] = {"Unknown", "On", "Off", "Paused", "Process", "Aborted"};
    if (state < 0 || state > 5)
        return QString();
    return QLatin1String(names[state]);
}
