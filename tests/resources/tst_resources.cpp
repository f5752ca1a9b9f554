// The resource tree: every image loads, every path the sources name exists, the Lato faces
// register, and the sounds are PCM WAV files that the sound player can take.
#include "apkinfo.h"

#include <QDirIterator>
#include <QFile>
#include <QFontDatabase>
#include <QIcon>
#include <QPixmap>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QtEndian>
#include <QtTest>

namespace {

// Paths that the code builds or names on purpose without a resource behind them.
bool deliberatelyAbsent(const QString &path)
{
    return path == QLatin1String(":/widget/remote/spinner");
}

// The program's own image folders; Qt keeps resources of its own beside them.
bool isImage(const QString &path)
{
    static const QStringList folders = {"panel", "buttons", "common", "menu", "picto", "popup", "widgets"};
    static const QRegularExpression page(QStringLiteral("\\.(html|js|css)$")); // the map page and its script
    if (page.match(path).hasMatch())
        return false;
    return path == QLatin1String(":/icon") || path == QLatin1String(":/logo")
           || folders.contains(path.section(QLatin1Char('/'), 1, 1));
}

bool drawsSomething(const QImage &picture)
{
    const QImage image = picture.convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (qAlpha(image.pixel(x, y)) > 0)
                return true;
    return false;
}

} // namespace

class TestResources : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void wholeTree();
    void pathsNamedInSources();
    void fonts();
    void sounds();
    void companionPackage();

private:
    void checkSound(const QString &path);
};

// Every image of the tree loads and draws something; every toolbar icon (the buttons build
// their names from a base and a state) comes at 30x30 in each state it is asked for, and the
// states of one button look different, or the user cannot tell them apart.
void TestResources::wholeTree()
{
    const QRegularExpression toolbarIcon(QStringLiteral(
        "^:/panel/(button/)?(.+?)-(default|hover|disabled|(?:not)?visible-(?:not)?activate)$"));
    QMap<QString, QMap<QString, QByteArray>> statesOf; // base -> state -> pixels
    int images = 0;
    QDirIterator it(QStringLiteral(":/"), QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        if (!isImage(path))
            continue;
        ++images;
        const QPixmap pixmap(path);
        QVERIFY2(!pixmap.isNull() && drawsSomething(pixmap.toImage()), qPrintable(path));
        QVERIFY2(!QIcon(path).pixmap(pixmap.size()).isNull(), qPrintable(path));
        const QRegularExpressionMatch icon = toolbarIcon.match(path);
        if (!path.startsWith(QLatin1String(":/panel/")))
            continue;
        QVERIFY2(icon.hasMatch(), qPrintable(path));
        QCOMPARE(pixmap.size(), QSize(30, 30));
        const QImage image = pixmap.toImage();
        statesOf[icon.captured(1) + icon.captured(2)].insert(
            icon.captured(3), QByteArray(reinterpret_cast<const char *>(image.constBits()), int(image.sizeInBytes())));
    }
    QVERIFY(images >= 130);
    QVERIFY(statesOf.size() >= 18);
    for (auto icon = statesOf.cbegin(); icon != statesOf.cend(); ++icon) {
        const bool action = icon.key().startsWith(QLatin1String("button/"));
        QVERIFY2(icon->size() == (action ? 3 : 5), qPrintable(icon.key()));
        if (action)
            QVERIFY2(icon->value(QStringLiteral("default")) != icon->value(QStringLiteral("hover")), qPrintable(icon.key()));
        else
            QVERIFY2(QSet<QByteArray>(icon->cbegin(), icon->cend()).size() == 5, qPrintable(icon.key()));
    }
}

void TestResources::initTestCase()
{
    // The application's style sheet lives in the window library's own resources.
    Q_INIT_RESOURCE(window);
}

void TestResources::pathsNamedInSources()
{
    // Every literal resource path in the program's sources must name something in the tree.
    const QRegularExpression literal(QStringLiteral("(?:\"|url\\()(:/[A-Za-z0-9_./-]+)"));
    const QDir root(QStringLiteral(CALDERWICK_SOURCE_DIR));
    QStringList missing;
    int checked = 0;
    QDirIterator it(root.path(), {"*.cpp", "*.h"}, QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString file = it.next();
        const QString relative = root.relativeFilePath(file);
        if (relative.startsWith(QLatin1String("build")) || relative.startsWith(QLatin1String("tests/")))
            continue;
        QFile source(file);
        QVERIFY(source.open(QIODevice::ReadOnly));
        const QString text = QString::fromUtf8(source.readAll());
        auto matches = literal.globalMatch(text);
        while (matches.hasNext()) {
            const QString path = matches.next().captured(1);
            if (path.endsWith(QLatin1Char('/')) || deliberatelyAbsent(path))
                continue; // a prefix that code completes, or a name kept empty on purpose
            ++checked;
            if (!QFile::exists(path))
                missing << relative + QStringLiteral(": ") + path;
        }
    }
    QVERIFY2(missing.isEmpty(), qPrintable(missing.join(QLatin1Char('\n'))));
    QVERIFY(checked > 0);
}

