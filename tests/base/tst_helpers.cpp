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

QStringList readLines(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

// Root ignores permissions, so a directory is locked with the immutable attribute.
bool setImmutable(const QString &path, bool on)
{
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY);
    if (fd < 0)
        return false;
    int flags = 0;
    bool ok = ::ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0;
    flags = on ? (flags | FS_IMMUTABLE_FL) : (flags & ~FS_IMMUTABLE_FL);
    ok = ok && ::ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0;
    ::close(fd);
    return ok;
}

// A stand-in player that writes its arguments and working directory, then renames, so a
// reader sees all or nothing.
bool makeFakePlayer(const QString &directory, const QString &output)
{
    const QString path = directory + QStringLiteral("/player");
    return writeFile(path, QStringLiteral("#!/bin/sh\n{ printf '%s\\n' \"$@\"; pwd; } > '%1.part'\nmv '%1.part' '%1'\n")
                               .arg(output)
                               .toUtf8())
           && QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
}

} // namespace

class TestHelpers : public QObject
{
    Q_OBJECT

    // Outside ~/.Brackenlea, so clearCache never sees the test's own log.
    std::unique_ptr<LogReader> m_log;

private slots:
    // After QtTest has installed its own handler, so this one wins.
    void initTestCase() { m_log = std::make_unique<LogReader>(); }

    void compareVersions()
    {
        const struct { const char *a, *b; int parts, result; } rows[] = {
            {"2.6.0", "2.6", -1, 1}, {"2.6", "2.6.0", -1, -1}, {"2.6.0", "2.6", 2, 0}, {"1.2.3", "1.2.3", -1, 0},
            {"2.10", "2.9", -1, 1}, {"3.0", "2.99.99", -1, 1}, {"1.2.3", "1.2.4", 2, 0}, {"1.2.3", "1.2.4", 3, -1},
            {"1.2", "1.2", 5, 0}, {"1.2", "1.2.0", 5, -1}, {"1", "2", 0, 0}, {"1.01", "1.1", -1, 0},
            {" 2.6 \n", "2.6", -1, 0}, {"1.99999999999999999999", "1.2", -1, 1},
            {"1.123456789012345678901", "1.123456789012345678902", -1, -1}, {"1.000000000000000000002", "1.3", -1, -1},
            {"abc", "1.0", -1, 0}, {"1.0", "abc", -1, 0}, {"development", "2.6", -1, 0}, {"2.6a", "1.0", -1, 0},
            {"1..2", "1.0", -1, 0}, {"1.", "0.9", -1, 0}, {".1", "0.9", -1, 0}, {"-1", "0", -1, 0}, {"", "1", -1, 0}};
        for (const auto &row : rows)
            QVERIFY2(::compareVersions(row.a, row.b, row.parts) == row.result, qPrintable(QStringLiteral("%1 %2 %3").arg(row.a, row.b).arg(row.parts)));
    }

    void androidVersionToApiLevel()
    {
        const struct { const char *version; int level; } rows[] = {
            {"2.3", 9}, {"2.3.1", 9}, {"2.3.3", 10}, {"2.3.7", 10}, {"2.2", 0}, {"3.0", 13}, {"3.2.1", 13},
            {"4.0", 0}, {"4.0.3", 0}, {"4.1.2", 16}, {"4.2", 17}, {"4.3.1", 18}, {"4.4.4", 19}, {"4", 0},
            {"5.0.2", 21}, {"5.1.1", 22}, {"6.0.1", 23}, {"7.0", 0}, {"10", 0}};
        for (const auto &row : rows)
            QVERIFY2(::androidVersionToApiLevel(row.version) == row.level, row.version);
    }

    void parseBool()
    {
        for (const char *yes : {" On ", "yes", "YES", "True", "1", "\ton\n"})
            QVERIFY2(::parseBool(yes), yes);
        for (const char *no : {"0", "off", "no", "false", "", "2", "y", "onn", "o n"})
            QVERIFY2(!::parseBool(no), no);
    }

    void formatSize()
    {
        const double kb = 1024.0;
        const struct { double bytes; const char *text; } rows[] = {
            {0, "0.00 bytes"}, {0.5, "0.50 bytes"}, {1023, "1023.00 bytes"}, {kb, "1.00 KB"}, {1536, "1.50 KB"},
            {kb * kb - 1, "1024.00 KB"}, {2.25 * kb * kb, "2.25 MB"}, {1023 * kb * kb * kb, "1023.00 GB"},
            {kb * kb * kb * kb, "1.00 TB"}, {kb * kb * kb * kb * kb * kb, "1048576.00 TB"}};
        for (const auto &row : rows)
            QCOMPARE(::formatSize(row.bytes), QString::fromLatin1(row.text));
    }

