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

QStringList readLines(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

// The texts of a file's lines, without date, time and application.
QStringList messages(const QString &path)
{
    QStringList texts;
    for (const QString &line : readLines(path))
        texts << line.section(QStringLiteral("] "), 1);
    return texts;
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

// Runs "appchild log <application> <file> <message>..." and gives its standard output.
QByteArray runChild(const QStringList &arguments, const QString &workingDirectory = QString(),
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
    child.start(QStringLiteral(CALDERWICK_TEST_BIN_DIR "/appchild"), QStringList{QStringLiteral("log")} + arguments);
    if (!child.waitForFinished(20000) || child.exitCode() != 0 || !child.readAllStandardError().isEmpty())
        return "(child failed)";
    return child.readAllStandardOutput();
}

} // namespace

class TestLogging : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QString m_path;

private slots:
    void init()
    {
        // A fresh file per test; QtTest's own handler is replaced as soon as a test installs one.
        static int count = 0;
        m_path = m_dir.filePath(QStringLiteral("log%1.log").arg(++count));
        setLogLimits(LogLimits());
    }

    void lineFormat()
    {
        installLogging(QStringLiteral("Calderwick Player"), m_path);
        qDebug("hello there");
        qWarning("hello there");
        qCritical("hello there");
        qInfo("hello there"); // there is no info level: an empty text
        const QStringList lines = readLines(m_path);
        QCOMPARE(lines.size(), 4);
        const QStringList texts = {"[Debug] hello there", "[Warning] hello there", "[Error] hello there", ""};
        for (int i = 0; i < 4; ++i) {
            const auto match = expectedLine(QStringLiteral("Calderwick Player"), texts.at(i)).match(lines.at(i));
            QVERIFY2(match.hasMatch(), qPrintable(lines.at(i)));
            const int day = match.captured(2).toInt();
            QVERIFY(day == QDate::currentDate().day() || day == QDate::currentDate().addDays(-1).day());
        }
        // A fatal message ends the process, so its line is checked without sending one.
        const QString fatal = formatLogLine(QtFatalMsg, QStringLiteral("App"), QStringLiteral("gone"));
        QVERIFY2(expectedLine(QStringLiteral("App"), QStringLiteral("[Fatal] gone")).match(fatal).hasMatch(), qPrintable(fatal));
    }

    void fileOpensLateAppendsAndSwitches()
    {
        QVERIFY(writeFile(m_path, "from an earlier run\n"));
        installLogging(QStringLiteral("App"), m_path);
        qDebug("first");
        // A first run has no folder yet; the new file is not made before its first line.
        const QString second = m_dir.filePath(QStringLiteral("new/folder/second.log"));
        installLogging(QStringLiteral("Other"), second);
        QCOMPARE(logFilePath(), second);
        QVERIFY(!QFileInfo::exists(second));
        qDebug("in the machine's log directory");
        QCOMPARE(readLines(m_path).value(0), QStringLiteral("from an earlier run"));
        QCOMPARE(messages(m_path).mid(1), QStringList{"[Debug] first"});
        QCOMPARE(messages(second), QStringList{"[Debug] in the machine's log directory"});
        QVERIFY(readLines(second).value(0).contains(QStringLiteral("[Other] ")));
    }

    void unwritableNextFileKeepsThePreviousOne()
    {
        installLogging(QStringLiteral("App"), m_path);
        qDebug("before the move");
        // A regular file stands where the machine's log folder should be.
        const QString blocker = m_dir.filePath(QStringLiteral("blocker"));
        QVERIFY(writeFile(blocker, "not a directory"));
        installLogging(QStringLiteral("App"), blocker + QStringLiteral("/calderwick-player.log"));
        qDebug("after the move");
        qDebug("and later");
        const QStringList lines = messages(m_path);
        QCOMPARE(lines.size(), 4);
        QCOMPARE(lines.at(0), QStringLiteral("[Debug] before the move"));
        QVERIFY2(lines.at(1).startsWith(QStringLiteral("[Warning] [Logging] Cannot write the log file ") + blocker
                                        + QStringLiteral("/calderwick-player.log")),
                 qPrintable(lines.at(1)));
        QCOMPARE(lines.mid(2), (QStringList{"[Debug] after the move", "[Debug] and later"}));
        QCOMPARE(QFileInfo(blocker).size(), qint64(15));
    }

    void repeatedLinesAreCountedNotWritten()
    {
        LogLimits limits;
        limits.linesPerBurst = 3;
        limits.tagLinesPerBurst = 4;
        limits.windowMs = 300;
        setLogLimits(limits);
        installLogging(QStringLiteral("App"), m_path);
        for (int i = 0; i < 1000; ++i)
            qWarning("Cannot parse message from device");
        for (int i = 0; i < 10; ++i)
            qWarning("[Device][read] garbage %d", i);
        qDebug("a line between");
        QTest::qWait(350);
        qDebug("after the burst");
        QCOMPARE(messages(m_path),
                 (QStringList{"[Warning] Cannot parse message from device", "[Warning] Cannot parse message from device",
                              "[Warning] Cannot parse message from device", "[Warning] [Device][read] garbage 0",
                              "[Warning] [Device][read] garbage 1", "[Warning] [Device][read] garbage 2",
                              "[Warning] [Device][read] garbage 3", "[Debug] a line between",
                              "[Warning] [Logging] \"Cannot parse message from device\" repeated 997 times",
                              "[Warning] [Logging] [Device][read] lines repeated 6 times, the last: \"[Device][read] garbage 9\"",
                              "[Debug] after the burst"}));
    }

    void fullFileIsMovedAsideOnce()
    {
        LogLimits limits;
        limits.maxBytes = 2000;
        setLogLimits(limits);
        installLogging(QStringLiteral("App"), m_path);
        for (int i = 0; i < 100; ++i)
            qDebug("line %d of a log that grows and grows", i);
        const QString aside = m_path + QStringLiteral(".1");
        QVERIFY(QFileInfo(m_path).size() <= 2000);
        QVERIFY(QFileInfo(aside).size() <= 2000);
        const QStringList lines = messages(m_path);
        QVERIFY2(lines.first().startsWith(QStringLiteral("[Warning] [Logging] The log reached ")), qPrintable(lines.first()));
        QVERIFY(lines.first().endsWith(QStringLiteral("; earlier lines are in ") + aside));
        QCOMPARE(lines.last(), QStringLiteral("[Debug] line 99 of a log that grows and grows"));
        QVERIFY(!QFileInfo::exists(aside + QStringLiteral(".1")));
    }

    void linesFromThreadsStayWhole()
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

    // Nothing but the one line naming the file (made absolute) goes to standard output, and
    // the date stays English in any locale.
    void childProcessOutput()
    {
        const QString path = m_dir.filePath(QStringLiteral("relative.log"));
        QCOMPARE(runChild({QStringLiteral("App"), QStringLiteral("relative.log"), QStringLiteral("bonjour"), QStringLiteral("two")},
                          m_dir.path(), QStringLiteral("fr_FR.UTF-8")),
                 QByteArray("Logging activities to file: " + path.toLocal8Bit() + '\n'));
        QVERIFY2(expectedLine(QStringLiteral("App"), QStringLiteral("[Debug] bonjour")).match(readLines(path).value(0)).hasMatch(),
                 qPrintable(readLines(path).value(0)));
        QCOMPARE(messages(path), (QStringList{"[Debug] bonjour", "[Debug] two"}));
        // A file that cannot be opened is told at every message: each one tries again.
        const QString blocker = m_dir.filePath(QStringLiteral("blocker2"));
        QVERIFY(writeFile(blocker, "not a directory"));
        const QString unwritable = blocker + QStringLiteral("/player.log");
        const QStringList out = QString::fromLocal8Bit(runChild({QStringLiteral("App"), unwritable, QStringLiteral("1"), QStringLiteral("2")}))
                                    .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        QCOMPARE(out.size(), 2);
        for (const QString &line : out)
            QVERIFY2(line.startsWith(QStringLiteral("Error while opening log file: ") + unwritable + QStringLiteral(": ")), qPrintable(line));
    }
};

CALDERWICK_TEST_MAIN(TestLogging)
#include "tst_logging.moc"
