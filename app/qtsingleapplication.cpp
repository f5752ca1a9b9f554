#include "qtsingleapplication.h"

#include <QCryptographicHash>
#include <QtEndian>
#include <QDebug>
#include <QDeadlineTimer>
#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>
#include <QThread>
#include <QWidget>

#include <unistd.h>

namespace {
// Orders are a few words; anything longer is not one of ours.
constexpr quint32 MaxMessageBytes = 4096;
constexpr char Ack = '\x06';
} // namespace

QString QtSingleApplication::serverName(const QString &id)
{
    const QByteArray digest = QCryptographicHash::hash(id.toUtf8(), QCryptographicHash::Sha1).toHex();
    return QStringLiteral("calderwick-%1-%2").arg(::getuid()).arg(QString::fromLatin1(digest.left(20)));
}

QtSingleApplication::QtSingleApplication(const QString &id, int &argc, char **argv)
    : QApplication(argc, argv), m_id(id)
{
    const QString name = serverName(id);
    m_lock = std::make_unique<QLockFile>(QDir::temp().filePath(name + QStringLiteral(".lock")));
    m_primary = m_lock->tryLock(0);
    if (!m_primary)
        return;

    // We hold the lock, so any socket of that name was left by a dead process.
    QLocalServer::removeServer(name);
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!m_server->listen(name)) {
        qWarning() << "[SingleApplication] Cannot listen for orders on" << name << ":" << m_server->errorString();
        return;
    }
    connect(m_server, &QLocalServer::newConnection, this, &QtSingleApplication::acceptConnection);
}

QtSingleApplication::~QtSingleApplication() = default;

bool QtSingleApplication::sendMessage(const QString &message, int timeout)
{
    if (m_primary)
        return false;

    const QByteArray payload = message.toUtf8();
    QByteArray frame(4, '\0');
    qToBigEndian<quint32>(quint32(payload.size()), frame.data());
    frame.append(payload);

    QDeadlineTimer deadline(timeout);
    QLocalSocket socket;
    // The primary may be between taking its lock and listening: try until the deadline.
    for (;;) {
        socket.connectToServer(serverName(m_id));
        if (socket.waitForConnected(int(qMax<qint64>(1, deadline.remainingTime()))))
            break;
        if (deadline.hasExpired())
            return false;
        QThread::msleep(100);
        if (deadline.hasExpired())
            return false;
    }
    socket.write(frame);
    if (!socket.waitForBytesWritten(int(qMax<qint64>(1, deadline.remainingTime()))))
        return false;
    while (socket.bytesAvailable() < 1) {
        if (deadline.hasExpired() || !socket.waitForReadyRead(int(qMax<qint64>(1, deadline.remainingTime()))))
            return false;
    }
    char reply = 0;
    return socket.getChar(&reply) && reply == Ack;
}

void QtSingleApplication::setActivationWindow(QWidget *window, bool activateOnMessage)
{
    m_window = window;
    m_activateOnMessage = activateOnMessage;
}

void QtSingleApplication::activateWindow()
{
    if (!m_window)
        return;
    m_window->setWindowState(m_window->windowState() & ~Qt::WindowMinimized);
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
}

void QtSingleApplication::acceptConnection()
{
    while (QLocalSocket *socket = m_server->nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] { readMessage(socket); });
        if (socket->bytesAvailable() > 0)
            readMessage(socket);
    }
}

void QtSingleApplication::readMessage(QLocalSocket *socket)
{
    if (socket->bytesAvailable() < 4)
        return;
    const quint32 size = qFromBigEndian<quint32>(socket->peek(4).constData());
    if (size > MaxMessageBytes) {
        qWarning() << "[SingleApplication] Refusing an order of" << size << "bytes";
        socket->abort();
        return;
    }
    if (socket->bytesAvailable() < 4 + qint64(size))
        return;
    socket->skip(4);
    const QByteArray payload = socket->read(size);
    // Acknowledge before acting: an order such as "POWEROFF" may end this process.
    socket->putChar(Ack);
    socket->flush();
    socket->disconnectFromServer();
    if (m_activateOnMessage)
        activateWindow();
    emit messageReceived(QString::fromUtf8(payload));
}
