#pragma once

// What every panel suite stands on: a devicesim process on the test's own loopback address,
// its control interface, its journal, and the player connected to it with English texts and
// the player's style, the panel's toolbar button enabled by the device's capabilities.

#include "eventmanager.h"
#include "panelbutton.h"
#include "panelwidget.h"
#include "player.h"
#include "statsmanager.h"
#include "stylesheet.h"
#include "testenvironment.h"
#include "widgettoolbar.h"

#include "openglrender.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QMessageBox>
#include <QProcess>
#include <QTranslator>
#include <QtTest>

class PanelDevice
{
public:
    ~PanelDevice()
    {
        delete player;
        Sylvane_shutdown();
        process.write("quit\n");
        if (!process.waitForFinished(3000))
            process.kill();
    }

    // Starts devicesim on loopback(host), then the player; false if either does not come up.
    bool start(int host, const QString &buttonName)
    {
        if (!english.load(QStringLiteral("player_en"), QStringLiteral(CALDERWICK_BIN_DIR "/translations")))
            return false;
        QCoreApplication::installTranslator(&english);
        qApp->setStyleSheet(applicationStyleSheet()); // as the player shows it
        const QString address = TestEnvironment::loopback(host);
        process.start(QStringLiteral(CALDERWICK_BIN_DIR "/devicesim"),
                      {QStringLiteral("--address"), address, QStringLiteral("--size"), QStringLiteral("360x640"),
                       QStringLiteral("--dpi"), QStringLiteral("160"), QStringLiteral("--journal"), journalPath()});
        QByteArray ready;
        if (!QTest::qWaitFor([&] { return (ready += process.readAllStandardOutput()).contains("devicesim ready"); }, 5000))
            return false;
        player = new Player(QSize(360, 640), 160, nullptr, nullptr);
        player->connectTo(address);
        player->show();
        button = player->panelsToolbar()->button(buttonName);
        if (!button || button->isEnabled())
            return false;
        player->eventManager()->requestCapabilities();
        return QTest::qWaitFor([&] { return button->isEnabled(); }, 10000);
    }

    // One control command; its answer line ("ok ...", "error ..."), empty on time-out.
    QString control(const QString &command)
    {
        process.write(command.toUtf8() + '\n');
        QByteArray answer;
        if (!QTest::qWaitFor([&] { return (answer += process.readAllStandardOutput()).contains('\n'); }, 5000))
            return QString();
        return QString::fromUtf8(answer).trimmed();
    }
    bool ok(const QString &command) { return control(command).startsWith(QLatin1String("ok")); }

    // The request channel's journal entries since the last call: requests, replies, modem events.
    QList<QJsonObject> requestEntries() { return journal(QStringLiteral("request"), &seen); }

    // The journal's entries of one channel; with from, only those past the lines read before,
    // and from moves on to the last whole line.
    QList<QJsonObject> journal(const QString &channel, int *from = nullptr) const
    {
        QFile file(journalPath());
        const QList<QByteArray> lines = file.open(QIODevice::ReadOnly) ? file.readAll().split('\n') : QList<QByteArray>();
        const QByteArray tag = "\"channel\":\"" + channel.toUtf8() + '"';
        QList<QJsonObject> entries;
        for (int i = from ? *from : 0; i < lines.size(); ++i)
            if (lines.at(i).contains(tag))
                entries << QJsonDocument::fromJson(lines.at(i)).object();
        if (from)
            *from = qMax(0, lines.size() - 1);
        return entries;
    }

    // Of those entries, the values of the requests of one kind ("SetParam", "BatteryLevel").
    static QList<QJsonObject> values(const QList<QJsonObject> &entries, const QString &request, const QString &parameter)
    {
        QList<QJsonObject> found;
        for (const QJsonObject &entry : entries)
            if (entry.contains(QStringLiteral("bytes")) && entry.value(QStringLiteral("request")).toString() == request
                && entry.value(QStringLiteral("parameter")).toString() == parameter)
                found << entry.value(QStringLiteral("value")).toObject();
        return found;
    }

    // Ends the device as if it went away; true once the process is gone.
    bool quit()
    {
        process.write("quit\n");
        return process.waitForFinished(5000);
    }

    // Opens the button's panel as a user does; null unless it comes on screen with the focus
    // (which Xvfb, without a window manager, does not give a new window by itself).
    PanelWidget *open()
    {
        QTest::mouseClick(button, Qt::LeftButton);
        PanelWidget *panel = button->panel();
        if (!QTest::qWaitForWindowExposed(panel))
            return nullptr;
        panel->activateWindow();
        return QTest::qWaitForWindowActive(panel) ? panel : nullptr;
    }

    // Runs an action that shows a modal box; closes the box and returns its text, empty when
    // no box came.
    static QString answerBox(const std::function<void()> &action)
    {
        QString text;
        QTimer poll;
        QObject::connect(&poll, &QTimer::timeout, [&] {
            if (auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget())) {
                text = box->text();
                box->accept();
            }
        });
        poll.start(50);
        action();
        return text;
    }

    // The statistics events reported so far, as their JSON records, oldest first.
    static QStringList statistics()
    {
        QProcess sqlite;
        sqlite.start(QStringLiteral("sqlite3"),
                     {StatsManager::databasePath(), QStringLiteral("SELECT data FROM stats ORDER BY id;")});
        sqlite.waitForFinished(5000);
        QStringList records;
        for (const QByteArray &row : sqlite.readAllStandardOutput().split('\n'))
            if (!row.isEmpty())
                records << QString::fromUtf8(QByteArray::fromBase64(row));
        return records;
    }
    static QString lastStatistic() { return statistics().value(statistics().size() - 1); }

    // The texts of a panel's labels, and whether one of them is a raw dotted key.
    static QStringList labelTexts(const QWidget *panel)
    {
        QStringList texts;
        for (const QLabel *label : panel->findChildren<QLabel *>())
            texts << label->text();
        return texts;
    }
    static bool showsRawKey(const QStringList &texts)
    {
        return !texts.filter(QRegularExpression(QStringLiteral("^[a-z0-9-]+\\.[a-z0-9.-]+"))).isEmpty();
    }

    Player *player = nullptr;
    PanelButton *button = nullptr;

private:
    QString journalPath() const { return dir.filePath(QStringLiteral("journal.jsonl")); }

    QTemporaryDir dir;
    QProcess process;
    QTranslator english;
    int seen = 0;
};

// From Xlib, whose macros (None, Bool, ...) would clash with the toolkit's headers.
extern "C" int XInitThreads();

// main() of a panel suite: the render library draws into the player's window from its own
// threads, and the suite runs in a home of its own.
#define CALDERWICK_PANEL_TEST_MAIN(TestObject)                                                              \
    int main(int argc, char *argv[])                                                                         \
    {                                                                                                        \
        XInitThreads();                                                                                      \
        TestEnvironment::isolateHome();                                                                      \
        QApplication app(argc, argv);                                                                        \
        TestObject tc;                                                                                       \
        return QTest::qExec(&tc, argc, argv);                                                                \
    }
