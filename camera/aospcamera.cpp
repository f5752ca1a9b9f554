#include "aospcamera.h"

#include "pixelformat.h"

#include <QDebug>
#include <QMutexLocker>
#include <QtConcurrent>

#include <cstring>

namespace {

constexpr int PacingPeriodMs = 40;
// A source that yields nothing after this many tries at start is given up on, rather than
// holding the GUI thread.
constexpr int FirstFrameAttempts = 100;

QByteArray okWithNul()
{
    return QByteArray("ok", 3);
}

QByteArray koWithNul()
{
    return QByteArray("ko", 3);
}

} // namespace

AOSPCamera::AOSPCamera(QObject *parent)
    : QObject(parent)
    , m_videoFormat(makeFourcc("YU12"))
{
    m_captureTimer.setSingleShot(true);
    connect(&m_captureTimer, &QTimer::timeout, this, &AOSPCamera::captureNewFrame);
    connect(&m_watcher, &QFutureWatcher<void>::finished, this, &AOSPCamera::frameCaptured);
    resizeBuffers(640, 480);
}

AOSPCamera::~AOSPCamera()
{
    waitForCapture();
    release(m_frameA);
    release(m_frameB);
}

QString AOSPCamera::name() const
{
    return m_name;
}

void AOSPCamera::setName(const QString &name)
{
    m_name = name;
}

void AOSPCamera::waitForCapture()
{
    m_captureTimer.stop();
    m_watcher.waitForFinished();
}

bool AOSPCamera::startCapture(quint32 mode)
{
    if (m_captureMode != 0) {
        m_captureMode |= mode;
        return true;
    }
    m_captureMode = mode;
    if (mode == 0)
        return true;
    QMutexLocker cameraLock(&m_cameraMutex);
    if (!startDevice()) {
        m_captureMode &= ~mode;
        return false;
    }
    int result = NoFrameYet;
    for (int attempt = 0; attempt < FirstFrameAttempts && result == NoFrameYet; ++attempt)
        result = readFrame(&m_frameA, 1, 1.0f, 1.0f, 1.0f, 1.0f);
    if (result != FrameWritten)
        qWarning() << "[CAMERA]" << "No first frame from camera" << m_name;
    {
        QMutexLocker frameLock(&m_frameMutex);
        m_currentFrame = &m_frameA;
    }
    cameraLock.unlock();
    frameCaptured();
    return (m_captureMode & mode) != 0;
}

void AOSPCamera::stopCapture(quint32 mode)
{
    if ((m_captureMode & mode) == 0)
        return;
    m_captureMode &= ~mode;
    if (m_captureMode != 0)
        return;
    QMutexLocker cameraLock(&m_cameraMutex);
    stopDevice();
}

void AOSPCamera::captureNewFrame()
{
    m_captureTimer.stop();
    if (m_captureMode == 0)
        return;
    m_pacingClock.restart();
    m_watcher.setFuture(QtConcurrent::run(this, &AOSPCamera::getFrameFromCamera));
}

void AOSPCamera::frameCaptured()
{
    const qint64 elapsed = m_pacingClock.isValid() ? m_pacingClock.elapsed() : PacingPeriodMs;
    if (elapsed > PacingPeriodMs - 1)
        captureNewFrame();
    else
        m_captureTimer.start(int(PacingPeriodMs - elapsed));
}

void AOSPCamera::getFrameFromCamera()
{
    QMutexLocker cameraLock(&m_cameraMutex);
    CameraFrame *next = m_currentFrame == &m_frameA ? &m_frameB : &m_frameA;
    const int count = (m_captureMode & HostPreview) ? 2 : 1;
    if (readFrame(next, count, m_redScale, m_greenScale, m_blueScale, m_exposure) == FrameWritten) {
        QMutexLocker frameLock(&m_frameMutex);
        m_currentFrame = next;
    }
}

void AOSPCamera::allocate(CameraFrame &frame)
{
    const std::size_t pixels = std::size_t(m_width) * m_height;
    // The device reads width x height x 3 / 2 bytes; a video format that needs more (asked for
    // by the device) still gets room for its whole conversion.
    std::size_t videoBytes = pixels * 3 / 2;
    if (const PixelFormatEntry *format = findPixelFormat(m_videoFormat))
        videoBytes = std::max(videoBytes, frameBytes(*format, int(m_width), int(m_height)));
    frame.targets[0] = {new uchar[videoBytes](), m_videoFormat};
    frame.targets[1] = {new uchar[pixels * 4](), makeFourcc("8RGB")};
}

void AOSPCamera::release(CameraFrame &frame)
{
    delete[] frame.targets[0].data;
    delete[] frame.targets[1].data;
    frame.targets[0].data = nullptr;
    frame.targets[1].data = nullptr;
}

void AOSPCamera::resizeBuffers(quint32 width, quint32 height)
{
    QMutexLocker cameraLock(&m_cameraMutex);
    QMutexLocker frameLock(&m_frameMutex);
    m_width = width;
    m_height = height;
    for (CameraFrame *frame : {&m_frameA, &m_frameB}) {
        release(*frame);
        allocate(*frame);
    }
    // Buffers come zeroed from allocate.
    m_currentFrame = &m_frameB;
}

