#pragma once

#include <QApplication>
#include <QLockFile>
#include <QPointer>
#include <QString>
#include <QWidget>

#include <memory>

class QLocalServer;
class QLocalSocket;

// A widget application of which one process per identity is the primary instance.
// The primary holds a lock file and listens on a local socket named after the identity;
// later processes of the same identity hand it a short text with sendMessage().
// A lock left by a killed process is detected as stale and taken over, and the socket it
// left behind is removed, so a crash never blocks the next start.
class QtSingleApplication : public QApplication
{
    Q_OBJECT

public:
    QtSingleApplication(const QString &id, int &argc, char **argv);
    ~QtSingleApplication() override;

    QString id() const { return m_id; }
    // True when another process holds this identity.
    bool isRunning() const { return !m_primary; }
    // Hands the text to the primary instance and waits up to timeout ms for its
    // acknowledgement. False when this process is the primary or nobody took it.
    bool sendMessage(const QString &message, int timeout = 5000);
    // The window raised and activated on each message when activateOnMessage is set.
    void setActivationWindow(QWidget *window, bool activateOnMessage = true);
    QWidget *activationWindow() const { return m_window; }

    // Local socket name of an identity for the current user; exposed for tests.
    static QString serverName(const QString &id);

signals:
    void messageReceived(const QString &message);

public slots:
    void activateWindow();

private:
    void acceptConnection();
    void readMessage(QLocalSocket *socket);

    QString m_id;
    bool m_primary = false;
    std::unique_ptr<QLockFile> m_lock;
    QLocalServer *m_server = nullptr;
    QPointer<QWidget> m_window;
    bool m_activateOnMessage = false;
};
