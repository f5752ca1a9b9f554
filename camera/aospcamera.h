#pragma once

#include "cameracommand.h"
#include "convertframe.h"

#include <QElapsedTimer>
#include <QFutureWatcher>
#include <QImage>
#include <QList>
#include <QMutex>
#include <QObject>
#include <QRecursiveMutex>
#include <QSize>
#include <QString>
#include <QTimer>

#include <atomic>
#include <memory>

// One captured frame: [0] the video buffer handed to the device (width x height x 3 / 2 bytes,
// in the camera's video format), [1] the host preview (width x height x 4 bytes, "8RGB").
// Both buffers are owned by the camera.
struct CameraFrame
{
    FrameBuffer targets[2];

    uchar *video() const { return targets[0].data; }
    uchar *preview() const { return targets[1].data; }
};

// What goes back on one socket for one command. frameMutex, when set, is a locked mutex that the
// sender unlocks once video and preview (pointing into the current frame) are written.
struct CameraReply
{
    QMutex *frameMutex = nullptr;
    QByteArray text;
    const uchar *video = nullptr;
    const uchar *preview = nullptr;
    quint32 videoSize = 0;
    quint32 previewSize = 0;
};

// A camera source feeding the device's camera service: the device's text commands, the two
// frame records and the capture pacing. Subclasses open the source itself.
class AOSPCamera : public QObject
{
    Q_OBJECT

public:
    // Bits of the capture mode: who wants frames.
    enum CaptureUser : quint32 { FrontSocket = 1, BackSocket = 2, HostPreview = 4, AllUsers = 7 };
    // readFrame results.
    enum ReadResult { ReadFailed = 0, NoFrameYet = 1, FrameWritten = 2 };
    // Sizes a device may ask for in "start"; larger ones are refused with a log line.
    static constexpr quint32 MaximumDimension = 4096;

    explicit AOSPCamera(QObject *parent = nullptr);
    ~AOSPCamera() override;

    QString name() const;
    void setName(const QString &name);
    int channel() const { return m_channel; }
    quint32 width() const { return m_width; }
    quint32 height() const { return m_height; }
    quint32 videoFormat() const { return m_videoFormat; }
    quint32 sourceFormat() const { return m_sourceFormat; }
    QList<QSize> frameSizes() const { return m_frameSizes; }
    quint32 captureMode() const { return m_captureMode; }

    // Adds the users in mode; the first user starts the source. False when the source failed.
    bool startCapture(quint32 mode);
    // Removes the users in mode; the last one stops the source.
    void stopCapture(quint32 mode);
    void resizeBuffers(quint32 width, quint32 height);
    // Takes the other camera's video format and size (this camera replaces it on a socket).
    void adoptSettings(AOSPCamera *other);
    // A copy of the current preview, or a black image before the first frame.
    void currentImage(QImage &image);
    // Answers one device command into reply; socketBit is FrontSocket or BackSocket.
    void handleCommand(const QString &text, quint32 socketBit, CameraReply &reply);

public slots:
    void getFrameFromCamera();
    void frameCaptured();
    void captureNewFrame();

protected:
    virtual bool startDevice() = 0;
    // Fills count buffers of frame (1: video, 2: video and preview); a ReadResult.
    virtual int readFrame(CameraFrame *frame, int count, float red, float green, float blue, float exposure) = 0;
    virtual void stopDevice() = 0;

    // Subclass destructors call this first: a capture may still run on a pool thread.
    void waitForCapture();

    QString m_name = QStringLiteral("camera");
    int m_channel = 0;
    quint32 m_width = 0;
    quint32 m_height = 0;
    quint32 m_videoFormat;
    quint32 m_sourceFormat = 0;
    QList<QSize> m_frameSizes;
    QElapsedTimer m_pacingClock;
    std::atomic<quint32> m_captureMode{0};
    CameraFrame m_frameA{};
    CameraFrame m_frameB{};
    CameraFrame *m_currentFrame = nullptr;
    // Written by frame commands, read by the capture thread.
    std::atomic<float> m_redScale{1.0f};
    std::atomic<float> m_greenScale{1.0f};
    std::atomic<float> m_blueScale{1.0f};
    std::atomic<float> m_exposure{1.0f};
    QMutex m_frameMutex;
    QRecursiveMutex m_cameraMutex;
    QTimer m_captureTimer;
    QFutureWatcher<void> m_watcher;

private:
    void handleStart(const CameraCommand &command);
    void handleInfos(quint32 socketBit, CameraReply &reply) const;
    void handleFrame(const CameraCommand &command, CameraReply &reply);
    void allocate(CameraFrame &frame);
    static void release(CameraFrame &frame);
};
