#include "logreader.h"
#include "messageboxes.h"
#include "playeroptions.h"
#include "testenvironment.h"

#include <QMessageBox>
#include <QPointer>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

#include <memory>

namespace {

using BoxFunction = void (*)(const QString &, QWidget *);

const QString childProgram = QStringLiteral(CALDERWICK_TEST_BIN_DIR "/appchild");

} // namespace

Q_DECLARE_METATYPE(BoxFunction)

class TestMessageBoxes : public QObject
{
    Q_OBJECT

    std::unique_ptr<LogReader> m_log;

private slots:
    void initTestCase() { m_log = std::make_unique<LogReader>(); }
    void cleanup() { Global::noPopup = false; }

    void boxes_data()
    {
        QTest::addColumn<BoxFunction>("show");
        QTest::addColumn<QString>("title");
        QTest::addColumn<int>("icon");
        QTest::newRow("error") << BoxFunction(&showError) << "Error" << int(QMessageBox::Critical);
        QTest::newRow("warning") << BoxFunction(&showWarning) << "Warning" << int(QMessageBox::Warning);
        QTest::newRow("info") << BoxFunction(&showInfo) << "Info" << int(QMessageBox::Information);
    }

    void boxes();
    void fatalExit_data();
    void fatalExit();
};

void TestMessageBoxes::boxes()
{
    QFETCH(BoxFunction, show);
    QFETCH(QString, title);
    QFETCH(int, icon);

    // With --no-popup a box is one critical line and no window.
    Global::noPopup = true;
    m_log->clear();
    const QString line = QStringLiteral("<b>Could not start</b> the \"device\"<br/>Try again.");
    show(line, nullptr);
    QCOMPARE(m_log->messages(), QStringList{QStringLiteral("[Error] ") + line});
    QVERIFY(QApplication::topLevelWidgets().isEmpty());
    Global::noPopup = false;

    QWidget parent;
    const QString text = QStringLiteral("<i>Disk</i> full");
    // Looked at while the box runs, since it deletes itself once closed.
    bool visible = false;
    QVariantList seen;
    QPointer<QMessageBox> box;
    QTimer::singleShot(0, this, [&] {
        box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!box)
            return;
        visible = box->isVisible();
        seen = {box->windowTitle(), int(box->icon()), int(box->textFormat()), box->text(),
                QVariant::fromValue<void *>(box->parentWidget())};
        box->close();
    });
    m_log->clear();
    show(text, &parent); // blocks until the timer closes the box

    QVERIFY(visible);
    QCOMPARE(seen, (QVariantList{title, icon, int(Qt::RichText), text, QVariant::fromValue<void *>(&parent)}));
    // QDialog::exec() itself deletes a box marked delete-on-close once it ends.
    QVERIFY(box.isNull());
    QVERIFY(m_log->matching(text).isEmpty());
}

void TestMessageBoxes::fatalExit_data()
{
    QTest::addColumn<QString>("mode");
    QTest::addColumn<int>("status");
    QTest::addColumn<QStringList>("expected");

    const QString exitLine = QStringLiteral("[Error] ****  EXIT WITH ERROR  ****");
    QTest::newRow("records the stop") << "fatal" << 13
                                      << QStringList{QStringLiteral("[Debug] recordStop 13"), exitLine,
                                                     QStringLiteral("[Debug] after fatalExit"),
                                                     QStringLiteral("[Debug] exec returned 13")};
    // A failure found before the event loop runs must still end it, not leave it running forever.
    QTest::newRow("before the loop") << "fatal-early" << 5
                                     << QStringList{QStringLiteral("[Debug] recordStop 5"), exitLine,
                                                    QStringLiteral("[Debug] after fatalExit"),
                                                    QStringLiteral("[Debug] exec returned 5")};
    QTest::newRow("no recorder") << "fatal-plain" << 7
                                 << QStringList{exitLine, QStringLiteral("[Debug] after fatalExit"),
                                                QStringLiteral("[Debug] exec returned 7")};
}

void TestMessageBoxes::fatalExit()
{
    // Runs in a process of its own: the application object is the child's, and a left event
    // loop would end this test process too.
    QFETCH(QString, mode);
    QFETCH(int, status);
    QFETCH(QStringList, expected);

    QTemporaryDir dir;
    const QString logFile = dir.filePath(QStringLiteral("child.log"));
    QProcess child;
    child.start(childProgram, {mode, QString::number(status), logFile});
    if (!child.waitForFinished(10000)) {
        child.kill();
        child.waitForFinished();
        QFAIL("the child's event loop did not end");
    }
    QCOMPARE(child.exitStatus(), QProcess::NormalExit);
    QCOMPARE(child.exitCode(), status);

    QFile file(logFile);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QStringList messages;
    for (const QByteArray &line : file.readAll().split('\n')) {
        const int at = line.indexOf("[Child] ");
        if (at >= 0)
            messages << QString::fromUtf8(line.mid(at + 8));
    }
    QCOMPARE(messages, expected);
}

CALDERWICK_TEST_GUI_MAIN(TestMessageBoxes)
#include "tst_messageboxes.moc"
