#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

class DeviceSimulator;
class QLocalServer;
class QLocalSocket;
class QSocketNotifier;

// The simulator's control interface: one text command per line, one answer line for each,
// "ok[ <data>]" or "error <reason>". Commands come from standard input and, when asked,
// from a local socket. devicesim/README.md lists them.
class ControlChannel : public QObject
{
    Q_OBJECT

public:
    explicit ControlChannel(DeviceSimulator *simulator, QObject *parent = nullptr);
    ~ControlChannel() override;

    // Runs one command and returns its answer line, without line feed.
    QString execute(const QString &line);

    // Reads commands from standard input, answers on standard output.
    void attachStandardInput();
    // Listens on a local socket of that name (QLocalServer); false when it cannot.
    bool listen(const QString &name);

signals:
    void quitRequested();

private:
    QString run(const QString &command, const QString &arguments);
    QString runCamera(const QStringList &words);
    void readStandardInput();

    DeviceSimulator *simulator;
    QSocketNotifier *inputNotifier = nullptr;
    QByteArray inputBuffer;
    QLocalServer *server = nullptr;
};
