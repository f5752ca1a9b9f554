// The resource tree: every image the program names loads at its size, the Lato faces register,
// and the sounds are PCM WAV files that the sound player can take.
#include <QDirIterator>
#include <QFile>
#include <QFontDatabase>
#include <QIcon>
#include <QPixmap>
#include <QRegularExpression>
#include <QSet>
#include <QtEndian>
#include <QtTest>

namespace {

const QStringList actionIcons = {"sound-up", "sound-down", "rotate", "pixelperfect", "pixelperfect-active",
                                 "back", "recent", "menu", "home", "power"};
const QStringList panelIcons = {"battery", "gps", "camera", "screencast", "remote", "deviceid", "network", "baseband"};

// Paths that the code builds or names on purpose without a resource behind them.
bool deliberatelyAbsent(const QString &path)
{
    // The companion application is an Android build of its own, not made by this build; the
    // install reports its absence ("can't create temporary file").
    return path == QLatin1String(":/widget/remote/spinner")
           || path == QLatin1String(":/android/calderwick-remote-control.apk");
}

// The program's own image folders; Qt keeps resources of its own beside them.
bool isImage(const QString &path)
{
    static const QStringList folders = {"panel", "buttons", "common", "menu", "picto", "popup", "widgets"};
    return path == QLatin1String(":/icon") || path == QLatin1String(":/logo")
           || folders.contains(path.section(QLatin1Char('/'), 1, 1));
}

} // namespace

class TestResources : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void images_data();
    void images();
    void toolbarIcons();
    void wholeTree();
    void pathsNamedInSources();
    void fonts();
    void sounds_data();
    void sounds();
};

void TestResources::images_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QSize>("size");

    const QSize icon(30, 30);
    for (const QString &name : actionIcons) {
        for (const char *suffix : {"-default", "-hover", "-disabled"}) {
            const QString path = QStringLiteral(":/panel/button/") + name + QLatin1String(suffix);
            QTest::newRow(qPrintable(path)) << path << icon;
        }
    }
    for (const QString &name : panelIcons) {
        for (const char *suffix : {"-notvisible-notactivate", "-visible-notactivate", "-notvisible-activate",
                                   "-visible-activate", "-disabled"}) {
            const QString path = QStringLiteral(":/panel/") + name + QLatin1String(suffix);
            QTest::newRow(qPrintable(path)) << path << icon;
        }
    }

    const struct {
        const char *path;
        QSize size;
    } fixed[] = {
        {":/icon", QSize(512, 512)},
        {":/logo", QSize(320, 320)},
        {":/buttons/default", QSize(60, 30)},
        {":/buttons/disabled", QSize(60, 30)},
        {":/buttons/hover", QSize(60, 30)},
        {":/buttons/pressed", QSize(60, 30)},
        {":/buttons/hover_pressed", QSize(60, 30)},
        {":/buttons/close_popup", QSize(31, 33)},
        {":/common/arrow_down_preview", QSize(16, 16)},
        {":/common/arrow_down_combobox", QSize(12, 12)},
        {":/common/arrow_up_combobox", QSize(12, 12)},
        {":/common/champ_text.png", QSize(40, 30)},
        {":/common/slider_button.png", QSize(20, 20)},
        {":/common/cross", QSize(32, 32)},
        {":/menu/help_default", QSize(32, 32)},
        {":/picto/check", QSize(32, 32)},
        {":/picto/cross", QSize(32, 32)},
        {":/picto/grey-cross", QSize(32, 32)},
        {":/picto/info", QSize(32, 32)},
        {":/picto/cloud", QSize(64, 64)},
        {":/picto/download", QSize(64, 64)},
        {":/picto/erase_disabled", QSize(32, 32)},
        {":/picto/spinner", QSize(64, 64)},
        {":/picto/random_default", QSize(20, 20)},
        {":/picto/random_hover", QSize(20, 20)},
        {":/popup/top_left_corner", QSize(13, 13)},
        {":/popup/border_top", QSize(13, 13)},
        {":/popup/top_right_corner", QSize(13, 13)},
        {":/popup/border_left", QSize(13, 13)},
        {":/popup/border_right", QSize(13, 13)},
        {":/popup/bottom_left_corner", QSize(13, 13)},
        {":/popup/border_bottom", QSize(13, 13)},
        {":/popup/bottom_right_corner", QSize(13, 13)},
        {":/widgets/battery/battery0_default.svg", QSize(64, 64)},
        {":/widgets/battery/battery25_default.svg", QSize(64, 64)},
        {":/widgets/battery/battery50_default.svg", QSize(64, 64)},
        {":/widgets/battery/battery75_default.svg", QSize(64, 64)},
        {":/widgets/battery/battery100_default.svg", QSize(64, 64)},
        {":/widgets/battery/charging_on.svg", QSize(32, 32)},
        {":/widgets/battery/charging_off.svg", QSize(32, 32)},
        {":/widgets/checkbox_bg_disabled", QSize(16, 16)},
        {":/widgets/check_enabled", QSize(16, 16)},
        {":/widgets/check_disabled", QSize(16, 16)},
        {":/widgets/radio_button", QSize(16, 16)},
        {":/widgets/cli_radio_button", QSize(16, 16)},
        {":/widgets/common/btn_switch_off", QSize(77, 27)},
        {":/widgets/common/btn_switch_on", QSize(77, 27)},
        {":/widgets/common/btn_switch_disabled", QSize(77, 27)},
        {":/widgets/gps/boussole_background.svg", QSize(200, 200)},
        {":/widgets/gps/boussole_arrow.svg", QSize(200, 200)},
        {":/widgets/gps/boussole_arrow_disabled.svg", QSize(200, 200)},
        {":/widgets/gps/btn_map_default.png", QSize(49, 49)},
        {":/widgets/gps/btn_map_hover.png", QSize(49, 49)},
        {":/widgets/gps/btn_map_pressed.png", QSize(49, 49)},
        {":/widgets/gps/btn_map_hover_pressed.png", QSize(49, 49)},
        {":/widgets/screencast/snapshot-default", QSize(48, 48)},
        {":/widgets/screencast/snapshot-hover", QSize(48, 48)},
        {":/widgets/screencast/video-default", QSize(48, 48)},
        {":/widgets/screencast/video-hover", QSize(48, 48)},
        {":/widgets/screencast/folder-default", QSize(48, 48)},
        {":/widgets/screencast/folder-hover", QSize(48, 48)},
        {":/widgets/screencast/screencast-info", QSize(32, 32)},
    };
    for (const auto &entry : fixed)
        QTest::newRow(entry.path) << QString::fromLatin1(entry.path) << entry.size;
}

