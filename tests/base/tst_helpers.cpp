#include "helpers.h"
#include "logreader.h"
#include "settings.h"
#include "testenvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <memory>

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

bool writeFile(const QString &path, const QByteArray &content)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

// Standard Luhn validation over the whole number, from the right.
bool luhnValid(const QString &number)
{
    int sum = 0;
    for (int i = 0; i < number.size(); ++i) {
        int digit = number.at(number.size() - 1 - i).digitValue();
        if (i % 2 == 1) {
            digit *= 2;
            if (digit > 9)
                digit -= 9;
        }
        sum += digit;
    }
    return sum % 10 == 0;
}

// Root ignores permissions, so a directory is locked with the immutable attribute;
// the attribute is cleared again when the guard goes.
class ImmutableGuard
{
public:
    explicit ImmutableGuard(const QString &path) : m_path(QFile::encodeName(path)) { m_set = setFlag(true); }
    ~ImmutableGuard()
    {
        if (m_set)
            setFlag(false);
    }
    bool isSet() const { return m_set; }

private:
    bool setFlag(bool on)
    {
        const int fd = ::open(m_path.constData(), O_RDONLY | O_DIRECTORY);
        if (fd < 0)
            return false;
        int flags = 0;
        bool ok = ::ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0;
        if (ok) {
            flags = on ? (flags | FS_IMMUTABLE_FL) : (flags & ~FS_IMMUTABLE_FL);
            ok = ::ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0;
        }
        ::close(fd);
        return ok;
    }

    QByteArray m_path;
    bool m_set = false;
};

} // namespace

class TestHelpers : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void compareVersions_data();
    void compareVersions();
    void androidVersionToApiLevel_data();
    void androidVersionToApiLevel();
    void parseBool_data();
    void parseBool();
    void formatSize_data();
    void formatSize();
    void dpiName_data();
    void dpiName();
    void dpiFromString_data();
    void dpiFromString();
    void densityTableEndsWithUnknown();

    void imeiCheckDigit_data();
    void imeiCheckDigit();
    void imeiCheckDigitIsLogged();
    void generatedImeiIsLuhnValid();
    void generatedAndroidIdIsSixteenHexDigits();

    void networkAdapterModeName_data();
    void networkAdapterModeName();
    void machineStateName_data();
    void machineStateName();

    void removeDirectoryRemovesNestedAndHidden();
    void removeDirectoryOfMissingPathSucceeds();
    void removeDirectoryDoesNotFollowLinks();
    void removeDirectoryOfAFileFails();
    void removeDirectoryStopsAtFirstFailure();

    void clearCacheSumsOnlyCacheFiles();
    void clearCacheRemovesOnlyCacheFiles();

    void startPlayerProcessPassesArguments();
    void powerOffDeviceAppendsOrder();

private:
    QString makeFakePlayer(const QString &directory, const QString &output);

    // Outside ~/.Brackenlea, so clearCache never sees the test's own log.
    std::unique_ptr<LogReader> m_log;
};

void TestHelpers::initTestCase()
{
    // After QtTest has installed its own handler, so this one wins.
    m_log = std::make_unique<LogReader>();
}

