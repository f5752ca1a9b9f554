#include "cameraserviceport.h"

#include "convertframe.h"
#include "pixelformat.h"

#include <QDebug>
#include <QRegularExpression>

namespace {

constexpr int HeaderSize = 8;
constexpr int InfosEveryTicks = 25;
// Larger than any frame of a 4096 x 4096 camera with its preview.
constexpr quint32 MaximumBody = 4096u * 4096u * 6u;

const QByteArray OkWithNul("ok", 3);
const QByteArray KoWithNul("ko", 3);

} // namespace

CameraServicePort::CameraServicePort(const QString &direction, quint16 port, QObject *parent)
    : QObject(parent)
    , m_direction(direction)
    , m_port(port)
    , m_fourcc(makeFourcc("YU12"))
{
    connect(&m_server, &QTcpServer::newConnection, this, &CameraServicePort::acceptConnection);
    connect(&m_streamTimer, &QTimer::timeout, this, [this] {
        if (!isConnected() || pendingCommands() != 0)
            return;
        // The player may bind another source at any time: asking its name now and then
        // keeps the name shown beside the frames true.
        if (++m_streamTicks % InfosEveryTicks == 0)
            sendInfos();
        else
            sendFrame(true, m_streamPreview);
    });
}

CameraServicePort::~CameraServicePort()
{
    // The socket belongs to the server, which outlives the members its signals would touch.
    if (m_socket) {
        m_socket->disconnect(this);
        delete m_socket;
    }
}

bool CameraServicePort::listen(const QHostAddress &address)
{
    if (!m_server.listen(address, m_port)) {
        qWarning() << "[CameraService]" << m_direction << "camera cannot listen on" << address.toString() << m_port
                   << ":" << m_server.errorString();
        return false;
    }
    return true;
}

bool CameraServicePort::isConnected() const
{
    return m_socket && m_socket->state() == QAbstractSocket::ConnectedState;
}

void CameraServicePort::closeConnection()
{
    if (m_socket)
        m_socket->disconnectFromHost();
}

void CameraServicePort::acceptConnection()
{
    while (QTcpSocket *socket = m_server.nextPendingConnection()) {
        if (m_socket) {
            // A device serves one player per camera.
            socket->close();
            socket->deleteLater();
            continue;
        }
        m_socket = socket;
        m_buffer.clear();
        m_current = Command();
        connect(socket, &QTcpSocket::readyRead, this, &CameraServicePort::readReplies);
        connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
            socket->deleteLater();
            m_socket = nullptr;
            m_current = Command();
            m_queue.clear();
            emit playerDisconnected();
        });
        emit playerConnected();
        sendNext();
    }
}

void CameraServicePort::sendConnect()
{
    enqueue({"connect", OkWithNul});
}

void CameraServicePort::sendInfos()
{
    enqueue({"infos", QByteArray()});
}

void CameraServicePort::sendStart(quint32 width, quint32 height, quint32 fourcc)
{
    m_width = width;
    m_height = height;
    m_fourcc = fourcc;
    enqueue({QStringLiteral("start dim=%1x%2 pix=%3").arg(width).arg(height).arg(fourcc).toLatin1(), OkWithNul});
}

void CameraServicePort::sendFrame(bool video, bool preview, float red, float green, float blue, float exposure)
{
    Command command;
    command.videoSize = video ? m_width * m_height * 3 / 2 : 0;
    command.previewSize = preview ? m_width * m_height * 4 : 0;
    command.text = QStringLiteral("frame video=%1 preview=%2 whiteb=%3,%4,%5 expcomp=%6")
                       .arg(command.videoSize)
                       .arg(command.previewSize)
                       .arg(double(red))
                       .arg(double(green))
                       .arg(double(blue))
                       .arg(double(exposure))
                       .toLatin1();
    enqueue(command);
}

void CameraServicePort::sendStop()
{
    enqueue({"stop", OkWithNul});
}

void CameraServicePort::sendDisconnect()
{
    enqueue({"disconnect", OkWithNul});
}

void CameraServicePort::sendCommand(const QByteArray &command, const QByteArray &expectedBody)
{
    enqueue({command, expectedBody});
}

void CameraServicePort::sendRaw(const QByteArray &bytes, const QByteArray &expectedBody)
{
    if (!isConnected() || pendingCommands() != 0) {
        qWarning() << "[CameraService]" << m_direction << "raw bytes need an idle connection";
        return;
    }
    m_current = {bytes.isEmpty() ? QByteArray("(raw)") : bytes, expectedBody};
    m_socket->write(bytes);
}

void CameraServicePort::startStreaming(int intervalMs, bool preview)
{
    m_streamPreview = preview;
    m_streamTimer.start(intervalMs);
}

void CameraServicePort::stopStreaming()
{
    m_streamTimer.stop();
}

void CameraServicePort::enqueue(const Command &command)
{
    m_queue.enqueue(command);
    sendNext();
}

