#pragma once

// A player window against a devicesim process of its own, for the panel suites: the device's
// control commands, its journal of requests, the panel opened from its toolbar button, the
// modal box a panel shows, and the statistics rows the panel reported.

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
#include <QPushButton>
#include <QTranslator>
#include <QtTest>

// From Xlib, whose macros (None, Bool, ...) would clash with the toolkit's headers here.
extern "C" int XInitThreads();

class PanelSession
{
public:
    QTemporaryDir dir;
    QProcess device;
    QTranslator english;
    Player *player = nullptr;
    PanelButton *button = nullptr;

    ~PanelSession() { stop(); }

    // Starts the device, lets the setup commands run on it, and makes the player whose
    // toolbar button `buttonName` becomes usable once the capabilities came.
    bool start(const QString &buttonName, const QStringList &setup = {})
    {
        english.load(QStringLiteral("player_en"), QStringLiteral(CALDERWICK_BIN_DIR "/translations"));
        QCoreApplication::installTranslator(&english);
        qApp->setStyleSheet(applicationStyleSheet());
        const QString address = TestEnvironment::loopback(1);
        device.start(QStringLiteral(CALDERWICK_BIN_DIR "/devicesim"),
                     {QStringLiteral("--address"), address, QStringLiteral("--size"), QStringLiteral("360x640"),
                      QStringLiteral("--dpi"), QStringLiteral("160"), QStringLiteral("--journal"),
                      dir.filePath(QStringLiteral("journal.jsonl"))});
        QByteArray ready;
        if (!QTest::qWaitFor([&] { return (ready += device.readAllStandardOutput()).contains("devicesim ready"); }, 5000))
            return false;
        for (const QString &command : setup) {
            if (!control(command).startsWith(QLatin1String("ok")))
                return false;
        }
        player = new Player(QSize(360, 640), 160, nullptr, nullptr);
        player->connectTo(address);
        player->show();
        button = player->panelsToolbar()->button(buttonName);
        player->eventManager()->requestCapabilities();
        return button && QTest::qWaitFor([&] { return button->isEnabled(); }, 10000);
    }

    void stop()
    {
        delete player;
        player = nullptr;
        Sylvane_shutdown();
        if (device.state() != QProcess::NotRunning) {
            device.write("quit\n");
            if (!device.waitForFinished(3000))
                device.kill();
        }
    }

    // One control command; its answer line, or empty when none came.
    QString control(const QString &command)
    {
        device.write(command.toUtf8() + '\n');
        QByteArray answer;
        if (!QTest::qWaitFor([&] { return (answer += device.readAllStandardOutput()).contains('\n'); }, 5000))
            return QString();
        return QString::fromUtf8(answer).trimmed();
    }

    // The requests of one kind ("SetParam", "NetworkMode") received since the last call, as
    // their value objects; `statuses` gets the statuses of the replies sent meanwhile.
    QList<QJsonObject> requests(const QString &request, const QString &parameter, QStringList *statuses = nullptr)
    {
        QFile file(dir.filePath(QStringLiteral("journal.jsonl")));
        const QList<QByteArray> lines = file.open(QIODevice::ReadOnly) ? file.readAll().split('\n') : QList<QByteArray>();
        QList<QJsonObject> found;
        for (int i = journalSeen; i < lines.size(); ++i) {
            const QJsonObject entry = QJsonDocument::fromJson(lines.at(i)).object();
            if (entry.value(QStringLiteral("channel")).toString() != QLatin1String("request"))
                continue;
            if (statuses && entry.contains(QStringLiteral("status")))
                *statuses << entry.value(QStringLiteral("status")).toString();
            if (entry.contains(QStringLiteral("bytes")) && entry.value(QStringLiteral("request")).toString() == request
                && entry.value(QStringLiteral("parameter")).toString() == parameter)
                found << entry.value(QStringLiteral("value")).toObject();
        }
        journalSeen = qMax(0, lines.size() - 1);
        return found;
    }

    // Opens the panel of the button as a user does, and waits until it is on screen.
    PanelWidget *open()
    {
        QTest::mouseClick(button, Qt::LeftButton);
        PanelWidget *panel = button->panel();
        // Xvfb has no window manager to give the new window the focus a user's click would.
        if (!QTest::qWaitForWindowExposed(panel))
            return nullptr;
        panel->activateWindow();
        return QTest::qWaitForWindowActive(panel) ? panel : nullptr;
    }

    // Runs an action that shows a modal box; closes the box and returns its text (empty
    // when none came).
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

    // The statistics events reported so far, as their JSON records.
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

    // The texts of the panel's labels, and whether any of them looks like a raw dotted key.
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

private:
    int journalSeen = 0;
};

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
