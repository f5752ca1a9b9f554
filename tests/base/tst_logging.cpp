#include "logging.h"
#include "testenvironment.h"

#include <QDate>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <thread>
#include <vector>

namespace {

const QString childProgram = QStringLiteral(CALDERWICK_TEST_BIN_DIR "/appchild");

QStringList readLines(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
    if (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    return lines;
}

bool writeFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

// "Nov 14 15:30:54 [<application>] <text>", the date in English, the day without a leading zero.
QRegularExpression expectedLine(const QString &application, const QString &text)
{
    return QRegularExpression(
        QStringLiteral("^(Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) ([1-9]\\d?) "
                       "([01]\\d|2[0-3]):[0-5]\\d:[0-5]\\d \\[%1\\] %2$")
            .arg(QRegularExpression::escape(application), QRegularExpression::escape(text)));
}

struct ChildResult
{
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

ChildResult runChild(const QStringList &arguments, const QString &workingDirectory = QString(),
                     const QString &locale = QString())
{
    QProcess child;
    child.setWorkingDirectory(workingDirectory);
    if (!locale.isEmpty()) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("LC_ALL"), locale);
        environment.insert(QStringLiteral("LANG"), locale);
        child.setProcessEnvironment(environment);
    }
    child.start(childProgram, arguments);
    ChildResult result;
    if (!child.waitForFinished(20000)) {
        child.kill();
        child.waitForFinished();
        return result;
    }
    result.exitCode = child.exitStatus() == QProcess::NormalExit ? child.exitCode() : -1;
    result.out = child.readAllStandardOutput();
    result.err = child.readAllStandardError();
    return result;
}

} // namespace

class TestLogging : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void lineFormat_data();
    void lineFormat();
    void fatalLineFormat();
    void fileOpensAtFirstMessage();
    void missingDirectoryIsCreated();
    void appendsAcrossInstalls();
    void secondInstallSwitchesFiles();
    void linesFromThreadsStayWhole();

    void dateStaysEnglish_data();
    void dateStaysEnglish();
    void standardOutputNamesTheFile();
    void relativePathIsShownAbsolute();
    void unopenableFileIsReportedAtEachMessage();

private:
    QTemporaryDir m_dir;
    QString m_path;
};

void TestLogging::init()
{
    // A fresh file per test; QtTest's own handler is replaced as soon as a test installs one.
    static int count = 0;
    m_path = m_dir.filePath(QStringLiteral("log%1.log").arg(++count));
}

void TestLogging::lineFormat_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("text");

    QTest::newRow("debug") << int(QtDebugMsg) << "[Debug] hello there";
    QTest::newRow("warning") << int(QtWarningMsg) << "[Warning] hello there";
    QTest::newRow("critical") << int(QtCriticalMsg) << "[Error] hello there";
    QTest::newRow("info has no text") << int(QtInfoMsg) << "";
}

void TestLogging::lineFormat()
{
    QFETCH(int, type);
    QFETCH(QString, text);

    installLogging(QStringLiteral("Calderwick Player"), m_path);
    switch (type) {
    case QtDebugMsg:
        qDebug("hello there");
        break;
    case QtWarningMsg:
        qWarning("hello there");
        break;
    case QtCriticalMsg:
        qCritical("hello there");
        break;
    default:
        qInfo("hello there");
        break;
    }

    const QStringList lines = readLines(m_path);
    QCOMPARE(lines.size(), 1);
    const QRegularExpressionMatch match = expectedLine(QStringLiteral("Calderwick Player"), text).match(lines.first());
    QVERIFY2(match.hasMatch(), qPrintable(lines.first()));
    const int day = match.captured(2).toInt();
    QVERIFY(day == QDate::currentDate().day() || day == QDate::currentDate().addDays(-1).day());
}

void TestLogging::fatalLineFormat()
{
    // A fatal message ends the process, so its line is checked without sending one.
    const QString line = formatLogLine(QtFatalMsg, QStringLiteral("App"), QStringLiteral("gone"));
    QVERIFY2(expectedLine(QStringLiteral("App"), QStringLiteral("[Fatal] gone")).match(line).hasMatch(),
             qPrintable(line));
}

void TestLogging::fileOpensAtFirstMessage()
{
    installLogging(QStringLiteral("App"), m_path);
    QCOMPARE(logFilePath(), m_path);
    QVERIFY(!QFileInfo::exists(m_path));
    qWarning("first");
    QCOMPARE(readLines(m_path).size(), 1);
}

void TestLogging::missingDirectoryIsCreated()
{
    // The first run of the player has no ~/.Brackenlea yet.
    const QString path = m_dir.filePath(QStringLiteral("new/folder/first.log"));
    installLogging(QStringLiteral("App"), path);
    qDebug("into a new folder");
    const QStringList lines = readLines(path);
    QCOMPARE(lines.size(), 1);
    QVERIFY(lines.first().endsWith(QStringLiteral("[App] [Debug] into a new folder")));
}

void TestLogging::appendsAcrossInstalls()
{
    QVERIFY(writeFile(m_path, "from an earlier run\n"));
    installLogging(QStringLiteral("App"), m_path);
    qDebug("first");
    installLogging(QStringLiteral("App"), m_path);
    qDebug("second");

    const QStringList lines = readLines(m_path);
    QCOMPARE(lines.size(), 3);
    QCOMPARE(lines.at(0), QStringLiteral("from an earlier run"));
    QVERIFY(lines.at(1).endsWith(QStringLiteral("[App] [Debug] first")));
    QVERIFY(lines.at(2).endsWith(QStringLiteral("[App] [Debug] second")));
}

