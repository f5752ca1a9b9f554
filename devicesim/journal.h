#pragma once

#include <QElapsedTimer>
#include <QFile>
#include <QJsonObject>
#include <QList>
#include <QObject>

// The simulator's record of everything it received and sent, one JSON object per line:
// {"t": <ms since start>, "channel": "...", ...}. Each line is written and flushed at once,
// so a test may read the file while the simulator runs. The latest entries are also kept
// in memory for tests that run the simulator in their own process.
class Journal : public QObject
{
    Q_OBJECT

public:
    static constexpr int KeptInMemory = 10000;

    explicit Journal(QObject *parent = nullptr);

    // Appends to the file (created if needed); false when it cannot be opened.
    bool open(const QString &path);
    QString path() const { return file.fileName(); }

    void record(const QString &channel, QJsonObject fields);
    QList<QJsonObject> entries() const { return kept; }
    // The entries of one channel, oldest first.
    QList<QJsonObject> entries(const QString &channel) const;
    void clearMemory() { kept.clear(); }

signals:
    void recorded(const QJsonObject &entry);

private:
    QElapsedTimer clock;
    QFile file;
    QList<QJsonObject> kept;
};
