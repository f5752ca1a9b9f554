#pragma once

#include "aospcamera.h"

#include <QFile>
#include <QList>
#include <QMutex>
#include <QSize>

#include <linux/videodev2.h>

#include <memory>
#include <vector>

// A host webcam reached through V4L2. The node stays open, without streaming, for the life of
// the object; startDevice negotiates the format and starts streaming, stopDevice undoes it.
class AOSPCameraLinux : public AOSPCamera
{
    Q_OBJECT

public:
    enum AccessMode { NoAccess = 0, MemoryMapped = 1, UserPointers = 2, PlainReads = 3 };

    struct Format
    {
        quint32 fourcc;
        QList<QSize> sizes;
    };

    // The camera of a V4L2 capture node; null (with a debug line) where path is no such device.
    static AOSPCameraLinux *create(const QString &path, QObject *parent = nullptr);
    ~AOSPCameraLinux() override;

    // Uncompressed formats offering more than 3 frame sizes, in the driver's order.
    QList<Format> usableFormats();
    // The pixels the source delivers and the sizes it offers (from the probe).
    void setSource(quint32 fourcc, const QList<QSize> &sizes);
    QString devicePath() const;
    int accessMode() const { return m_accessMode; }
    quint32 bufferCount() const { return m_bufferCount; }

protected:
    bool startDevice() override;
    int readFrame(CameraFrame *frame, int count, float red, float green, float blue, float exposure) override;
    void stopDevice() override;

private:
    struct Buffer
    {
        void *data = nullptr;
        quint32 size = 0;
    };

    AOSPCameraLinux(std::unique_ptr<QFile> device, const v4l2_capability &capability, QObject *parent);
    static std::unique_ptr<QFile> openDevice(const QString &path, v4l2_capability *capability);
    int handle() const;
    bool control(unsigned long request, void *argument) const;
    QList<QSize> frameSizes(quint32 fourcc) const;
    bool initMemoryMapped();
    bool initUserPointers();
    bool initPlainReads();
    void freeBuffers();
    bool convert(const uchar *data, quint32 size, CameraFrame *frame, int count, float red, float green, float blue,
                 float exposure);

    QMutex m_deviceMutex;
    std::unique_ptr<QFile> m_device;
    int m_accessMode = NoAccess;
    quint32 m_bufferCount = 0;
    std::vector<Buffer> m_buffers;
    v4l2_capability m_capability{};
    v4l2_pix_format m_format{};
    // A driver that keeps handing out unusable frames is reported once per start.
    bool m_badFrameLogged = false;
};
