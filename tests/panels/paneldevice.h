#pragma once

// What every panel suite stands on: a devicesim process, its control commands and journal,
// and a player in English connected to it whose toolbar opens the panels.

#include "eventmanager.h"
#include "panelbutton.h"
#include "player.h"
#include "stylesheet.h"
#include "testenvironment.h"
#include "widgettoolbar.h"

#include "openglrender.h"

#include <QAbstractButton>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QProcess>
#include <QScreen>
#include <QTranslator>

class PanelDevice
{
public:
    QTemporaryDir dir;
    QProcess device;
    QTranslator english;
    Player *player = nullptr;

    QString journalPath() const { return dir.filePath(QStringLiteral("journal.jsonl")); }

    // devicesim at the test's first loopback address, and the player shown and connected to it.
    bool start(const QSize &size)
    {
        if (!english.load(QStringLiteral("player_en"), QStringLiteral(CALDERWICK_BIN_DIR "/translations")))
            return false;
        QCoreApplication::installTranslator(&english);
        qApp->setStyleSheet(applicationStyleSheet()); // as the player shows it
        const QString address = TestEnvironment::loopback(1);
        const QString sizeText = QStringLiteral("%1x%2").arg(size.width()).arg(size.height());
        device.start(QStringLiteral(CALDERWICK_BIN_DIR "/devicesim"),
                     {QStringLiteral("--address"), address, QStringLiteral("--size"), sizeText,
                      QStringLiteral("--dpi"), QStringLiteral("160"), QStringLiteral("--journal"), journalPath()});
        QByteArray ready;
        const auto isReady = [&] { return (ready += device.readAllStandardOutput()).contains("devicesim ready"); };
        if (!QTest::qWaitFor(isReady, 5000))
            return false;
        player = new Player(size, 160, nullptr, nullptr);
        player->connectTo(address);
        player->show();
        return true;
    }

    void stop()
    {
        delete player;
        player = nullptr;
        Sylvane_shutdown();
        device.write("quit\n");
        if (!device.waitForFinished(3000))
            device.kill();
    }

    // The panel button once the device's capabilities have enabled it, else null.
    PanelButton *enabledButton(const QString &name)
    {
        PanelButton *button = player->panelsToolbar()->button(name);
        player->eventManager()->requestCapabilities();
        return button && QTest::qWaitFor([&] { return button->isEnabled(); }, 10000) ? button : nullptr;
    }

    // One control command; its one-line answer, empty when none came.
    QString control(const QString &command)
    {
        device.write(command.toUtf8() + '\n');
        QByteArray answer;
        if (!QTest::qWaitFor([&] { return (answer += device.readAllStandardOutput()).contains('\n'); }, 5000))
            return QString();
        return QString::fromUtf8(answer).trimmed();
    }

    // The journal's entries of one channel; with seen, only those after the lines seen before,
    // and seen moves on to the last whole line.
    QList<QJsonObject> journal(const QString &channel, int *seen = nullptr) const
    {
        QFile file(journalPath());
        const QList<QByteArray> lines =
            file.open(QIODevice::ReadOnly) ? file.readAll().split('\n') : QList<QByteArray>();
        const QByteArray tag = "\"channel\":\"" + channel.toUtf8() + '"';
        QList<QJsonObject> entries;
        for (int i = seen ? *seen : 0; i < lines.size(); ++i)
            if (lines.at(i).contains(tag))
                entries << QJsonDocument::fromJson(lines.at(i)).object();
        if (seen)
            *seen = qMax(0, lines.size() - 1);
        return entries;
    }

    // Grabs the panel's window into the test folder; the texts of its labels and buttons.
    static QStringList screenshotTexts(QWidget *panel, const QString &fileName)
    {
        QTest::qWait(200);
        const QImage shot = QGuiApplication::primaryScreen()->grabWindow(panel->winId()).toImage();
        if (shot.isNull() || !shot.save(QStringLiteral(CALDERWICK_TEST_BIN_DIR "/") + fileName))
            return QStringList();
        QStringList texts;
        for (QLabel *label : panel->findChildren<QLabel *>())
            texts << label->text();
        for (QAbstractButton *button : panel->findChildren<QAbstractButton *>())
            texts << button->text();
        return texts;
    }

    // Texts that look like an untranslated dotted key.
    static QStringList rawKeys(const QStringList &texts)
    {
        return texts.filter(QRegularExpression(QStringLiteral("^[a-z]+\\.[a-z.-]+$")));
    }
};
