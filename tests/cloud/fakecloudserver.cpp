#include "fakecloudserver.h"

#include <QTcpSocket>
#include <QTimer>

#include <memory>

FakeCloudServer::FakeCloudServer(QObject *parent) : QTcpServer(parent)
{
    connect(this, &QTcpServer::newConnection, this, [this] {
        while (QTcpSocket *socket = nextPendingConnection()) {
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { readRequest(socket); });
            connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
                m_buffers.remove(socket);
                socket->deleteLater();
            });
        }
    });
}

QString FakeCloudServer::start()
{
    if (!isListening() && !listen(QHostAddress::LocalHost))
        return QString();
    return QStringLiteral("http://127.0.0.1:%1").arg(serverPort());
}

void FakeCloudServer::script(const QByteArray &path, const QList<Answer> &answers)
{
    m_scripts.insert(path, answers);
}

void FakeCloudServer::reset()
{
    m_scripts.clear();
    received.clear();
}

void FakeCloudServer::readRequest(QTcpSocket *socket)
{
    QByteArray &buffer = m_buffers[socket];
    buffer += socket->readAll();
    for (;;) {
        const int end = buffer.indexOf("\r\n\r\n");
        if (end < 0)
            return;
        Received request;
        const QList<QByteArray> lines = buffer.left(end).split('\n');
        const QList<QByteArray> first = lines.value(0).trimmed().split(' ');
        request.method = first.value(0);
        request.path = first.value(1);
        for (int i = 1; i < lines.size(); ++i) {
            const int colon = lines.at(i).indexOf(':');
            if (colon > 0)
                request.headers.insert(lines.at(i).left(colon).trimmed().toLower(), lines.at(i).mid(colon + 1).trimmed());
        }
        const int length = request.headers.value("content-length").toInt();
        if (buffer.size() < end + 4 + length)
            return;
        request.body = buffer.mid(end + 4, length);
        buffer.remove(0, end + 4 + length);

        // Absolute form when we act as a proxy: keep only the path.
        QByteArray key = request.path;
        if (key.startsWith("http://"))
            key = key.mid(key.indexOf('/', 7));
        QList<Answer> *queue = m_scripts.contains(key) ? &m_scripts[key] : &m_scripts[QByteArray()];
        const Answer a = queue->isEmpty() ? Answer::json(404, "{}") : queue->size() > 1 ? queue->takeFirst() : queue->first();
        received.append(request);
        emit requestReceived();
        if (a.delayMs > 0)
            QTimer::singleShot(a.delayMs, socket, [this, socket, a] { answer(socket, a); });
        else
            answer(socket, a);
    }
}

void FakeCloudServer::answer(QTcpSocket *socket, const Answer &a)
{
    switch (a.kind) {
    case Answer::Silence:
        return;
    case Answer::Garbage:
        socket->write(QByteArray("\x01\x02 not http at all\r\n\xff\xfe\r\n\r\n", 24));
        socket->disconnectFromHost();
        return;
    case Answer::Stream:
        stream(socket, a.streamBytes);
        return;
    case Answer::Http:
        break;
    }
    QByteArray head = "HTTP/1.1 " + QByteArray::number(a.status) + " Scripted\r\n";
    for (const auto &header : a.headers)
        head += header.first + ": " + header.second + "\r\n";
    head += "Content-Type: application/json\r\nContent-Length: " + QByteArray::number(a.body.size()) + "\r\n\r\n";
    socket->write(head + a.body);
}

void FakeCloudServer::stream(QTcpSocket *socket, qint64 bytes)
{
    socket->write("HTTP/1.1 200 Streamed\r\nContent-Type: application/json\r\nConnection: close\r\n\r\n[0");
    auto left = std::make_shared<qint64>(bytes);
    const QByteArray chunk = QByteArray(",0").repeated(32 * 1024);
    const auto more = [socket, left, chunk] {
        if (*left <= 0 || socket->bytesToWrite() > 4 * chunk.size())
            return;
        socket->write(chunk);
        *left -= chunk.size();
        if (*left <= 0) {
            socket->write("]");
            socket->disconnectFromHost();
        }
    };
    connect(socket, &QTcpSocket::bytesWritten, socket, more);
    more();
}