    void densities()
    {
        const struct { int value; const char *name; } names[] = {
            {120, "ldpi"}, {160, "mdpi"}, {213, "tvdpi"}, {240, "hdpi"}, {320, "xhdpi"}, {420, "420dpi"},
            {480, "xxhdpi"}, {560, "560dpi"}, {640, "xxxhdpi"}, {0, "unknown"}, {999, "unknown"}, {-1, "unknown"}};
        for (const auto &row : names)
            QCOMPARE(::dpiName(row.value), QString::fromLatin1(row.name));
        const struct { const char *text; int value; } parsed[] = {
            {"XHDPI", 320}, {"320", 320}, {"tvDpi", 213}, {"420dpi", 420}, {"420", 420}, {"999", -1},
            {"unknown", -1}, {"0", -1}, {"", -1}, {" hdpi", -1}};
        for (const auto &row : parsed)
            QVERIFY2(::dpiFromString(row.text) == row.value, row.text);
    }

    void imei()
    {
        const struct { const char *first14; int digit; } rows[] = {
            {"49015420323751", 8}, {"35209900176148", 1}, {"00000000000000", 0}, {"99999999999999", 4}};
        for (const auto &row : rows)
            QCOMPARE(computeImeiCheckDigit(row.first14), row.digit);
        m_log->clear();
        computeImeiCheckDigit(QStringLiteral("49015420323751"));
        const QStringList lines = m_log->matching(QStringLiteral("Computing Luhn algorithm on IMEI"));
        QCOMPARE(lines.size(), 1);
        QVERIFY2(QRegularExpression(QStringLiteral(
                     "^\\[Debug\\] Computing Luhn algorithm on IMEI +\"49015420323751\" *: last digit = +8$"))
                     .match(lines.first()).hasMatch(), qPrintable(lines.first()));
    }

    // Random identifiers: the right form, every digit in use, practically never the same twice.
    void generatedIdentifiers()
    {
        QSet<QChar> characters;
        QSet<QString> imeis, ids;
        for (int i = 0; i < 500; ++i) {
            const QString imei = generateImei();
            // The check digit is pinned by the rows above.
            QVERIFY2(QRegularExpression(QStringLiteral("^\\d{15}$")).match(imei).hasMatch()
                         && computeImeiCheckDigit(imei.left(14)) == imei.right(1).toInt(), qPrintable(imei));
            const QString id = generateAndroidId();
            QVERIFY2(QRegularExpression(QStringLiteral("^[0-9a-f]{16}$")).match(id).hasMatch(), qPrintable(id));
            for (QChar c : id)
                characters.insert(c);
            imeis.insert(imei);
            ids.insert(id);
        }
        QVERIFY(imeis.size() > 490);
        QCOMPARE(characters.size(), 16);
        QCOMPARE(ids.size(), 500);
    }

    void names()
    {
        QCOMPARE((QStringList{networkAdapterModeName(2), networkAdapterModeName(1), networkAdapterModeName(0), networkAdapterModeName(-1)}),
                 (QStringList{"hostonly", "unknown", "null", "null"}));
        QStringList states;
        for (int state : {0, 1, 2, 3, 4, 5, 6, -1})
            states << machineStateName(state);
        QCOMPARE(states, (QStringList{"Unknown", "On", "Off", "Paused", "Process", "Aborted", "", ""}));
    }

    void removeDirectory()
    {
        QTemporaryDir scratch;
        const QString root = scratch.filePath(QStringLiteral("tree"));
        const QString outside = scratch.filePath(QStringLiteral("outside"));
        QVERIFY(writeFile(root + QStringLiteral("/.hidden"), "h"));
        QVERIFY(writeFile(root + QStringLiteral("/sub/deeper/b.bin"), "b"));
        QVERIFY(writeFile(root + QStringLiteral("/.hiddendir/.c"), "c"));
        QVERIFY(QDir().mkpath(root + QStringLiteral("/empty/also-empty")));
        // A link inside the tree goes, what it points at stays.
        QVERIFY(writeFile(outside + QStringLiteral("/keep.txt"), "keep"));
        QVERIFY(QFile::link(outside, root + QStringLiteral("/dirlink")));
        QVERIFY(QFile::link(outside + QStringLiteral("/keep.txt"), root + QStringLiteral("/filelink")));
        QVERIFY(::removeDirectory(root));
        QVERIFY(!QFileInfo::exists(root));
        QVERIFY(QFileInfo::exists(outside + QStringLiteral("/keep.txt")));
        // A path that does not exist is done; a file is not a directory.
        QVERIFY(::removeDirectory(scratch.filePath(QStringLiteral("never/made"))));
        QVERIFY(!::removeDirectory(outside + QStringLiteral("/keep.txt")));
        QVERIFY(QFileInfo::exists(outside + QStringLiteral("/keep.txt")));
    }

