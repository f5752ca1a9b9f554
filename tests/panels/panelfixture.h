#pragma once

// What every panel test stands on: a devicesim process on this test's own loopback address,
// a player connected to it with the English texts and the player's style sheet, the panel's
// toolbar button once the device's capabilities enabled it, and the device's journal read
// back entry by entry.

#include "eventmanager.h"
#include "panelbutton.h"
#include "player.h"
#include "stylesheet.h"
#include "testenvironment.h"
#include "widgettoolbar.h"

#include "openglrender.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTranslator>

class PanelFixture
{
public:
    QTemporaryDir dir;
    QProcess device;
    QTranslator english;
    Player *player = nullptr;
    PanelButton *button = nullptr;

    // Fails the calling test (check QTest::currentTestFailed()) when any step does not happen.
    void start(const QString &buttonName)
    {
        QVERIFY(english.load(QStringLiteral("player_en"), QStringLiteral(CALDERWICK_BIN_DIR "/translations")));
        QCoreApplication::installTranslator(&english);
        qApp->setStyleSheet(applicationStyleSheet()); // as the player shows it
        const QString address = TestEnvironment::loopback(1);
        device.start(QStringLiteral(CALDERWICK_BIN_DIR "/devicesim"),
                     {QStringLiteral("--address"), address, QStringLiteral("--size"), QStringLiteral("360x640"),
                      QStringLiteral("--dpi"), QStringLiteral("160"), QStringLiteral("--journal"), journalPath()});
        QByteArray ready;
        QVERIFY(QTest::qWaitFor([&] { return (ready += device.readAllStandardOutput()).contains("devicesim ready"); }, 5000));
        player = new Player(QSize(360, 640), 160, nullptr, nullptr);
        player->connectTo(address);
        player->show();
        button = player->panelsToolbar()->button(buttonName);
        QVERIFY(button && !button->isEnabled());
        player->eventManager()->requestCapabilities();
        QTRY_VERIFY_WITH_TIMEOUT(button->isEnabled(), 10000);
    }

    void stop()
    {
        delete player;
        player = nullptr;
        Sylvane_shutdown();
        quitDevice();
    }

    // The device goes away; the player stays.
    void quitDevice()
    {
        device.write("quit\n");
        if (!device.waitForFinished(3000))
            device.kill();
    }

    QString control(const QString &command)
    {
        device.write(command.toUtf8() + '\n');
        QByteArray answer;
        if (!QTest::qWaitFor([&] { return (answer += device.readAllStandardOutput()).contains('\n'); }, 5000))
            return QString();
        return QString::fromUtf8(answer).trimmed();
    }

    // The request channel's journal entries since the last call: requests and replies.
    QList<QJsonObject> requestEntries()
    {
        QFile file(journalPath());
        const QList<QByteArray> lines = file.open(QIODevice::ReadOnly) ? file.readAll().split('\n') : QList<QByteArray>();
        QList<QJsonObject> entries;
        for (int i = journalSeen; i < lines.size(); ++i)
            if (lines.at(i).contains("\"channel\":\"request\""))
                entries << QJsonDocument::fromJson(lines.at(i)).object();
        journalSeen = qMax(0, lines.size() - 1);
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

    QList<QJsonObject> sent(const QString &parameter)
    {
        return values(requestEntries(), QStringLiteral("SetParam"), parameter);
    }

private:
    int journalSeen = 0;

    QString journalPath() const { return dir.filePath(QStringLiteral("journal.jsonl")); }
};
