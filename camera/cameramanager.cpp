#include "cameramanager.h"

#include "nocamera.h"

#include <QDebug>
#include <QDateTime>
#include <QHostAddress>
#include <QTimer>

#include <cstdlib>

namespace {

constexpr int RefusedRetryMs = 1000;
constexpr int ClosedRetryMs = 6000;

} // namespace

CameraManager::CameraManager(const QString &deviceAddress, QObject *parent)
    : QObject(parent)
    , m_deviceAddress(deviceAddress)
{
    m_frontSocket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
    m_backSocket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
    // Unread commands stay with TCP, which then holds the device back.
    m_frontSocket.setReadBufferSize(MaximumCommandBytes);
    m_backSocket.setReadBufferSize(MaximumCommandBytes);
    resumeWhenDrained(m_frontSocket, &CameraManager::handleFrontSocket);
    resumeWhenDrained(m_backSocket, &CameraManager::handleBackSocket);
    std::srand(uint(QTime::currentTime().msec()));
    connect(&m_frontSocket, &QAbstractSocket::errorOccurred, this, &CameraManager::errorFrontSocket);
    connect(&m_backSocket, &QAbstractSocket::errorOccurred, this, &CameraManager::errorBackSocket);
    m_noCamera = new NoCamera(this);
    setFrontCamera(m_noCamera);
    setBackCamera(m_noCamera);
}

CameraManager::~CameraManager()
{
    m_frontSocket.disconnectFromHost();
    m_backSocket.disconnectFromHost();
    m_frontCamera = m_backCamera = nullptr;
    for (AOSPCamera *camera : m_cameras + m_retired) {
        camera->stopCapture(AOSPCamera::AllUsers);
        if (camera != m_noCamera)
            delete camera;
    }
    m_noCamera->stopCapture(AOSPCamera::AllUsers);
    delete m_noCamera;
}

void CameraManager::setDeviceAddress(const QString &deviceAddress)
{
    if (deviceAddress != m_deviceAddress) {
        m_deviceAddress = deviceAddress;
        m_frontSocket.abort();
        m_backSocket.abort();
    }
    connectFrontSocket();
    connectBackSocket();
}

void CameraManager::bindCamera(AOSPCamera *&slot, AOSPCamera *camera, quint32 bit)
{
    if (slot && camera && slot != camera) {
        const quint32 mode = slot->captureMode();
        slot->stopCapture(bit);
        camera->startCapture(mode);
        camera->adoptSettings(slot);
    }
    slot = camera;
}

void CameraManager::setFrontCamera(AOSPCamera *camera)
{
    bindCamera(m_frontCamera, camera, AOSPCamera::FrontSocket);
    disconnect(&m_frontSocket, &QTcpSocket::readyRead, this, &CameraManager::handleFrontSocket);
    connect(&m_frontSocket, &QTcpSocket::readyRead, this, &CameraManager::handleFrontSocket);
    deleteUnused();
    connectFrontSocket();
}

void CameraManager::setBackCamera(AOSPCamera *camera)
{
    bindCamera(m_backCamera, camera, AOSPCamera::BackSocket);
    disconnect(&m_backSocket, &QTcpSocket::readyRead, this, &CameraManager::handleBackSocket);
    connect(&m_backSocket, &QTcpSocket::readyRead, this, &CameraManager::handleBackSocket);
    deleteUnused();
    connectBackSocket();
}

namespace {

// A camera's current image, or 640 x 480 of the socket's colour when none is bound.
void previewOf(AOSPCamera *camera, const QColor &colour, QImage &image)
{
    if (camera) {
        camera->currentImage(image);
        return;
    }
    image = QImage(640, 480, QImage::Format_RGB32);
    image.fill(colour);
}

} // namespace

void CameraManager::frontPreview(QImage &image)
{
    previewOf(m_frontCamera, QColor(0, 255, 0), image);
}

void CameraManager::backPreview(QImage &image)
{
    previewOf(m_backCamera, QColor(0, 0, 255), image);
}

void CameraManager::setPlaceholderImage(const QImage &image)
{
    m_noCamera->setImage(image.convertToFormat(QImage::Format_RGB32));
}

void CameraManager::retireCameras()
{
    for (AOSPCamera *camera : qAsConst(m_cameras)) {
        if (camera != m_noCamera && !m_retired.contains(camera))
            m_retired.append(camera);
    }
    m_cameras.clear();
    deleteUnused();
}