void TestLogging::secondInstallSwitchesFiles()
{
    const QString second = m_path + QStringLiteral(".second");
    installLogging(QStringLiteral("Calderwick Player"), m_path);
    qDebug("before the machine is known");
    installLogging(QStringLiteral("Other"), second);
    qDebug("in the machine's log directory");

    QCOMPARE(logFilePath(), second);
    const QStringList first = readLines(m_path);
    QCOMPARE(first.size(), 1);
    QVERIFY(first.first().endsWith(QStringLiteral("[Calderwick Player] [Debug] before the machine is known")));
    const QStringList lines = readLines(second);
    QCOMPARE(lines.size(), 1);
    QVERIFY(lines.first().endsWith(QStringLiteral("[Other] [Debug] in the machine's log directory")));
}

void TestLogging::linesFromThreadsStayWhole()
{
    installLogging(QStringLiteral("App"), m_path);
    const int threads = 4;
    const int perThread = 250;
    std::vector<std::thread> workers;
    for (int t = 0; t < threads; ++t) {
        workers.emplace_back([t] {
            for (int i = 0; i < perThread; ++i)
                qDebug("thread %d line %d with some text to make the line longer", t, i);
        });
    }
    for (std::thread &worker : workers)
        worker.join();

    const QStringList lines = readLines(m_path);
    QCOMPARE(lines.size(), threads * perThread);
    const QRegularExpression whole(QStringLiteral(
        "^\\w{3} \\d{1,2} \\d\\d:\\d\\d:\\d\\d \\[App\\] \\[Debug\\] thread \\d line \\d+ with some text to make "
        "the line longer$"));
    for (const QString &line : lines)
        QVERIFY2(whole.match(line).hasMatch(), qPrintable(line));
}

void TestLogging::dateStaysEnglish_data()
{
    QTest::addColumn<QString>("locale");
    QTest::newRow("French") << "fr_FR.UTF-8";
    QTest::newRow("German") << "de_DE.UTF-8";
    QTest::newRow("Russian") << "ru_RU.UTF-8";
}

void TestLogging::dateStaysEnglish()
{
    QFETCH(QString, locale);
    const ChildResult child = runChild({QStringLiteral("log"), QStringLiteral("App"), m_path, QStringLiteral("bonjour")},
                                       QString(), locale);
    QCOMPARE(child.exitCode, 0);
    const QStringList lines = readLines(m_path);
    QCOMPARE(lines.size(), 1);
    QVERIFY2(expectedLine(QStringLiteral("App"), QStringLiteral("[Debug] bonjour")).match(lines.first()).hasMatch(),
             qPrintable(lines.first()));
}

void TestLogging::standardOutputNamesTheFile()
{
    const ChildResult child = runChild({QStringLiteral("log"), QStringLiteral("Calderwick Player"), m_path,
                                        QStringLiteral("one"), QStringLiteral("two")});
    QCOMPARE(child.exitCode, 0);
    // Nothing but this one line ever goes to standard output.
    QCOMPARE(QString::fromLocal8Bit(child.out),
             QStringLiteral("Logging activities to file: %1\n").arg(QFileInfo(m_path).absoluteFilePath()));
    QCOMPARE(child.err, QByteArray());
    const QStringList lines = readLines(m_path);
    QCOMPARE(lines.size(), 2);
    QVERIFY(expectedLine(QStringLiteral("Calderwick Player"), QStringLiteral("[Debug] one")).match(lines.at(0)).hasMatch());
    QVERIFY(expectedLine(QStringLiteral("Calderwick Player"), QStringLiteral("[Debug] two")).match(lines.at(1)).hasMatch());
}

void TestLogging::relativePathIsShownAbsolute()
{
    const ChildResult child =
        runChild({QStringLiteral("log"), QStringLiteral("App"), QStringLiteral("relative.log"), QStringLiteral("x")},
                 m_dir.path());
    QCOMPARE(child.exitCode, 0);
    QCOMPARE(QString::fromLocal8Bit(child.out),
             QStringLiteral("Logging activities to file: %1\n").arg(m_dir.filePath(QStringLiteral("relative.log"))));
    QCOMPARE(readLines(m_dir.filePath(QStringLiteral("relative.log"))).size(), 1);
}

void TestLogging::unopenableFileIsReportedAtEachMessage()
{
    // A regular file stands where the log's directory should be: no user can open it.
    const QString blocker = m_dir.filePath(QStringLiteral("blocker"));
    QVERIFY(writeFile(blocker, "not a directory"));
    const QString path = blocker + QStringLiteral("/player.log");

    const ChildResult child =
        runChild({QStringLiteral("log"), QStringLiteral("App"), path, QStringLiteral("one"), QStringLiteral("two")});
    QCOMPARE(child.exitCode, 0);
    const QStringList out = QString::fromLocal8Bit(child.out).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    QCOMPARE(out.size(), 2); // every later message tries again
    const QRegularExpression report(
        QStringLiteral("^Error while opening log file: %1: \\S.*$").arg(QRegularExpression::escape(path)));
    for (const QString &line : out)
        QVERIFY2(report.match(line).hasMatch(), qPrintable(line));
    QCOMPARE(QFileInfo(blocker).size(), qint64(15));
}

CALDERWICK_TEST_MAIN(TestLogging)
#include "tst_logging.moc"