void TestResources::images()
{
    QFETCH(QString, path);
    QFETCH(QSize, size);

    QVERIFY2(QFile::exists(path), qPrintable(path));
    const QPixmap pixmap(path);
    QVERIFY2(!pixmap.isNull(), qPrintable(path));
    QCOMPARE(pixmap.size(), size);

    // Something is drawn: not a blank, fully transparent picture.
    const QImage image = pixmap.toImage().convertToFormat(QImage::Format_ARGB32);
    bool drawn = false;
    for (int y = 0; y < image.height() && !drawn; ++y) {
        for (int x = 0; x < image.width() && !drawn; ++x)
            drawn = qAlpha(image.pixel(x, y)) > 0;
    }
    QVERIFY2(drawn, qPrintable(path));

    const QIcon icon(path);
    QVERIFY(!icon.isNull());
    QVERIFY(!icon.pixmap(size).isNull());
}

void TestResources::toolbarIcons()
{
    // The states of one button must look different, or the user cannot tell them apart.
    for (const QString &name : panelIcons) {
        QSet<QByteArray> seen;
        for (const char *suffix : {"-notvisible-notactivate", "-visible-notactivate", "-notvisible-activate",
                                   "-visible-activate", "-disabled"}) {
            const QImage image = QPixmap(QStringLiteral(":/panel/") + name + QLatin1String(suffix)).toImage();
            seen.insert(QByteArray(reinterpret_cast<const char *>(image.constBits()), int(image.sizeInBytes())));
        }
        QCOMPARE(seen.size(), 5);
    }
    for (const QString &name : actionIcons) {
        const QImage normal = QPixmap(QStringLiteral(":/panel/button/") + name + QStringLiteral("-default")).toImage();
        const QImage hover = QPixmap(QStringLiteral(":/panel/button/") + name + QStringLiteral("-hover")).toImage();
        QVERIFY2(normal != hover, qPrintable(name));
    }
}

void TestResources::wholeTree()
{
    int images = 0;
    QDirIterator it(QStringLiteral(":/"), QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        if (!isImage(path))
            continue;
        QVERIFY2(!QPixmap(path).isNull(), qPrintable(path));
        ++images;
    }
    QVERIFY(images >= 130);
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

void TestResources::sounds_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("screenshot") << QStringLiteral(":/sounds/screenshot");
    QTest::newRow("screencast_start") << QStringLiteral(":/sounds/screencast_start");
    QTest::newRow("screencast_stop") << QStringLiteral(":/sounds/screencast_stop");
}

void TestResources::sounds()
{
    QFETCH(QString, path);
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

QTEST_MAIN(TestResources)
#include "tst_resources.moc"
