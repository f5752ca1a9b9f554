#pragma once

#include <QByteArray>
#include <QHostAddress>
#include <QImage>
#include <QObject>
#include <QPointer>
#include <QQueue>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

// One camera of a simulated device: listens on its port (24810 front, 24800 back), takes one
// player connection, sends the commands a device sends and checks every reply's header and
// length against the command. Commands queue up: the next goes out once the previous one has
// its whole reply, as on a device.
class CameraServicePort : public QObject
{
    Q_OBJECT

public:
    // A command sent and what its reply must hold.
    struct Command
    {
        QByteArray text;
        QByteArray expectedBody; // exact body, or empty to check by kind
        quint32 videoSize = 0;
        quint32 previewSize = 0;
    };
    static constexpr qint64 IncompleteReply = -1;
    static constexpr qint64 BrokenReply = -2;

    // The reply at the front of what the player sent: its body length once header and body are
    // all there, IncompleteReply before, BrokenReply for a header that is not 8 lower-case
    // hexadecimal digits of at most a 4096 x 4096 camera's frame and preview.
    static qint64 replyLength(const QByteArray &stream);
    // Why the body doesn't answer the command; empty when it does.
    static QString checkBody(const Command &command, const QByteArray &body);
    // The picture of a frame reply (checked) from a width x height camera sending fourcc; null
    // when its video can't be shown.
    static QImage frameImage(const Command &command, const QByteArray &body, quint32 width, quint32 height,
                             quint32 fourcc);

    CameraServicePort(const QString &direction, quint16 port, QObject *parent = nullptr);
    ~CameraServicePort() override;

    QString direction() const { return m_direction; }
    bool listen(const QHostAddress &address);
    bool isConnected() const;
    // Closes the player's connection from the device side.
    void closeConnection();

    void sendConnect();
    void sendInfos();
    // Asks for frames of width x height in fourcc and remembers the size for sendFrame.
    void sendStart(quint32 width, quint32 height, quint32 fourcc);
    // Asks for the video (width x height x 3 / 2 bytes) and/or preview (x 4) of the last start.
    void sendFrame(bool video, bool preview, float red = 1.0f, float green = 1.0f, float blue = 1.0f,
                   float exposure = 1.0f);
    void sendStop();
    void sendDisconnect();
    // Any command text; expectedBody, when not empty, is the exact reply body it must get.
    void sendCommand(const QByteArray &command, const QByteArray &expectedBody = QByteArray());
    // Bytes written at once, outside the queue, for tests of the framing; the reply is
    // matched against expectedBody.
    void sendRaw(const QByteArray &bytes, const QByteArray &expectedBody);

    // Requests a frame every interval while no command waits, and every 25th time the camera's
    // infos instead; stop with stopStreaming.
    void startStreaming(int intervalMs, bool preview);
    void stopStreaming();

    int pendingCommands() const { return m_queue.size() + (m_current.text.isEmpty() ? 0 : 1); }
    // Header and body of the last accepted reply.
    QByteArray lastReply() const { return m_lastReply; }
    QImage lastFrame() const { return m_lastFrame; }
    // The frame size of the last start.
    QSize frameSize() const { return QSize(int(m_width), int(m_height)); }
    int framesReceived() const { return m_framesReceived; }
    int rejectedReplies() const { return m_rejected; }

signals:
    void playerConnected();
    void playerDisconnected();
    // Emitted for each reply that passed the checks.
    void replyReceived(const QByteArray &command, const QByteArray &reply);
    void frameReceived(const QImage &frame);
    void replyRejected(const QByteArray &command, const QString &reason);

private:
    void acceptConnection();
    void readReplies();
    void sendNext();
    void enqueue(const Command &command);
    void takeFrame(const Command &command, const QByteArray &body);
    void reject(const QString &reason);

    QString m_direction;
    quint16 m_port;
    QTcpServer m_server;
    QPointer<QTcpSocket> m_socket;
    QQueue<Command> m_queue;
    Command m_current;
    QByteArray m_buffer;
    QByteArray m_lastReply;
    QImage m_lastFrame;
    quint32 m_width = 640;
    quint32 m_height = 480;
    quint32 m_fourcc = 0;
    int m_framesReceived = 0;
    int m_rejected = 0;
    QTimer m_streamTimer;
    bool m_streamPreview = false;
    int m_streamTicks = 0;
};
