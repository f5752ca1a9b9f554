// The English translation file: every key the code uses has a text, in the context where the
// code looks it up, and the compiled file loads and translates.
#include <QDirIterator>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTranslator>
#include <QXmlStreamReader>
#include <QtTest>

namespace {

struct Message
{
    QString translation;
    bool finished = true;
};

// context -> source -> message
using Catalogue = QMap<QString, QMap<QString, Message>>;

bool readCatalogue(const QString &path, Catalogue &catalogue, QString &error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        error = file.errorString();
        return false;
    }
    QXmlStreamReader xml(&file);
    QString context, source;
    Message message;
    while (!xml.atEnd()) {
        xml.readNext();
        if (!xml.isStartElement())
            continue;
        const QStringRef name = xml.name();
        if (name == QLatin1String("context")) {
            context.clear();
        } else if (name == QLatin1String("name")) {
            context = xml.readElementText();
        } else if (name == QLatin1String("source")) {
            source = xml.readElementText();
        } else if (name == QLatin1String("translation")) {
            const QStringRef type = xml.attributes().value(QLatin1String("type"));
            message.finished = type.isEmpty();
            message.translation = xml.readElementText();
            catalogue[context].insert(source, message);
        }
    }
    if (xml.hasError()) {
        error = xml.errorString() + QStringLiteral(" at line ") + QString::number(xml.lineNumber());
        return false;
    }
    return true;
}

QString tsPath()
{
    return QStringLiteral(CALDERWICK_SOURCE_DIR "/translations/player_en.ts");
}

// The program's source folders: everything but tests, benchmarks, build trees and tooling.
QStringList sourceFolders()
{
    static const QStringList skipped = {"tests", "bench", "cmake", "scripts", "translations", "resources"};
    QStringList folders;
    const QDir root(QStringLiteral(CALDERWICK_SOURCE_DIR));
    for (const QString &entry : root.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        if (!skipped.contains(entry) && !entry.startsWith(QLatin1String("build")) && !entry.startsWith(QLatin1Char('.')))
            folders << root.filePath(entry);
    }
    return folders;
}

struct Use
{
    QString context; // empty when the class context is implied (tr, QT_TR_NOOP)
    QString key;
    QString where;
};

QList<Use> keysInSources()
{
    // Dotted keys in the calls that mark text for translation.
    static const QString key = QStringLiteral("\"([A-Za-z][A-Za-z0-9_-]*(?:\\.[A-Za-z0-9_%:?-]*)+)\"");
    static const QRegularExpression implied(QStringLiteral("\\b(?:tr|QT_TR_NOOP)\\(\\s*") + key);
    static const QRegularExpression explicitContext(
        QStringLiteral("\\b(?:translate|QT_TRANSLATE_NOOP)\\(\\s*\"([A-Za-z_][A-Za-z0-9_:]*)\"\\s*,\\s*") + key);
    QList<Use> uses;
    for (const QString &folder : sourceFolders()) {
        QDirIterator it(folder, {"*.cpp", "*.h"}, QDir::Files, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString path = it.next();
            QFile file(path);
            if (!file.open(QIODevice::ReadOnly))
                continue;
            const QString text = QString::fromUtf8(file.readAll());
            const QString where = QDir(QStringLiteral(CALDERWICK_SOURCE_DIR)).relativeFilePath(path);
            for (auto m = implied.globalMatch(text); m.hasNext();)
                uses.append({QString(), m.next().captured(1), where});
            for (auto m = explicitContext.globalMatch(text); m.hasNext();) {
                const auto match = m.next();
                uses.append({match.captured(1), match.captured(2), where});
            }
        }
    }
    return uses;
}

} // namespace

class TestTranslations : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void everyMessageHasText();
    void keysInCodeHaveText();
    void contextsAsLupdateSeesThem();
    void compiledFileTranslates_data();
    void compiledFileTranslates();
    void installedTranslatorServesTr();

private:
    Catalogue catalogue;
};

void TestTranslations::initTestCase()
{
    QString error;
    QVERIFY2(readCatalogue(tsPath(), catalogue, error), qPrintable(error));
    QVERIFY(catalogue.size() > 10);
}

void TestTranslations::everyMessageHasText()
{
    QStringList bad;
    int count = 0;
    for (auto c = catalogue.cbegin(); c != catalogue.cend(); ++c) {
        for (auto m = c->cbegin(); m != c->cend(); ++m) {
            ++count;
            if (!m->finished || m->translation.trimmed().isEmpty())
                bad << c.key() + QStringLiteral(": ") + m.key();
        }
    }
    QVERIFY2(bad.isEmpty(), qPrintable(bad.join(QLatin1Char('\n'))));
    QVERIFY(count >= 250);
}