    void removeDirectoryStopsAtFirstFailure()
    {
        QTemporaryDir scratch;
        const QString root = scratch.filePath(QStringLiteral("tree"));
        QVERIFY(writeFile(root + QStringLiteral("/a/locked.txt"), "x"));
        QVERIFY(writeFile(root + QStringLiteral("/b/later.txt"), "y"));
        QVERIFY(writeFile(root + QStringLiteral("/z.txt"), "z"));
        const QString locked = root + QStringLiteral("/a");
        // Without root a read-only directory is enough; root needs the immutable attribute.
        if (::geteuid() == 0 && !setImmutable(locked, true))
            QSKIP("running as root on a file system without the immutable attribute");
        QFile::setPermissions(locked, QFileDevice::ReadOwner | QFileDevice::ExeOwner);
        const bool removed = ::removeDirectory(root);
        setImmutable(locked, false);
        QFile::setPermissions(locked, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        QVERIFY(!removed);
        // Directories come first, in name order: "a" failed, so "b" and "z.txt" were never reached.
        for (const char *kept : {"/a/locked.txt", "/b/later.txt", "/z.txt"})
            QVERIFY2(QFileInfo::exists(root + QLatin1String(kept)), kept);
    }

    void clearCache()
    {
        const QString base = brackenleaDirectory();
        QVERIFY(::removeDirectory(base));
        const struct { const char *path; int size; } files[] = {
            {"/calderwick.log", 10}, {"/.hidden/trace.txt", 20}, {"/Calderwick/cache/data.bin", 200},
            {"/Calderwick/templates/image.ova", 400}, {"/Calderwick/deployed/dev/calderwick-settings.cfg", 50},
            {"/Calderwick/deployed/dev/disk.vdi", 60}, {"/old.log.1", 70}, {"/binary", 80}};
        for (const auto &file : files)
            QVERIFY(writeFile(base + QLatin1String(file.path), QByteArray(file.size, 'x')));
        QVERIFY(QDir().mkpath(base + QStringLiteral("/dir.log")));

        m_log->clear();
        QCOMPARE(::clearCache(false), 10 + 20 + 200 + 400);
        QVERIFY(QFileInfo::exists(base + QStringLiteral("/calderwick.log")));
        const QStringList messages = m_log->messages();
        QVERIFY2(messages.value(0).startsWith(QStringLiteral("[Debug] [ClearCache] Path of search:")), qPrintable(messages.value(0)));
        QVERIFY(messages.first().contains(base));
        QCOMPARE(m_log->matching(QStringLiteral(" bytes in ")).size(), 4);
        QCOMPARE(m_log->messages().filter(QRegularExpression(QStringLiteral("\\b400 +bytes in .*image\\.ova"))).size(), 1);

        QCOMPARE(::clearCache(true), 10 + 20 + 200 + 400);
        QCOMPARE(m_log->matching(QStringLiteral("[ClearCache] Removing")).size(), 4);
        for (const auto &file : files)
            QCOMPARE(QFileInfo::exists(base + QLatin1String(file.path)), file.size >= 50 && file.size <= 80);
        QCOMPARE(::clearCache(false), 0);
    }

    void startPlayerProcessPassesArguments()
    {
        QTemporaryDir bin;
        QTemporaryDir work;
        const QString output = bin.filePath(QStringLiteral("args"));
        QVERIFY(makeFakePlayer(bin.path(), output));
        QVERIFY(startPlayerProcess(QStringLiteral("My Device"), {QStringLiteral("-x")}, work.path(), bin.path()));
        QTRY_VERIFY(QFileInfo::exists(output));
        QCOMPARE(readLines(output), (QStringList{"--vm-name", "My Device", "-x", QFileInfo(work.path()).canonicalFilePath()}));
        QFile::remove(output);
        QVERIFY(powerOffDevice(QStringLiteral("dev"), {QStringLiteral("--no-popup")}, bin.path(), bin.path()));
        QTRY_VERIFY(QFileInfo::exists(output));
        QCOMPARE(readLines(output).mid(0, 4), (QStringList{"--vm-name", "dev", "--no-popup", "--poweroff"}));
    }
};

CALDERWICK_TEST_MAIN(TestHelpers)
#include "tst_helpers.moc"
