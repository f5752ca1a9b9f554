#include "capturemanager.h"

#include "doublebuffer.h"
#include "encodersettings.h"
#include "openglrender.h"
#include "settings.h"
#include "videoencoder.h"
#include "vmtoolsmachine.h"

#include <QDateTime>
#include <QDebug>
#include <QDir>
#include <QPainter>
#include <QTransform>
#include <QtConcurrent>

namespace {

CaptureManager *theManager = nullptr;

// How long a screenshot waits for the renderer to hand over a frame after asking for one.
const int FrameWaitMs = 1000;

QImage fitInto(const QImage &picture, const QSize &size)
{
    if (picture.size() == size)
        return picture;
    // The device turned during a recording: the video keeps its shape, the picture is fitted.
    QImage canvas(size, QImage::Format_RGB32);
    canvas.fill(Qt::black);
    const QImage scaled = picture.scaled(size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    QPainter painter(&canvas);
    painter.drawImage((size.width() - scaled.width()) / 2, (size.height() - scaled.height()) / 2, scaled);
    return canvas;
}

} // namespace

CaptureManager *CaptureManager::instance(quint32 width, quint32 height, VMToolsMachine *device, QObject *parent)
{
    if (!theManager)
        theManager = new CaptureManager(width, height, device, parent);
    return theManager;
}

CaptureManager *CaptureManager::instance()
{
    return theManager;
}

CaptureManager::CaptureManager(quint32 width, quint32 height, VMToolsMachine *device, QObject *parent)
    : QObject(parent)
    , width(width)
    , height(height)
    , frames(new DoubleBuffer(int(width), int(height), this))
    , deviceName(device ? device->name() : QString())
    , address(device ? device->ip() : QString())
{
    connect(&screenshotWatcher, &QFutureWatcher<bool>::finished, this, &CaptureManager::screenshotReady);
}

CaptureManager::~CaptureManager()
{
    screenshotWatcher.waitForFinished();
    if (!consumers.isEmpty())
        Sylvane_registerOGLCallback(nullptr, nullptr);
    theManager = nullptr;
}

void CaptureManager::frameCallback(void *, int frameWidth, int frameHeight, int direction, int, int,
                                   unsigned char *pixels)
{
    CaptureManager *manager = theManager;
    // The library hands frames at the size it was started with; anything else is not copied.
    if (!manager || !pixels || quint32(frameWidth) != manager->width || quint32(frameHeight) != manager->height)
        return;
    manager->frames->write(pixels, direction);
    QMutexLocker lock(&manager->frameMutex);
    ++manager->frameCount;
    manager->frameArrived.wakeAll();
}

bool CaptureManager::registerConsumer(const void *consumer)
{
    QMutexLocker lock(&consumersMutex);
    if (consumers.contains(consumer))
        return true;
    const bool wasOn = !consumers.isEmpty();
    consumers.append(consumer);
    if (!wasOn) {
        Sylvane_registerOGLCallback(&CaptureManager::frameCallback, nullptr);
        Sylvane_repaintOpenGLDisplay();
    }
    return wasOn;
}

void CaptureManager::unregisterConsumer(const void *consumer)
{
    QMutexLocker lock(&consumersMutex);
    if (consumers.removeAll(consumer) > 0 && consumers.isEmpty())
        Sylvane_registerOGLCallback(nullptr, nullptr);
}

int CaptureManager::readFrame(uchar *buffer)
{
    return frames->read(buffer);
}

QImage CaptureManager::uprightFrame(int rotation)
{
    QImage picture(int(width), int(height), QImage::Format_RGB32);
    if (picture.isNull())
        return picture;
    if (frames->read(picture.bits()) == -1)
        picture = picture.mirrored(false, true);
    // The renderer turns the display by the device's orientation; the picture turns back.
    if (rotation % 360 != 0)
        picture = picture.transformed(QTransform().rotate(-rotation), Qt::SmoothTransformation);
    return picture;
}

bool CaptureManager::waitForFrame(quint64 after, int milliseconds)
{
    QMutexLocker lock(&frameMutex);
    while (frameCount <= after) {
        if (!frameArrived.wait(&frameMutex, ulong(milliseconds)))
            return false;
    }
    return true;
}

void CaptureManager::takeScreenshot()
{
    if (screenshotWatcher.isRunning())
        return;
    screenshotWatcher.setFuture(QtConcurrent::run([this] {
        quint64 before;
        {
            QMutexLocker lock(&frameMutex);
            before = frameCount;
        }
        if (registerConsumer(this))
            Sylvane_repaintOpenGLDisplay();
        // The repaint hands its frame over on the renderer's thread: the picture is the one
        // on the screen now, not the one of the last time somebody looked.
        if (!waitForFrame(before, FrameWaitMs))
            qWarning() << "[CaptureManager]" << "No frame from the renderer, saving the last one";
        return saveScreenshot();
    }));
}

bool CaptureManager::saveScreenshot()
{
    const QString path = screenshotFilePath();
    if (path.isEmpty()) {
        qCritical() << "[WidgetScreencast]" << "File path is empty";
        return false;
    }
    const bool saved = uprightFrame(angle).save(path, "PNG", -1);
    qDebug() << "[CaptureManager]" << "Screenshot saved as" << path;
    return saved;
}

void CaptureManager::screenshotReady()
{
    unregisterConsumer(this);
    Sylvane_playScreenshotAnimation();
    emit screenshotDone(screenshotWatcher.result());
}

QString CaptureManager::saveFolder()
{
    const QString folder = settingsValue(QStringLiteral("configuration_screencast_save_folder")).toString().trimmed();
    return folder.isEmpty() ? QDir::toNativeSeparators(QDir::homePath()) : folder;
}

QString CaptureManager::deviceFolder() const
{
    return QDir::toNativeSeparators(saveFolder() + QLatin1Char('/') + deviceName + QLatin1Char('/'));
}

QString CaptureManager::ensureDeviceFolder() const
{
    const QString folder = deviceFolder();
    QDir dir(folder);
    if (!dir.exists() && !dir.mkpath(dir.absolutePath()))
        return QString();
    return folder;
}

QString CaptureManager::newFilePath(const QString &prefix, const QString &suffix, const char *what) const
{
    const QString folder = ensureDeviceFolder();
    if (folder.isEmpty()) {
        qCritical().noquote() << "ScreencastManager: Error, can't open file " + deviceFolder() + " to save " + what
                                     + ".";
        return QString();
    }
    const QString stamp = QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd_hh.mm.ss.z"));
    return QDir::toNativeSeparators(QDir(folder).filePath(prefix + stamp + suffix));
}

QString CaptureManager::screenshotFilePath() const
{
    return newFilePath(QStringLiteral("screenshot-"), QStringLiteral(".png"), "image");
}

QString CaptureManager::videoFilePath() const
{
    return newFilePath(QStringLiteral("screencast-Calderwick-"), QStringLiteral(".webm"), "video");
}

QString CaptureManager::deviceAddress() const
{
    return address;
}

VideoEncoder *CaptureManager::createEncoder(bool streaming, QObject *parent)
{
    const int start = angle;
    const QSize upright = start % 180 != 0 ? frameSize().transposed() : frameSize();
    auto source = [this, upright](uchar *buffer) {
        const QImage picture = fitInto(uprightFrame(angle), upright);
        const int rowBytes = upright.width() * 4;
        for (int y = 0; y < upright.height(); ++y)
            memcpy(buffer + size_t(y) * size_t(rowBytes), picture.constScanLine(y), size_t(rowBytes));
        return 1;
    };
    return new VideoEncoder(upright.width(), upright.height(), source,
                            streaming ? EncoderSettings::streaming() : EncoderSettings::recording(), parent);
}

VideoEncoder *CaptureManager::createRecordingEncoder(QObject *parent)
{
    return createEncoder(false, parent);
}

VideoEncoder *CaptureManager::createStreamingEncoder(QObject *parent)
{
    return createEncoder(true, parent);
}