void TestTranslations::keysInCodeHaveText()
{
    const QList<Use> uses = keysInSources();
    QVERIFY(!uses.isEmpty());
    QStringList missing;
    for (const Use &use : uses) {
        bool found = false;
        if (!use.context.isEmpty()) {
            found = catalogue.value(use.context).contains(use.key);
        } else {
            for (const auto &messages : catalogue)
                found = found || messages.contains(use.key);
        }
        if (!found)
            missing << use.where + QStringLiteral(": ") + (use.context.isEmpty() ? QString() : use.context + QStringLiteral("::"))
                           + use.key;
    }
    QVERIFY2(missing.isEmpty(), qPrintable(QStringLiteral("no English text for:\n") + missing.join(QLatin1Char('\n'))));
}

void TestTranslations::contextsAsLupdateSeesThem()
{
    // lupdate knows which class a tr() call belongs to; every message it finds must be
    // answered in that very context, or the lookup at run time falls back to the bare key.
    QTemporaryDir scratch;
    QVERIFY(scratch.isValid());
    const QString found = scratch.filePath(QStringLiteral("found.ts"));
    QProcess lupdate;
    lupdate.setProcessChannelMode(QProcess::MergedChannels);
    lupdate.start(QStringLiteral(LUPDATE_PATH),
                  QStringList{QStringLiteral("-silent"), QStringLiteral("-recursive"), QStringLiteral("-locations"),
                              QStringLiteral("none")}
                      + sourceFolders() + QStringList{QStringLiteral("-ts"), found});
    QVERIFY2(lupdate.waitForFinished(90000), "lupdate did not finish");
    QVERIFY2(lupdate.exitStatus() == QProcess::NormalExit && lupdate.exitCode() == 0,
             lupdate.readAll().constData());

    Catalogue used;
    QString error;
    QVERIFY2(readCatalogue(found, used, error), qPrintable(error));
    QVERIFY(!used.isEmpty());
    QStringList missing;
    for (auto c = used.cbegin(); c != used.cend(); ++c) {
        for (auto m = c->cbegin(); m != c->cend(); ++m) {
            const Message ours = catalogue.value(c.key()).value(m.key(), Message{QString(), false});
            if (!ours.finished || ours.translation.isEmpty())
                missing << c.key() + QStringLiteral("::") + m.key();
        }
    }
    QVERIFY2(missing.isEmpty(), qPrintable(QStringLiteral("not in player_en.ts:\n") + missing.join(QLatin1Char('\n'))));
}

void TestTranslations::compiledFileTranslates_data()
{
    QTest::addColumn<QString>("context");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("english");
    QTest::newRow("report") << "PlayerApp" << "error.run.virtual.device" << "The virtual device could not be started.";
    QTest::newRow("panel frame") << "PanelWidget" << "Calderwick sensor" << "Calderwick sensor";
    QTest::newRow("profile") << "WidgetNetwork" << "widget.network.status.wifi" << "Wi-Fi";
    QTest::newRow("argument") << "PlayerApp" << "calderwick.version:%1" << "Calderwick version: %1";
    QTest::newRow("question mark") << "PlayerApp" << "do.you.want.to.download.the.latest.version?"
                                   << "Do you want to download the latest version?";
    QTest::newRow("tool tip") << "ToolbarButton" << "virtual.device.not.compatible"
                              << "not available on this virtual device";
    // A key outside its context is not found: the translator answers nothing.
    QTest::newRow("other context") << "WidgetGps" << "widget.network.status.wifi" << "";
}

void TestTranslations::compiledFileTranslates()
{
    QFETCH(QString, context);
    QFETCH(QString, key);
    QFETCH(QString, english);
    QTranslator translator;
    QVERIFY(translator.load(QStringLiteral("player_en"), QStringLiteral(CALDERWICK_BIN_DIR "/translations")));
    QCOMPARE(translator.translate(context.toUtf8().constData(), key.toUtf8().constData()), english);
}

void TestTranslations::installedTranslatorServesTr()
{
    QTranslator translator;
    QVERIFY(translator.load(QStringLiteral("player_en"), QStringLiteral(CALDERWICK_BIN_DIR "/translations")));
    QVERIFY(QCoreApplication::installTranslator(&translator));
    QCOMPARE(QCoreApplication::translate("PanelWidget", "Off"), QStringLiteral("Off"));
    QCOMPARE(QCoreApplication::translate("WidgetBattery", "charging"), QStringLiteral("Charging"));
    QCOMPARE(QCoreApplication::translate("EventManager", "vbox.state.error").arg(QStringLiteral("off")),
             QStringLiteral("The virtual device is off. The player cannot reach it."));
    QCoreApplication::removeTranslator(&translator);
    QCOMPARE(QCoreApplication::translate("WidgetBattery", "charging"), QStringLiteral("charging"));
}

QTEST_GUILESS_MAIN(TestTranslations)
#include "tst_translations.moc"