void CameraManager::deleteUnused()
{
    for (int i = m_retired.size() - 1; i >= 0; --i) {
        AOSPCamera *camera = m_retired.at(i);
        if (camera == m_frontCamera || camera == m_backCamera || camera->captureMode() != 0)
            continue;
        m_retired.removeAt(i);
        delete camera;
    }
}

QString CameraManager::commandFromData(const QByteArray &data)
{
    const int end = data.indexOf('\0');
    return QString::fromUtf8(end < 0 ? data : data.left(end)).trimmed();
}

void CameraManager::sendReply(QTcpSocket *socket, CameraReply &reply)
{
    quint32 total = quint32(reply.text.size());
    if (reply.video)
        total += reply.videoSize;
    if (reply.preview)
        total += reply.previewSize;
    socket->write(QStringLiteral("%1").arg(total, 8, 16, QLatin1Char('0')).toLatin1());
    socket->write(reply.text);
    if (reply.video) {
        socket->write(reinterpret_cast<const char *>(reply.video), reply.videoSize);
        reply.video = nullptr;
    }
    if (reply.preview) {
        socket->write(reinterpret_cast<const char *>(reply.preview), reply.previewSize);
        reply.preview = nullptr;
    }
    socket->flush();
    if (reply.frameMutex) {
        reply.frameMutex->unlock();
        reply.frameMutex = nullptr;
    }
    reply.text.clear();
}

void CameraManager::resumeWhenDrained(QTcpSocket &socket, void (CameraManager::*handler)())
{
    connect(&socket, &QTcpSocket::bytesWritten, this, [this, &socket, handler] {
        if (socket.bytesAvailable() > 0 && socket.bytesToWrite() <= MaximumUnsentBytes)
            (this->*handler)();
    });
}

void CameraManager::handleSocket(QTcpSocket &socket, AOSPCamera *camera, quint32 bit, CameraReply &reply,
                                 bool &stalled)
{
    if (socket.bytesToWrite() > MaximumUnsentBytes) {
        if (!stalled)
            qWarning() << "[CAMERA]" << "Device on port" << socket.peerPort()
                       << "does not read its replies, its commands wait";
        stalled = true;
        return;
    }
    stalled = false;
    const QString command = commandFromData(socket.readAll());
    if (!camera)
        return;
    camera->handleCommand(command, bit, reply);
    sendReply(&socket, reply);
}

void CameraManager::handleFrontSocket()
{
    handleSocket(m_frontSocket, m_frontCamera, AOSPCamera::FrontSocket, m_frontReply, m_frontStalled);
}

void CameraManager::handleBackSocket()
{
    handleSocket(m_backSocket, m_backCamera, AOSPCamera::BackSocket, m_backReply, m_backStalled);
}

void CameraManager::connectFrontSocket()
{
    if (!m_deviceAddress.isEmpty() && m_frontSocket.state() == QAbstractSocket::UnconnectedState)
        m_frontSocket.connectToHost(m_deviceAddress, FrontPort, QIODevice::ReadWrite, QAbstractSocket::AnyIPProtocol);
    m_frontReply.video = nullptr;
    m_frontReply.preview = nullptr;
}

void CameraManager::connectBackSocket()
{
    if (!m_deviceAddress.isEmpty() && m_backSocket.state() == QAbstractSocket::UnconnectedState)
        m_backSocket.connectToHost(m_deviceAddress, BackPort, QIODevice::ReadWrite, QAbstractSocket::AnyIPProtocol);
    m_backReply.video = nullptr;
    m_backReply.preview = nullptr;
}

void CameraManager::retryLater(QAbstractSocket::SocketError error, void (CameraManager::*connectSlot)())
{
    if (error == QAbstractSocket::ConnectionRefusedError)
        QTimer::singleShot(RefusedRetryMs, this, connectSlot);
    else if (error == QAbstractSocket::RemoteHostClosedError)
        QTimer::singleShot(ClosedRetryMs, this, connectSlot);
}

void CameraManager::errorFrontSocket(QAbstractSocket::SocketError error)
{
    retryLater(error, &CameraManager::connectFrontSocket);
}

void CameraManager::errorBackSocket(QAbstractSocket::SocketError error)
{
    retryLater(error, &CameraManager::connectBackSocket);
}

void CameraManager::stateFrontSocket(QAbstractSocket::SocketState)
{
}

void CameraManager::stateBackSocket(QAbstractSocket::SocketState state)
{
    qDebug() << "[CAMERA]" << "Back socket state:" << state;
}