void TestHelpers::compareVersions_data()
{
    QTest::addColumn<QString>("a");
    QTest::addColumn<QString>("b");
    QTest::addColumn<int>("parts");
    QTest::addColumn<int>("result");

    QTest::newRow("longer is greater") << "2.6.0" << "2.6" << -1 << 1;
    QTest::newRow("shorter is less") << "2.6" << "2.6.0" << -1 << -1;
    QTest::newRow("equal in two parts") << "2.6.0" << "2.6" << 2 << 0;
    QTest::newRow("equal") << "1.2.3" << "1.2.3" << -1 << 0;
    QTest::newRow("numeric, not text") << "2.10" << "2.9" << -1 << 1;
    QTest::newRow("first part decides") << "3.0" << "2.99.99" << -1 << 1;
    QTest::newRow("less") << "1.2.3" << "1.2.4" << -1 << -1;
    QTest::newRow("difference beyond parts") << "1.2.3" << "1.2.4" << 2 << 0;
    QTest::newRow("difference within parts") << "1.2.3" << "1.2.4" << 3 << -1;
    QTest::newRow("parts beyond both, equal") << "1.2" << "1.2" << 5 << 0;
    QTest::newRow("parts beyond both, longer wins") << "1.2" << "1.2.0" << 5 << -1;
    QTest::newRow("zero parts") << "1" << "2" << 0 << 0;
    QTest::newRow("leading zeros") << "1.01" << "1.1" << -1 << 0;
    QTest::newRow("trimmed") << " 2.6 \n" << "2.6" << -1 << 0;
    QTest::newRow("long component greater") << "1.99999999999999999999" << "1.2" << -1 << 1;
    QTest::newRow("long component less") << "1.2" << "1.99999999999999999999" << -1 << -1;
    QTest::newRow("long components differ late") << "1.123456789012345678901" << "1.123456789012345678902"
                                                 << -1 << -1;
    QTest::newRow("long component with leading zeros") << "1.000000000000000000002" << "1.3" << -1 << -1;
    QTest::newRow("text left") << "abc" << "1.0" << -1 << 0;
    QTest::newRow("text right") << "1.0" << "abc" << -1 << 0;
    QTest::newRow("development") << "development" << "2.6" << -1 << 0;
    QTest::newRow("letter in part") << "2.6a" << "1.0" << -1 << 0;
    QTest::newRow("empty part") << "1..2" << "1.0" << -1 << 0;
    QTest::newRow("trailing dot") << "1." << "0.9" << -1 << 0;
    QTest::newRow("leading dot") << ".1" << "0.9" << -1 << 0;
    QTest::newRow("negative") << "-1" << "0" << -1 << 0;
    QTest::newRow("empty") << "" << "1" << -1 << 0;
}

void TestHelpers::compareVersions()
{
    QFETCH(QString, a);
    QFETCH(QString, b);
    QFETCH(int, parts);
    QFETCH(int, result);
    QCOMPARE(::compareVersions(a, b, parts), result);
}

void TestHelpers::androidVersionToApiLevel_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<int>("level");

    QTest::newRow("2.3") << "2.3" << 9;
    QTest::newRow("2.3.1") << "2.3.1" << 9;
    QTest::newRow("2.3.3") << "2.3.3" << 10;
    QTest::newRow("2.3.7") << "2.3.7" << 10;
    QTest::newRow("2.2") << "2.2" << 0;
    QTest::newRow("3.0") << "3.0" << 13;
    QTest::newRow("3.2.1") << "3.2.1" << 13;
    QTest::newRow("4.0") << "4.0" << 0;
    QTest::newRow("4.0.3") << "4.0.3" << 0;
    QTest::newRow("4.0.4") << "4.0.4" << 0;
    QTest::newRow("4.1.2") << "4.1.2" << 16;
    QTest::newRow("4.2") << "4.2" << 17;
    QTest::newRow("4.3.1") << "4.3.1" << 18;
    QTest::newRow("4.4.4") << "4.4.4" << 19;
    QTest::newRow("4") << "4" << 0;
    QTest::newRow("5.0.2") << "5.0.2" << 21;
    QTest::newRow("5.1.1") << "5.1.1" << 22;
    QTest::newRow("6.0") << "6.0" << 23;
    QTest::newRow("6.0.1") << "6.0.1" << 23;
    QTest::newRow("7.0") << "7.0" << 0;
    QTest::newRow("10") << "10" << 0;
}

void TestHelpers::androidVersionToApiLevel()
{
    QFETCH(QString, version);
    QFETCH(int, level);
    QCOMPARE(::androidVersionToApiLevel(version), level);
}

void TestHelpers::parseBool_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("value");

    QTest::newRow("On padded") << " On " << true;
    QTest::newRow("yes") << "yes" << true;
    QTest::newRow("YES") << "YES" << true;
    QTest::newRow("True") << "True" << true;
    QTest::newRow("1") << "1" << true;
    QTest::newRow("on tab") << "\ton\n" << true;
    QTest::newRow("0") << "0" << false;
    QTest::newRow("off") << "off" << false;
    QTest::newRow("no") << "no" << false;
    QTest::newRow("false") << "false" << false;
    QTest::newRow("empty") << "" << false;
    QTest::newRow("2") << "2" << false;
    QTest::newRow("y") << "y" << false;
    QTest::newRow("onn") << "onn" << false;
    QTest::newRow("inner blank") << "o n" << false;
}

void TestHelpers::parseBool()
{
    QFETCH(QString, text);
    QFETCH(bool, value);
    QCOMPARE(::parseBool(text), value);
}