void TestResources::fonts()
{
    for (const char *face : {":/fonts/Lato-Bold", ":/fonts/Lato-Italic", ":/fonts/Lato-BoldItalic",
                             ":/fonts/Lato-Regular"}) {
        const int id = QFontDatabase::addApplicationFont(QString::fromLatin1(face));
        QVERIFY2(id >= 0, face);
        QCOMPARE(QFontDatabase::applicationFontFamilies(id), QStringList{QStringLiteral("Lato")});
    }
    QVERIFY(QFontDatabase().families().contains(QStringLiteral("Lato")));
}

// Every sound of the tree is a short PCM WAV file that the sound player can take.
void TestResources::sounds()
{
    int sounds = 0;
    QDirIterator it(QStringLiteral(":/sounds"), QDir::Files);
    while (it.hasNext()) {
        ++sounds;
        checkSound(it.next());
        if (QTest::currentTestFailed())
            return;
    }
    QVERIFY(sounds > 0);
}

void TestResources::checkSound(const QString &path)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray wav = file.readAll();
    QVERIFY(wav.size() > 44);
    QCOMPARE(wav.left(4), QByteArray("RIFF"));
    QCOMPARE(qFromLittleEndian<quint32>(wav.constData() + 4), quint32(wav.size() - 8));
    QCOMPARE(wav.mid(8, 4), QByteArray("WAVE"));

    // Walk the chunks: a PCM "fmt " chunk, then "data" that fits in the file.
    int pos = 12;
    quint16 channels = 0, bits = 0;
    quint32 rate = 0, dataSize = 0;
    while (pos + 8 <= wav.size()) {
        const QByteArray id = wav.mid(pos, 4);
        const quint32 size = qFromLittleEndian<quint32>(wav.constData() + pos + 4);
        QVERIFY(pos + 8 + qint64(size) <= wav.size());
        if (id == "fmt ") {
            QVERIFY(size >= 16);
            const char *fmt = wav.constData() + pos + 8;
            const quint16 format = qFromLittleEndian<quint16>(fmt);
            QVERIFY(format == 1 || format == 0xFFFE); // PCM, plain or extensible
            channels = qFromLittleEndian<quint16>(fmt + 2);
            rate = qFromLittleEndian<quint32>(fmt + 4);
            bits = qFromLittleEndian<quint16>(fmt + 14);
        } else if (id == "data") {
            dataSize = size;
        }
        pos += 8 + int(size) + int(size & 1);
    }
    QCOMPARE(channels, quint16(1));
    QCOMPARE(rate, quint32(44100));
    QCOMPARE(bits, quint16(16));
    // Short, but long enough to hear: between 50 ms and one second.
    const double seconds = double(dataSize) / (rate * channels * bits / 8);
    QVERIFY2(seconds > 0.05 && seconds < 1.0, qPrintable(QString::number(seconds)));
}

// The companion package installs as a phone's package manager reads it (package name and a
// signing certificate), and aapt finds the activity the remote control starts.
void TestResources::companionPackage()
{
    const QString apk = QStringLiteral(":/android/calderwick-remote-control.apk");
    QFile file(apk);
    QVERIFY(file.open(QIODevice::ReadOnly));
    ApkInfo info;
    QString failure;
    QVERIFY2(ApkInfo::read(&file, &info, &failure), qPrintable(failure));
    QCOMPARE(info.packageName, QStringLiteral("com.calderwick.remotecontrol"));
    QVERIFY(!info.certificateDigest.isEmpty());

    QTemporaryDir dir;
    const QString copy = dir.filePath(QStringLiteral("companion.apk"));
    QVERIFY(QFile::copy(apk, copy));
    QProcess aapt;
    aapt.start(QStringLiteral("aapt"), {QStringLiteral("dump"), QStringLiteral("badging"), copy});
    QVERIFY(aapt.waitForFinished(30000) && aapt.exitCode() == 0);
    const QByteArray badging = aapt.readAllStandardOutput();
    QVERIFY(badging.contains("launchable-activity: name='com.calderwick.remotecontrol.RemoteControlActivity'"));
    QVERIFY(badging.contains("sdkVersion:'8'")); // Android 2.2, the oldest the remote control takes
}

QTEST_MAIN(TestResources)
#include "tst_resources.moc"
