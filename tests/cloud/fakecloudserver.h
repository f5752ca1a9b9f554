#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QMap>
#include <QTcpServer>

// A scripted HTTP/1.1 server on loopback for the cloud tests. Each path has a queue of
// answers, used in order; the last one stays for every later request.
class FakeCloudServer : public QTcpServer
{
    Q_OBJECT
public:
    struct Answer
    {
        enum Kind { Http, Silence, Garbage, Stream };
        Kind kind = Http;
        int status = 200;
        QByteArray body;
        QList<QPair<QByteArray, QByteArray>> headers;
        int delayMs = 0;
        qint64 streamBytes = 0;

        static Answer json(int status, const QByteArray &body) { return {Http, status, body, {}, 0}; }
        static Answer redirect(int status, const QByteArray &location)
        {
            return {Http, status, QByteArray(), {{"Location", location}}, 0};
        }
        static Answer silence() { return {Silence, 0, {}, {}, 0}; }
        static Answer garbage() { return {Garbage, 0, {}, {}, 0}; }
        // A valid JSON array of about bytes bytes, "[0,0,...,0]", written as the client reads
        // it, with no length announced: the body ends when the connection closes.
        static Answer stream(qint64 bytes) { return {Stream, 200, {}, {}, 0, bytes}; }
    };

    struct Received
    {
        QByteArray method;
        QByteArray path;   // as sent on the request line
        QMap<QByteArray, QByteArray> headers; // names in lower case
        QByteArray body;
    };

    explicit FakeCloudServer(QObject *parent = nullptr);

    // Listens on 127.0.0.1 at a port the system picks; the root address to use.
    QString start();
    // Replaces the queue of answers of path; an empty path answers every other path.
    void script(const QByteArray &path, const QList<Answer> &answers);
    void reset();

    QList<Received> received;

signals:
    void requestReceived();

private:
    void readRequest(QTcpSocket *socket);
    void answer(QTcpSocket *socket, const Answer &a);
    void stream(QTcpSocket *socket, qint64 bytes);

    QHash<QByteArray, QList<Answer>> m_scripts;
    QHash<QTcpSocket *, QByteArray> m_buffers;
};
Q_DECLARE_METATYPE(FakeCloudServer::Answer)