void TestHelpers::formatSize_data()
{
    QTest::addColumn<double>("bytes");
    QTest::addColumn<QString>("text");

    const double kb = 1024.0;
    QTest::newRow("zero") << 0.0 << "0.00 bytes";
    QTest::newRow("512") << 512.0 << "512.00 bytes";
    QTest::newRow("1023") << 1023.0 << "1023.00 bytes";
    QTest::newRow("1024") << kb << "1.00 KB";
    QTest::newRow("1536") << 1536.0 << "1.50 KB";
    QTest::newRow("just below a MB") << kb * kb - 1 << "1024.00 KB";
    QTest::newRow("1 MB") << kb * kb << "1.00 MB";
    QTest::newRow("2.25 MB") << 2.25 * kb * kb << "2.25 MB";
    QTest::newRow("1 GB") << kb * kb * kb << "1.00 GB";
    QTest::newRow("1023 GB") << 1023 * kb * kb * kb << "1023.00 GB";
    QTest::newRow("1 TB") << kb * kb * kb * kb << "1.00 TB";
    QTest::newRow("1024 TB stays TB") << kb * kb * kb * kb * kb << "1024.00 TB";
    QTest::newRow("beyond TB") << kb * kb * kb * kb * kb * kb << "1048576.00 TB";
    QTest::newRow("fraction") << 0.5 << "0.50 bytes";
}

void TestHelpers::formatSize()
{
    QFETCH(double, bytes);
    QFETCH(QString, text);
    QCOMPARE(::formatSize(bytes), text);
}

void TestHelpers::dpiName_data()
{
    QTest::addColumn<int>("value");
    QTest::addColumn<QString>("name");

    QTest::newRow("120") << 120 << "ldpi";
    QTest::newRow("160") << 160 << "mdpi";
    QTest::newRow("213") << 213 << "tvdpi";
    QTest::newRow("240") << 240 << "hdpi";
    QTest::newRow("320") << 320 << "xhdpi";
    QTest::newRow("420") << 420 << "420dpi";
    QTest::newRow("480") << 480 << "xxhdpi";
    QTest::newRow("560") << 560 << "560dpi";
    QTest::newRow("640") << 640 << "xxxhdpi";
    QTest::newRow("0") << 0 << "unknown";
    QTest::newRow("999") << 999 << "unknown";
    QTest::newRow("-1") << -1 << "unknown";
}

void TestHelpers::dpiName()
{
    QFETCH(int, value);
    QFETCH(QString, name);
    QCOMPARE(::dpiName(value), name);
}

void TestHelpers::dpiFromString_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("value");

    QTest::newRow("XHDPI") << "XHDPI" << 320;
    QTest::newRow("320") << "320" << 320;
    QTest::newRow("tvDpi") << "tvDpi" << 213;
    QTest::newRow("420dpi") << "420dpi" << 420;
    QTest::newRow("420") << "420" << 420;
    QTest::newRow("xxxhdpi") << "xxxhdpi" << 640;
    QTest::newRow("120") << "120" << 120;
    QTest::newRow("999") << "999" << -1;
    QTest::newRow("unknown row is not a match") << "unknown" << -1;
    QTest::newRow("0 is not a match") << "0" << -1;
    QTest::newRow("empty") << "" << -1;
    QTest::newRow("not trimmed") << " hdpi" << -1;
}

void TestHelpers::dpiFromString()
{
    QFETCH(QString, text);
    QFETCH(int, value);
    QCOMPARE(::dpiFromString(text), value);
}

void TestHelpers::densityTableEndsWithUnknown()
{
    const int rows = int(sizeof(DensityTable) / sizeof(DensityTable[0]));
    QCOMPARE(rows, 10);
    QCOMPARE(QLatin1String(DensityTable[rows - 1].name), QLatin1String("unknown"));
    QCOMPARE(DensityTable[rows - 1].value, 0);
    for (int i = 1; i < rows - 1; ++i)
        QVERIFY2(DensityTable[i - 1].value < DensityTable[i].value, DensityTable[i].name);
}

void TestHelpers::imeiCheckDigit_data()
{
    QTest::addColumn<QString>("first14");
    QTest::addColumn<int>("digit");

    QTest::newRow("49015420323751") << "49015420323751" << 8;
    QTest::newRow("35209900176148") << "35209900176148" << 1;
    QTest::newRow("zeros") << "00000000000000" << 0;
    QTest::newRow("nines") << "99999999999999" << 4;
    QTest::newRow("12345678901234") << "12345678901234" << 7;
}

void TestHelpers::imeiCheckDigit()
{
    QFETCH(QString, first14);
    QFETCH(int, digit);
    QCOMPARE(computeImeiCheckDigit(first14), digit);
    QVERIFY(luhnValid(first14 + QString::number(digit)));
}

