#include "companionapp.h"

#include "journal.h"

#include <QJsonObject>
#include <QTcpSocket>

namespace {
const QString Activity = QStringLiteral("com.calderwick.remotecontrol/.RemoteControlActivity");
const QString Disconnect = QStringLiteral("com.calderwick.remotecontrol.REMOTE_DISCONNECT");
// The recording is for tests: a stream past this size is cut, never the disk filled.
constexpr qint64 MaxRecording = 512LL * 1024 * 1024;
constexpr qint64 MaxScriptSize = 1024 * 1024;
} // namespace

CompanionApp::CompanionApp(const QHostAddress &address, Journal *journal, QObject *parent)
    : QObject(parent)
    , address(address)
    , journal(journal)
{
    scriptTimer.setSingleShot(true);
    connect(&scriptTimer, &QTimer::timeout, this, &CompanionApp::playNext);
    connect(&sensorServer, &QTcpServer::newConnection, this, &CompanionApp::acceptSensor);
    connect(&previewServer, &QTcpServer::newConnection, this, &CompanionApp::acceptPreview);
}

bool CompanionApp::loadScript(const QString &path, QString *error)
{
    QFile file(path);
    // A script is a few lines; a file of megabytes is not one.
    if (!file.open(QIODevice::ReadOnly) || file.size() > MaxScriptSize) {
        if (error)
            *error = QStringLiteral("cannot read the phone script %1").arg(path);
        return false;
    }
    QList<QByteArray> steps;
    if (!parseScript(file.readAll(), &steps, error))
        return false;
    script = steps;
    step = 0;
    scriptStarted = false;
    return true;
}

bool CompanionApp::parseScript(const QByteArray &text, QList<QByteArray> *steps, QString *error)
{
    QList<QByteArray> lines;
    for (const QByteArray &raw : text.split('\n')) {
        const QByteArray line = raw.trimmed();
        if (line.isEmpty() || line.startsWith('#'))
            continue;
        if (line.startsWith("sleep ")) {
            bool ok = false;
            const int ms = line.mid(6).toInt(&ok);
            if (!ok || ms < 0 || ms > 60000) {
                if (error)
                    *error = QStringLiteral("bad pause in the phone script: %1").arg(QString::fromUtf8(line.left(80)));
                return false;
            }
        }
        lines << line;
    }
    *steps = lines;
    return true;
}

QList<QByteArray> CompanionApp::takeLines(QByteArray &pending, bool &skipping, int &refused)
{
    QList<QByteArray> lines;
    int start = 0;
    int end;
    while ((end = pending.indexOf('\n', start)) >= 0) {
        if (skipping || end - start > MaxLineLength) {
            skipping = false;
            ++refused;
        } else {
            lines << pending.mid(start, end - start);
        }
        start = end + 1;
    }
    pending.remove(0, start);
    if (pending.size() > MaxLineLength) {
        pending.clear();
        skipping = true;
    }
    return lines;
}

void CompanionApp::activityStarted(const QString &component)
{
    if (component == Activity)
        start();
}

void CompanionApp::broadcastSent(const QString &action)
{
    if (action == Disconnect)
        stop();
}

void CompanionApp::start()
{
    if (isRunning())
        return;
    const bool listening = sensorServer.listen(address, SensorPort) && previewServer.listen(address, PreviewPort);
    record(QStringLiteral("start"), QStringLiteral("listening"), listening ? QStringLiteral("yes") : QStringLiteral("no"));
    if (!listening)
        stop();
}

void CompanionApp::stop()
{
    sensorServer.close();
    previewServer.close();
    scriptTimer.stop();
    if (sensorPeer)
        sensorPeer->abort();
    if (previewPeer)
        previewPeer->abort();
    previewClosed();
    record(QStringLiteral("stop"), QString(), QString());
}

