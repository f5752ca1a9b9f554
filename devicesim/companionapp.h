#pragma once

#include <QByteArray>
#include <QFile>
#include <QHostAddress>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QTcpServer>
#include <QTimer>

class Journal;
class QTcpSocket;

// The remote control companion application as a phone runs it: started by "am start" of its
// activity, it listens on the phone side of the player's two adb forwards. On the sensor port
// it takes the player's display lines and, after the first, plays a script of lines to send
// back (ready, touches, accelerometer); what arrives on the preview port is recorded to a
// file. Its disconnect broadcast stops it. Everything is journaled on the "phone" channel.
class CompanionApp : public QObject
{
    Q_OBJECT

public:
    static constexpr quint16 SensorPort = 10972;
    static constexpr quint16 PreviewPort = 10978;
    // A display line is a few dozen bytes; anything longer is not the player's.
    static constexpr int MaxLineLength = 256;

    CompanionApp(const QHostAddress &address, Journal *journal, QObject *parent = nullptr);

    // The script: one line to send per line of the file, "sleep MS" to pause, "#" comments.
    // False when the file cannot be read or a pause is out of range (0 to 60000 ms).
    bool loadScript(const QString &path, QString *error = nullptr);
    // The script's steps from the file's text; false with the reason for a bad pause.
    static bool parseScript(const QByteArray &text, QList<QByteArray> *steps, QString *error);
    // The whole lines at the front of pending, which keeps the unfinished rest. A line longer
    // than MaxLineLength is skipped up to its end (skipping carries over calls) and counted
    // in refused, so pending never grows past MaxLineLength.
    static QList<QByteArray> takeLines(QByteArray &pending, bool &skipping, int &refused);
    void setRecordPath(const QString &path) { recordPath = path; }
    bool isRunning() const { return sensorServer.isListening(); }
    // One line to the player now, outside the script; false without a player connected.
    bool send(const QByteArray &line);

public slots:
    void activityStarted(const QString &component);
    void broadcastSent(const QString &action);
    void start();
    void stop();

private:
    void acceptSensor();
    void acceptPreview();
    void readSensor();
    void readPreview();
    void previewClosed();
    void playNext();
    void record(const QString &event, const QString &key, const QString &value);

    QHostAddress address;
    Journal *journal;
    QTcpServer sensorServer;
    QTcpServer previewServer;
    QPointer<QTcpSocket> sensorPeer;
    QPointer<QTcpSocket> previewPeer;
    QByteArray pending;
    bool skipping = false;
    QList<QByteArray> script;
    int step = 0;
    bool scriptStarted = false;
    QTimer scriptTimer;
    QString recordPath;
    QFile recording;
    qint64 previewBytes = 0;
};