void TestHelpers::imeiCheckDigitIsLogged()
{
    m_log->clear();
    computeImeiCheckDigit(QStringLiteral("49015420323751"));
    const QStringList lines = m_log->matching(QStringLiteral("Computing Luhn algorithm on IMEI"));
    QCOMPARE(lines.size(), 1);
    QVERIFY2(QRegularExpression(QStringLiteral(
                 "^\\[Debug\\] Computing Luhn algorithm on IMEI +\"49015420323751\" *: last digit = +8$"))
                 .match(lines.first())
                 .hasMatch(),
             qPrintable(lines.first()));
}

void TestHelpers::generatedImeiIsLuhnValid()
{
    const QRegularExpression digits(QStringLiteral("^\\d{15}$"));
    QSet<QString> seen;
    for (int i = 0; i < 500; ++i) {
        const QString imei = generateImei();
        QVERIFY2(digits.match(imei).hasMatch(), qPrintable(imei));
        QVERIFY2(luhnValid(imei), qPrintable(imei));
        seen.insert(imei);
    }
    QVERIFY(seen.size() > 490);
}

void TestHelpers::generatedAndroidIdIsSixteenHexDigits()
{
    const QRegularExpression hex(QStringLiteral("^[0-9a-f]{16}$"));
    QSet<QChar> characters;
    QSet<QString> seen;
    for (int i = 0; i < 500; ++i) {
        const QString id = generateAndroidId();
        QVERIFY2(hex.match(id).hasMatch(), qPrintable(id));
        for (QChar c : id)
            characters.insert(c);
        seen.insert(id);
    }
    QCOMPARE(characters.size(), 16);
    QCOMPARE(seen.size(), 500);
}

void TestHelpers::networkAdapterModeName_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<QString>("name");

    QTest::newRow("2") << 2 << "hostonly";
    QTest::newRow("1") << 1 << "unknown";
    QTest::newRow("0") << 0 << "null";
    QTest::newRow("3") << 3 << "null";
    QTest::newRow("-1") << -1 << "null";
}

void TestHelpers::networkAdapterModeName()
{
    QFETCH(int, mode);
    QFETCH(QString, name);
    QCOMPARE(::networkAdapterModeName(mode), name);
}

void TestHelpers::machineStateName_data()
{
    QTest::addColumn<int>("state");
    QTest::addColumn<QString>("name");

    QTest::newRow("0") << 0 << "Unknown";
    QTest::newRow("1") << 1 << "On";
    QTest::newRow("2") << 2 << "Off";
    QTest::newRow("3") << 3 << "Paused";
    QTest::newRow("4") << 4 << "Process";
    QTest::newRow("5") << 5 << "Aborted";
    QTest::newRow("6") << 6 << "";
    QTest::newRow("-1") << -1 << "";
    QTest::newRow("1000") << 1000 << "";
}

void TestHelpers::machineStateName()
{
    QFETCH(int, state);
    QFETCH(QString, name);
    QCOMPARE(::machineStateName(state), name);
}

void TestHelpers::removeDirectoryRemovesNestedAndHidden()
{
    QTemporaryDir scratch;
    const QString root = scratch.filePath(QStringLiteral("tree"));
    QVERIFY(writeFile(root + QStringLiteral("/a.txt"), "a"));
    QVERIFY(writeFile(root + QStringLiteral("/.hidden"), "h"));
    QVERIFY(writeFile(root + QStringLiteral("/sub/deeper/b.bin"), "b"));
    QVERIFY(writeFile(root + QStringLiteral("/.hiddendir/.c"), "c"));
    QVERIFY(QDir().mkpath(root + QStringLiteral("/empty/also-empty")));

    QVERIFY(removeDirectory(root));
    QVERIFY(!QFileInfo::exists(root));
    QVERIFY(QFileInfo::exists(scratch.path()));
}

void TestHelpers::removeDirectoryOfMissingPathSucceeds()
{
    QTemporaryDir scratch;
    QVERIFY(removeDirectory(scratch.filePath(QStringLiteral("never-made"))));
    QVERIFY(removeDirectory(scratch.filePath(QStringLiteral("never/made/either"))));
}

