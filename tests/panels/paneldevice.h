#pragma once

// What every panel suite stands on: a devicesim process on the test's own loopback address,
// its control interface, its journal, and the player connected to it with English texts and
// the player's style, the panel's toolbar button enabled by the device's capabilities.

#include "eventmanager.h"
#include "panelbutton.h"
#include "player.h"
#include "stylesheet.h"
#include "testenvironment.h"
#include "widgettoolbar.h"

#include "openglrender.h"

#include <QJsonDocument>
#include <QJsonObject>
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
    QList<QJsonObject> requestEntries()
    {
        QFile file(journalPath());
        const QList<QByteArray> lines = file.open(QIODevice::ReadOnly) ? file.readAll().split('\n') : QList<QByteArray>();
        QList<QJsonObject> entries;
        for (int i = seen; i < lines.size(); ++i)
            if (lines.at(i).contains("\"channel\":\"request\""))
                entries << QJsonDocument::fromJson(lines.at(i)).object();
        seen = qMax(0, lines.size() - 1);
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

    Player *player = nullptr;
    PanelButton *button = nullptr;

private:
    QString journalPath() const { return dir.filePath(QStringLiteral("journal.jsonl")); }

    QTemporaryDir dir;
    QProcess process;
    QTranslator english;
    int seen = 0;
};