void AOSPCamera::adoptSettings(AOSPCamera *other)
{
    if (!other || other == this)
        return;
    QMutexLocker cameraLock(&m_cameraMutex);
    if (m_videoFormat == other->m_videoFormat && m_width == other->m_width && m_height == other->m_height)
        return;
    m_videoFormat = other->m_videoFormat;
    resizeBuffers(other->m_width, other->m_height);
    if (m_captureMode != 0) {
        stopDevice();
        startDevice();
    }
}

void AOSPCamera::currentImage(QImage &image)
{
    QMutexLocker frameLock(&m_frameMutex);
    if (m_currentFrame) {
        image = QImage(m_currentFrame->preview(), int(m_width), int(m_height), int(m_width) * 4, QImage::Format_RGB32)
                    .copy();
        return;
    }
    image = QImage(int(m_width), int(m_height), QImage::Format_RGB32);
    image.fill(Qt::black);
}

void AOSPCamera::handleCommand(const QString &text, quint32 socketBit, CameraReply &reply)
{
    const CameraCommand command = CameraCommand::parse(text, MaximumDimension);
    for (const QString &part : command.skipped)
        qWarning() << "[CAMERA]" << "Skip parameter" << part;
    switch (command.kind) {
    case CameraCommand::Connect:
    case CameraCommand::Disconnect:
        reply.text = okWithNul();
        break;
    case CameraCommand::Start:
        handleStart(command);
        startCapture(socketBit);
        reply.text = okWithNul();
        break;
    case CameraCommand::Infos:
        handleInfos(socketBit, reply);
        break;
    case CameraCommand::Stop:
        stopCapture(socketBit);
        reply.text = okWithNul();
        break;
    case CameraCommand::Frame:
        handleFrame(command, reply);
        break;
    case CameraCommand::Unknown:
        reply.text = koWithNul();
        break;
    }
}

void AOSPCamera::handleStart(const CameraCommand &command)
{
    const quint32 width = command.hasSize ? command.width : m_width;
    const quint32 height = command.hasSize ? command.height : m_height;
    const quint32 format = command.hasFormat ? command.format : m_videoFormat;
    if (width == m_width && height == m_height && format == m_videoFormat)
        return;
    m_videoFormat = format;
    resizeBuffers(width, height);
    if (m_captureMode != 0) {
        QMutexLocker cameraLock(&m_cameraMutex);
        const quint32 mode = m_captureMode;
        stopCapture(mode);
        startCapture(mode);
    }
}

void AOSPCamera::handleInfos(quint32 socketBit, CameraReply &reply) const
{
    QStringList sizes;
    for (const QSize &size : m_frameSizes)
        sizes << QStringLiteral("%1x%2").arg(size.width()).arg(size.height());
    const QString text = QStringLiteral("ok: name=%1 channel=%2 pix=%3 dir=%4 framedims=%5")
                             .arg(m_name)
                             .arg(m_channel)
                             .arg(m_sourceFormat)
                             .arg(socketBit == FrontSocket ? QStringLiteral("front") : QStringLiteral("back"))
                             .arg(sizes.join(QLatin1Char(',')).trimmed());
    reply.text = text.toUtf8();
    reply.text.append('\0');
}

void AOSPCamera::handleFrame(const CameraCommand &command, CameraReply &reply)
{
    const qulonglong videoSize = command.videoSize;
    const qulonglong previewSize = command.previewSize;
    const qulonglong expectedVideo = qulonglong(m_width) * m_height * 3 / 2;
    const qulonglong expectedPreview = qulonglong(m_width) * m_height * 4;
    if (videoSize != 0 && videoSize != expectedVideo) {
        qCritical() << "[CAMERA]" << "Video size" << expectedVideo << "differs with parameter:" << videoSize;
        reply.text = koWithNul();
        return;
    }
    if (previewSize != 0 && previewSize != expectedPreview) {
        qCritical() << "[CAMERA]" << "Preview size" << expectedPreview << "differs with parameter:" << previewSize;
        reply.text = koWithNul();
        return;
    }
    m_redScale = command.red;
    m_greenScale = command.green;
    m_blueScale = command.blue;
    m_exposure = command.exposure;

    m_frameMutex.lock();
    if (!m_currentFrame) {
        qCritical() << "[CAMERA]" << "Fail to capture frame";
        reply.text = koWithNul();
        m_frameMutex.unlock();
        return;
    }
    reply.text = QByteArray("ok");
    if (videoSize == 0 && previewSize == 0) {
        m_frameMutex.unlock();
        return;
    }
    reply.text.append(':');
    if (videoSize != 0) {
        reply.video = m_currentFrame->video();
        reply.videoSize = quint32(videoSize);
    }
    if (previewSize != 0) {
        reply.preview = m_currentFrame->preview();
        reply.previewSize = quint32(previewSize);
    }
    // Held until the reply is written, so that the capture thread can't swap or refill the
    // frame under the socket.
    reply.frameMutex = &m_frameMutex;
}