void TestHelpers::removeDirectoryDoesNotFollowLinks()
{
    // A link inside the tree goes, what it points at stays.
    QTemporaryDir scratch;
    const QString outside = scratch.filePath(QStringLiteral("outside"));
    const QString root = scratch.filePath(QStringLiteral("tree"));
    QVERIFY(writeFile(outside + QStringLiteral("/keep.txt"), "keep"));
    QVERIFY(QDir().mkpath(root));
    QVERIFY(QFile::link(outside, root + QStringLiteral("/dirlink")));
    QVERIFY(QFile::link(outside + QStringLiteral("/keep.txt"), root + QStringLiteral("/filelink")));

    QVERIFY(removeDirectory(root));
    QVERIFY(!QFileInfo::exists(root));
    QVERIFY(QFileInfo::exists(outside + QStringLiteral("/keep.txt")));
}

void TestHelpers::removeDirectoryOfAFileFails()
{
    QTemporaryDir scratch;
    const QString file = scratch.filePath(QStringLiteral("plain.txt"));
    QVERIFY(writeFile(file, "data"));
    QVERIFY(!removeDirectory(file));
    QVERIFY(QFileInfo::exists(file));
}

void TestHelpers::removeDirectoryStopsAtFirstFailure()
{
    QTemporaryDir scratch;
    const QString root = scratch.filePath(QStringLiteral("tree"));
    QVERIFY(writeFile(root + QStringLiteral("/a/locked.txt"), "x"));
    QVERIFY(writeFile(root + QStringLiteral("/b/later.txt"), "y"));
    QVERIFY(writeFile(root + QStringLiteral("/z.txt"), "z"));

    // Without root a read-only directory is enough; root needs the immutable attribute.
    std::unique_ptr<ImmutableGuard> guard;
    if (::geteuid() == 0) {
        guard = std::make_unique<ImmutableGuard>(root + QStringLiteral("/a"));
        if (!guard->isSet())
            QSKIP("running as root on a file system without the immutable attribute");
    } else {
        QVERIFY(QFile::setPermissions(root + QStringLiteral("/a"), QFileDevice::ReadOwner | QFileDevice::ExeOwner));
    }

    QVERIFY(!removeDirectory(root));
    // Directories come first, in name order: "a" failed, so "b" and "z.txt" were never reached.
    QVERIFY(QFileInfo::exists(root + QStringLiteral("/a/locked.txt")));
    QVERIFY(QFileInfo::exists(root + QStringLiteral("/b/later.txt")));
    QVERIFY(QFileInfo::exists(root + QStringLiteral("/z.txt")));

    guard.reset();
    QFile::setPermissions(root + QStringLiteral("/a"), QFileDevice::ReadOwner | QFileDevice::WriteOwner
                                                         | QFileDevice::ExeOwner);
    QVERIFY(removeDirectory(root));
}

void TestHelpers::clearCacheSumsOnlyCacheFiles()
{
    const QString base = brackenleaDirectory();
    QVERIFY(removeDirectory(base));
    QVERIFY(writeFile(base + QStringLiteral("/calderwick.log"), QByteArray(10, 'l')));
    QVERIFY(writeFile(base + QStringLiteral("/Calderwick/deployed/dev/logs/VBox.log"), QByteArray(100, 'l')));
    QVERIFY(writeFile(base + QStringLiteral("/Calderwick/cache/data.bin"), QByteArray(200, 'b')));
    QVERIFY(writeFile(base + QStringLiteral("/notes.txt"), QByteArray(300, 't')));
    QVERIFY(writeFile(base + QStringLiteral("/Calderwick/templates/image.ova"), QByteArray(400, 'o')));
    QVERIFY(writeFile(base + QStringLiteral("/Calderwick/deployed/dev/calderwick-settings.cfg"), QByteArray(50, 'c')));
    QVERIFY(writeFile(base + QStringLiteral("/Calderwick/deployed/dev/disk.vdi"), QByteArray(60, 'v')));
    QVERIFY(writeFile(base + QStringLiteral("/old.log.1"), QByteArray(70, 'x')));
    QVERIFY(writeFile(base + QStringLiteral("/binary"), QByteArray(80, 'x')));
    QVERIFY(QDir().mkpath(base + QStringLiteral("/dir.log")));

    m_log->clear();
    QCOMPARE(clearCache(false), 10 + 100 + 200 + 300 + 400);

    QVERIFY(QFileInfo::exists(base + QStringLiteral("/calderwick.log")));
    QVERIFY(QFileInfo::exists(base + QStringLiteral("/Calderwick/templates/image.ova")));
    const QStringList messages = m_log->messages();
    QVERIFY(!messages.isEmpty());
    QVERIFY2(messages.first().startsWith(QStringLiteral("[Debug] [ClearCache] Path of search:")), qPrintable(messages.first()));
    QVERIFY(messages.first().contains(base));
    const QStringList sizes = m_log->matching(QStringLiteral(" bytes in "));
    QCOMPARE(sizes.size(), 5);
    QVERIFY(sizes.filter(QRegularExpression(QStringLiteral("\\b400 +bytes in .*image\\.ova"))).size() == 1);
    QVERIFY(m_log->matching(QStringLiteral("Removing")).isEmpty());
}