void CompanionApp::acceptSensor()
{
    while (QTcpSocket *peer = sensorServer.nextPendingConnection()) {
        // One player at a time, as the application serves one connection.
        if (sensorPeer) {
            peer->abort();
            peer->deleteLater();
            continue;
        }
        sensorPeer = peer;
        pending.clear();
        skipping = false;
        step = 0;
        scriptStarted = false;
        connect(peer, &QTcpSocket::readyRead, this, &CompanionApp::readSensor);
        connect(peer, &QTcpSocket::disconnected, peer, &QObject::deleteLater);
        connect(peer, &QTcpSocket::disconnected, &scriptTimer, &QTimer::stop);
        record(QStringLiteral("sensor"), QStringLiteral("state"), QStringLiteral("connected"));
    }
}

void CompanionApp::readSensor()
{
    if (!sensorPeer)
        return;
    pending += sensorPeer->readAll();
    int refused = 0;
    const QList<QByteArray> lines = takeLines(pending, skipping, refused);
    if (refused > 0)
        record(QStringLiteral("refused"), QStringLiteral("reason"), QStringLiteral("%1 lines too long").arg(refused));
    for (const QByteArray &line : lines) {
        record(QStringLiteral("received"), QStringLiteral("line"), QString::fromUtf8(line));
        if (line.startsWith("DISPLAY:") && !scriptStarted) {
            scriptStarted = true;
            playNext();
        }
    }
}

void CompanionApp::playNext()
{
    while (sensorPeer && step < script.size()) {
        const QByteArray line = script.at(step++);
        if (line.startsWith("sleep ")) {
            scriptTimer.start(line.mid(6).toInt());
            return;
        }
        sensorPeer->write(line + '\n');
        record(QStringLiteral("sent"), QStringLiteral("line"), QString::fromUtf8(line));
    }
    if (sensorPeer && step == script.size()) {
        ++step; // said once
        record(QStringLiteral("script"), QStringLiteral("state"), QStringLiteral("done"));
    }
}

bool CompanionApp::send(const QByteArray &line)
{
    if (!sensorPeer || sensorPeer->state() != QAbstractSocket::ConnectedState)
        return false;
    sensorPeer->write(line + '\n');
    sensorPeer->flush();
    record(QStringLiteral("sent"), QStringLiteral("line"), QString::fromUtf8(line));
    return true;
}

void CompanionApp::acceptPreview()
{
    while (QTcpSocket *peer = previewServer.nextPendingConnection()) {
        if (previewPeer) {
            peer->abort();
            peer->deleteLater();
            continue;
        }
        previewPeer = peer;
        previewBytes = 0;
        if (!recordPath.isEmpty()) {
            recording.setFileName(recordPath);
            if (!recording.open(QIODevice::WriteOnly | QIODevice::Truncate))
                record(QStringLiteral("preview"), QStringLiteral("error"), recording.errorString());
        }
        connect(peer, &QTcpSocket::readyRead, this, &CompanionApp::readPreview);
        connect(peer, &QTcpSocket::disconnected, this, &CompanionApp::previewClosed);
        record(QStringLiteral("preview"), QStringLiteral("state"), QStringLiteral("connected"));
    }
}

void CompanionApp::readPreview()
{
    if (!previewPeer)
        return;
    const QByteArray data = previewPeer->readAll();
    previewBytes += data.size();
    if (recording.isOpen() && recording.size() + data.size() <= MaxRecording)
        recording.write(data);
    recording.flush();
}

void CompanionApp::previewClosed()
{
    if (!previewPeer)
        return;
    readPreview();
    recording.close();
    previewPeer->deleteLater();
    previewPeer = nullptr;
    QJsonObject fields{{QStringLiteral("event"), QStringLiteral("preview")},
                       {QStringLiteral("state"), QStringLiteral("closed")},
                       {QStringLiteral("bytes"), double(previewBytes)}};
    journal->record(QStringLiteral("phone"), fields);
}

void CompanionApp::record(const QString &event, const QString &key, const QString &value)
{
    QJsonObject fields{{QStringLiteral("event"), event}};
    if (!key.isEmpty())
        fields.insert(key, value);
    journal->record(QStringLiteral("phone"), fields);
}
