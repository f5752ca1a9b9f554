// The English translation file: every message lupdate finds in the code has a text, in the
// context where the code looks it up, and the compiled file serves each of them.
#include <QProcess>
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

} // namespace

class TestTranslations : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void everyMessageTranslates();
    void contextsAsLupdateSeesThem();

private:
    Catalogue catalogue;
};

void TestTranslations::initTestCase()
{
    QString error;
    QVERIFY2(readCatalogue(tsPath(), catalogue, error), qPrintable(error));
    QVERIFY(catalogue.size() > 10);
}

// Every message of the file has a finished English text, and the compiled file, installed as
// the player installs it, answers that text in that context and in no other.
void TestTranslations::everyMessageTranslates()
{
    QTranslator translator;
    QVERIFY(translator.load(QStringLiteral("player_en"), QStringLiteral(CALDERWICK_BIN_DIR "/translations")));
    QVERIFY(QCoreApplication::installTranslator(&translator));
    QStringList bad;
    int count = 0;
    for (auto c = catalogue.cbegin(); c != catalogue.cend(); ++c) {
        for (auto m = c->cbegin(); m != c->cend(); ++m) {
            ++count;
            const QString served = QCoreApplication::translate(c.key().toUtf8().constData(), m.key().toUtf8().constData());
            if (!m->finished || m->translation.trimmed().isEmpty() || served != m->translation)
                bad << c.key() + QStringLiteral(": ") + m.key() + QStringLiteral(" -> ") + served;
        }
    }
    QCoreApplication::removeTranslator(&translator);
    QVERIFY2(bad.isEmpty(), qPrintable(bad.join(QLatin1Char('\n'))));
    QVERIFY(count >= 250);
    // A key outside its context is not found: the translator answers nothing.
    QCOMPARE(translator.translate("WidgetGps", "widget.network.status.wifi"), QString());
    QCOMPARE(translator.translate("ToolbarButton", "virtual.device.not.compatible"),
             QStringLiteral("not available on this virtual device"));
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

QTEST_GUILESS_MAIN(TestTranslations)
#include "tst_translations.moc"