void TestHelpers::clearCacheRemovesOnlyCacheFiles()
{
    const QString base = brackenleaDirectory();
    QVERIFY(removeDirectory(base));
    QVERIFY(writeFile(base + QStringLiteral("/calderwick.log"), QByteArray(10, 'l')));
    QVERIFY(writeFile(base + QStringLiteral("/.hidden/trace.txt"), QByteArray(20, 't')));
    QVERIFY(writeFile(base + QStringLiteral("/Calderwick/cache/data.bin"), QByteArray(200, 'b')));
    QVERIFY(writeFile(base + QStringLiteral("/Calderwick/templates/image.ova"), QByteArray(400, 'o')));
    QVERIFY(writeFile(base + QStringLiteral("/Calderwick/deployed/dev/calderwick-settings.cfg"), QByteArray(50, 'c')));
    QVERIFY(writeFile(base + QStringLiteral("/Calderwick/deployed/dev/disk.vdi"), QByteArray(60, 'v')));

    m_log->clear();
    QCOMPARE(clearCache(true), 10 + 20 + 200 + 400);

    QVERIFY(!QFileInfo::exists(base + QStringLiteral("/calderwick.log")));
    QVERIFY(!QFileInfo::exists(base + QStringLiteral("/.hidden/trace.txt")));
    QVERIFY(!QFileInfo::exists(base + QStringLiteral("/Calderwick/cache/data.bin")));
    QVERIFY(!QFileInfo::exists(base + QStringLiteral("/Calderwick/templates/image.ova")));
    QVERIFY(QFileInfo::exists(base + QStringLiteral("/Calderwick/deployed/dev/calderwick-settings.cfg")));
    QVERIFY(QFileInfo::exists(base + QStringLiteral("/Calderwick/deployed/dev/disk.vdi")));
    QCOMPARE(m_log->matching(QStringLiteral("[ClearCache] Removing")).size(), 4);

    QCOMPARE(clearCache(false), 0);
}

QString TestHelpers::makeFakePlayer(const QString &directory, const QString &output)
{
    // Writes its arguments and working directory, then renames, so a reader sees all or nothing.
    const QString script = QStringLiteral("#!/bin/sh\n"
                                          "{ printf '%s\\n' \"$@\"; pwd; } > '%1.part'\n"
                                          "mv '%1.part' '%1'\n")
                               .arg(output);
    const QString path = directory + QStringLiteral("/player");
    if (!writeFile(path, script.toUtf8()))
        return QString();
    QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    return path;
}

static QStringList readLines(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

void TestHelpers::startPlayerProcessPassesArguments()
{
    QTemporaryDir bin;
    QTemporaryDir work;
    const QString output = bin.filePath(QStringLiteral("args"));
    QVERIFY(!makeFakePlayer(bin.path(), output).isEmpty());

    QVERIFY(startPlayerProcess(QStringLiteral("My Device"), {QStringLiteral("-x")}, work.path(), bin.path()));
    QTRY_VERIFY(QFileInfo::exists(output));
    QCOMPARE(readLines(output), (QStringList{QStringLiteral("--vm-name"), QStringLiteral("My Device"),
                                             QStringLiteral("-x"), QFileInfo(work.path()).canonicalFilePath()}));
}

void TestHelpers::powerOffDeviceAppendsOrder()
{
    QTemporaryDir bin;
    const QString output = bin.filePath(QStringLiteral("args"));
    QVERIFY(!makeFakePlayer(bin.path(), output).isEmpty());

    QVERIFY(powerOffDevice(QStringLiteral("dev"), {QStringLiteral("--no-popup")}, bin.path(), bin.path()));
    QTRY_VERIFY(QFileInfo::exists(output));
    const QStringList lines = readLines(output);
    QCOMPARE(lines.mid(0, 4), (QStringList{QStringLiteral("--vm-name"), QStringLiteral("dev"),
                                           QStringLiteral("--no-popup"), QStringLiteral("--poweroff")}));
}

CALDERWICK_TEST_MAIN(TestHelpers)
#include "tst_helpers.moc"