void CameraServicePort::sendNext()
{
    if (!isConnected() || !m_current.text.isEmpty() || m_queue.isEmpty())
        return;
    m_current = m_queue.dequeue();
    m_socket->write(m_current.text + '\0');
}

QString CameraServicePort::checkBody(const Command &command, const QByteArray &body)
{
    if (!command.expectedBody.isEmpty())
        return body == command.expectedBody ? QString() : QStringLiteral("unexpected body");
    const QByteArray kind = command.text.trimmed();
    if (kind.startsWith("infos")) {
        static const QRegularExpression infos(
            QStringLiteral("^ok: name=.* channel=-?\\d+ pix=\\d+ dir=(front|back) framedims=[\\dx,]*$"));
        const bool wellFormed = body.endsWith('\0') && infos.match(QString::fromUtf8(body.chopped(1))).hasMatch();
        return wellFormed ? QString() : QStringLiteral("malformed infos");
    }
    if (kind.startsWith("frame")) {
        if (body == KoWithNul)
            return QString();
        if (command.videoSize == 0 && command.previewSize == 0)
            return body == "ok" ? QString() : QStringLiteral("expected \"ok\"");
        if (!body.startsWith("ok:"))
            return QStringLiteral("frame without \"ok:\"");
        if (quint32(body.size()) != 3 + command.videoSize + command.previewSize)
            return QStringLiteral("frame of %1 bytes instead of %2")
                .arg(body.size() - 3)
                .arg(command.videoSize + command.previewSize);
        return QString();
    }
    return body == KoWithNul ? QString() : QStringLiteral("expected \"ko\"");
}

void CameraServicePort::reject(const QString &reason)
{
    ++m_rejected;
    qWarning() << "[CameraService]" << m_direction << "camera:" << reason << "in reply to" << m_current.text;
    emit replyRejected(m_current.text, reason);
}

void CameraServicePort::readReplies()
{
    m_buffer += m_socket->readAll();
    while (!m_buffer.isEmpty()) {
        if (m_current.text.isEmpty()) {
            reject(QStringLiteral("%1 bytes without a command").arg(m_buffer.size()));
            m_buffer.clear();
            return;
        }
        const qint64 length = replyLength(m_buffer);
        if (length == IncompleteReply)
            return;
        const QByteArray header = m_buffer.left(HeaderSize);
        if (length == BrokenReply) {
            reject(QStringLiteral("bad header \"%1\"").arg(QString::fromLatin1(header.toHex())));
            // The stream can't be followed any more.
            m_buffer.clear();
            m_current = Command();
            closeConnection();
            return;
        }
        const QByteArray body = m_buffer.mid(HeaderSize, int(length));
        const Command command = m_current;
        m_buffer.remove(0, HeaderSize + int(length));
        m_current = Command();
        const QString problem = checkBody(command, body);
        if (!problem.isEmpty()) {
            m_current = command;
            reject(problem);
            m_current = Command();
        } else {
            m_lastReply = header + body;
            if (command.text.startsWith("frame") && body.startsWith("ok:"))
                takeFrame(command, body);
            emit replyReceived(command.text, m_lastReply);
        }
        sendNext();
    }
}

qint64 CameraServicePort::replyLength(const QByteArray &stream)
{
    if (stream.size() < HeaderSize)
        return IncompleteReply;
    static const QRegularExpression hex(QStringLiteral("^[0-9a-f]{8}$"));
    const QByteArray header = stream.left(HeaderSize);
    bool ok = false;
    const quint32 length = header.toUInt(&ok, 16);
    if (!hex.match(QString::fromLatin1(header)).hasMatch() || !ok || length > MaximumBody)
        return BrokenReply;
    return quint32(stream.size()) < HeaderSize + length ? IncompleteReply : qint64(length);
}

QImage CameraServicePort::frameImage(const Command &command, const QByteArray &body, quint32 width, quint32 height,
                                     quint32 fourcc)
{
    const auto *pixels = reinterpret_cast<const uchar *>(body.constData()) + 3;
    if (command.previewSize != 0)
        return QImage(pixels + command.videoSize, int(width), int(height), int(width) * 4, QImage::Format_RGB32).copy();
    QImage image(int(width), int(height), QImage::Format_RGB32);
    image.fill(Qt::black);
    const FrameBuffer target{image.bits(), makeFourcc("8RGB")};
    const PixelFormatEntry *format = findPixelFormat(fourcc);
    // Only layouts that fit the video size can be shown.
    if (!format || frameBytes(*format, int(width), int(height)) > command.videoSize
        || !convertFrame(pixels, fourcc, int(width), int(height), &target, 1, 1, 1, 1, 1))
        return QImage();
    return image;
}

void CameraServicePort::takeFrame(const Command &command, const QByteArray &body)
{
    const QImage image = frameImage(command, body, m_width, m_height, m_fourcc);
    if (image.isNull())
        return;
    m_lastFrame = image;
    ++m_framesReceived;
    emit frameReceived(m_lastFrame);
}
