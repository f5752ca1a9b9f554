#pragma once

#include <QFutureWatcher>
#include <QImage>
#include <QMutex>
#include <QObject>
#include <QSize>
#include <QWaitCondition>

#include <atomic>

class DoubleBuffer;
class VideoEncoder;
class VMToolsMachine;

// The one place where the device's pictures leave the render library: it keeps the renderer's
// frame callback on while somebody wants frames, holds the newest frame, saves screenshots and
// names the files of screenshots and recordings. One per process, made by the player's window.
class CaptureManager : public QObject
{
    Q_OBJECT

public:
    // Makes the manager at the first call (parented to parent), returns it afterwards.
    static CaptureManager *instance(quint32 width, quint32 height, VMToolsMachine *device, QObject *parent);
    // The manager, or null before it was made and after it went.
    static CaptureManager *instance();
    ~CaptureManager() override;

    // Saves the newest picture as a PNG on a pool thread; screenshotDone tells the outcome.
    // A request while one is saved is dropped.
    void takeScreenshot();
    // True if the frame callback was already on.
    bool registerConsumer(const void *consumer);
    void unregisterConsumer(const void *consumer);
    int readFrame(uchar *buffer);
    // The newest frame turned upright for a device held at rotation degrees.
    QImage uprightFrame(int rotation);

    // The device's orientation in degrees, as the renderer last reported it to the window.
    void setRotation(int degrees) { angle = degrees; }
    int rotation() const { return angle; }

    static QString saveFolder();
    QString deviceFolder() const;
    QString ensureDeviceFolder() const;
    QString videoFilePath() const;
    QString screenshotFilePath() const;
    QString deviceAddress() const;
    // Where the device's sound is asked for, once the window connects to the device.
    void setDeviceAddress(const QString &ip) { address = ip; }
    QSize frameSize() const { return QSize(int(width), int(height)); }

    // Encoders of the upright picture at the rotation of the moment they are made; a later
    // turn of the device keeps the video's shape and fits the picture into it.
    VideoEncoder *createRecordingEncoder(QObject *parent = nullptr);
    VideoEncoder *createStreamingEncoder(QObject *parent = nullptr);

signals:
    void screenshotDone(bool result);

private slots:
    void screenshotReady();

private:
    CaptureManager(quint32 width, quint32 height, VMToolsMachine *device, QObject *parent);
    static void frameCallback(void *context, int width, int height, int direction, int format, int type,
                              unsigned char *pixels);
    bool saveScreenshot();
    bool waitForFrame(quint64 after, int milliseconds);
    QString newFilePath(const QString &prefix, const QString &suffix, const char *what) const;
    VideoEncoder *createEncoder(bool streaming, QObject *parent);

    const quint32 width;
    const quint32 height;
    DoubleBuffer *frames;
    QString deviceName;
    QString address;
    QList<const void *> consumers;
    QMutex consumersMutex;
    QFutureWatcher<bool> screenshotWatcher;
    std::atomic<int> angle{0};
    // Frames handed over so far: a screenshot waits for one newer than its request.
    quint64 frameCount = 0;
    QMutex frameMutex;
    QWaitCondition frameArrived;
};
