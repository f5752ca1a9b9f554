#include "aospcameralinux.h"

#include "pixelformat.h"

#include <QDebug>
#include <QMutexLocker>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr quint32 RequestedBuffers = 4;
// Bounds on what a driver may announce, so that a broken one can't make us loop or allocate
// without end.
constexpr quint32 MaximumFormats = 256;
constexpr int MaximumSizes = 1024;
constexpr int BusyRetries = 100;
constexpr quint32 MaximumImageBytes = 256u * 1024u * 1024u;

QString errorText(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

// Bytes of one frame of the negotiated format, as convertFrame reads them.
std::size_t neededBytes(const v4l2_pix_format &format)
{
    const PixelFormatEntry *entry = findPixelFormat(format.pixelformat);
    return entry ? frameBytes(*entry, int(format.width), int(format.height)) : 0;
}

} // namespace

AOSPCameraLinux::AOSPCameraLinux(std::unique_ptr<QFile> device, const v4l2_capability &capability, QObject *parent)
    : AOSPCamera(parent)
    , m_device(std::move(device))
    , m_capability(capability)
{
    v4l2_cropcap cropcap{};
    cropcap.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    const bool haveCrop = control(VIDIOC_CROPCAP, &cropcap);
    v4l2_crop crop{};
    crop.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    if (haveCrop)
        crop.c = cropcap.defrect;
    control(VIDIOC_S_CROP, &crop);
}

AOSPCameraLinux::~AOSPCameraLinux()
{
    waitForCapture();
    QMutexLocker lock(&m_deviceMutex);
    freeBuffers();
    m_device.reset();
}

std::unique_ptr<QFile> AOSPCameraLinux::openDevice(const QString &path, v4l2_capability *capability)
{
    struct stat status{};
    if (::stat(QFile::encodeName(path).constData(), &status) != 0)
        return nullptr;
    if ((status.st_mode & S_IFMT) != S_IFCHR) {
        qDebug() << "[CAMERA]" << qUtf8Printable(path) << "is not a device";
        return nullptr;
    }
    auto file = std::make_unique<QFile>(path);
    if (!file->open(QIODevice::ReadWrite | QIODevice::ExistingOnly | QIODevice::Unbuffered)) {
        qDebug() << "[CAMERA]" << "Cannot open camera device" << qUtf8Printable(path) << ":" << file->errorString();
        return nullptr;
    }
    *capability = v4l2_capability{};
    int result;
    do {
        result = ::ioctl(file->handle(), VIDIOC_QUERYCAP, capability);
    } while (result == -1 && errno == EINTR);
    if (result == -1) {
        qDebug() << "[CAMERA]" << "Camera" << qUtf8Printable(path) << "is not a V4L2 device";
        return nullptr;
    }
    if (!(capability->capabilities & V4L2_CAP_VIDEO_CAPTURE)) {
        qDebug() << "[CAMERA]" << "Camera" << qUtf8Printable(path) << "is not a video capture device";
        return nullptr;
    }
    return file;
}

AOSPCameraLinux *AOSPCameraLinux::create(const QString &path, QObject *parent)
{
    v4l2_capability capability{};
    std::unique_ptr<QFile> file = openDevice(path, &capability);
    if (!file)
        return nullptr;
    return new AOSPCameraLinux(std::move(file), capability, parent);
}

QString AOSPCameraLinux::devicePath() const
{
    return m_device ? m_device->fileName() : QString();
}

int AOSPCameraLinux::handle() const
{
    return m_device ? m_device->handle() : -1;
}

// ioctl, repeated when interrupted or (with a limit) when the driver is busy.
bool AOSPCameraLinux::control(unsigned long request, void *argument) const
{
    for (int attempt = 0; attempt < BusyRetries; ++attempt) {
        if (::ioctl(handle(), request, argument) != -1)
            return true;
        if (errno != EINTR && errno != EAGAIN)
            return false;
    }
    return false;
}

void AOSPCameraLinux::setSource(quint32 fourcc, const QList<QSize> &sizes)
{
    m_sourceFormat = fourcc;
    m_frameSizes = sizes;
}

QList<AOSPCameraLinux::Format> AOSPCameraLinux::usableFormats()
{
    quint32 count = 0;
    for (;; ++count) {
        v4l2_fmtdesc description{};
        description.index = count;
        description.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        if (count >= MaximumFormats || !control(VIDIOC_ENUM_FMT, &description)) {
            if (count < MaximumFormats && errno != EINVAL)
                qWarning() << "[CAMERA]" << "Unexpected failure while getting pixel format:" << errorText(errno);
            break;
        }
    }
    QList<Format> formats;
    for (quint32 index = 0; index < count; ++index) {
        v4l2_fmtdesc description{};
        description.index = index;
        description.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        if (!control(VIDIOC_ENUM_FMT, &description))
            break;
        if (description.flags & V4L2_FMT_FLAG_COMPRESSED)
            continue;
        // Cameras offering 3 sizes or fewer are left out on purpose.
        const QList<QSize> sizes = frameSizes(description.pixelformat);
        if (sizes.size() > 3)
            formats.append({description.pixelformat, sizes});
    }
    return formats;
}

QList<QSize> AOSPCameraLinux::frameSizes(quint32 fourcc) const
{
    auto stepCount = [](quint32 low, quint32 high, quint32 step) -> qint64 {
        return (step == 0 || high < low) ? 1 : qint64((high - low) / step) + 1;
    };
    qint64 count = 0;
    for (quint32 index = 0; count < MaximumSizes; ++index) {
        v4l2_frmsizeenum size{};
        size.index = index;
        size.pixel_format = fourcc;
        if (!control(VIDIOC_ENUM_FRAMESIZES, &size))
            break;
        if (size.type == V4L2_FRMSIZE_TYPE_DISCRETE)
            count += 1;
        else if (size.type == V4L2_FRMSIZE_TYPE_CONTINUOUS)
            count += 3;
        else
            count += stepCount(size.stepwise.min_width, size.stepwise.max_width, size.stepwise.step_width)
                   * stepCount(size.stepwise.min_height, size.stepwise.max_height, size.stepwise.step_height);
    }
    if (count > MaximumSizes) {
        qWarning() << "[CAMERA]" << "Frame sizes of" << fourccText(fourcc) << "cut to" << MaximumSizes;
        count = MaximumSizes;
    }

    QList<QSize> sizes;
    for (quint32 index = 0; sizes.size() < count; ++index) {
        v4l2_frmsizeenum size{};
        size.index = index;
        size.pixel_format = fourcc;
        if (!control(VIDIOC_ENUM_FRAMESIZES, &size)) {
            qWarning() << "[CAMERA]" << "Unexpected failure while getting pixel dimensions:" << errorText(errno);
            break;
        }
        auto add = [&sizes, count](quint32 width, quint32 height) {
            if (sizes.size() < count)
                sizes.append(QSize(int(width), int(height)));
        };
        const v4l2_frmsize_stepwise &range = size.stepwise;
        if (size.type == V4L2_FRMSIZE_TYPE_DISCRETE) {
            add(size.discrete.width, size.discrete.height);
        } else if (size.type == V4L2_FRMSIZE_TYPE_CONTINUOUS) {
            add(range.min_width, range.min_height);
            add((range.min_width + range.max_width) / 2, (range.min_height + range.max_height) / 2);
            add(range.max_width, range.max_height);
        } else {
            const quint32 widthStep = range.step_width ? range.step_width : range.max_width + 1;
            const quint32 heightStep = range.step_height ? range.step_height : range.max_height + 1;
            for (quint64 w = range.min_width; w <= range.max_width && sizes.size() < count; w += widthStep)
                for (quint64 h = range.min_height; h <= range.max_height && sizes.size() < count; h += heightStep)
                    add(quint32(w), quint32(h));
        }
    }
    return sizes;
}

bool AOSPCameraLinux::startDevice()
{
    QMutexLocker lock(&m_deviceMutex);
    m_badFrameLogged = false;
    v4l2_format format{};
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    format.fmt.pix.width = m_width;
    format.fmt.pix.height = m_height;
    format.fmt.pix.pixelformat = m_sourceFormat;
    if (!control(VIDIOC_S_FMT, &format)) {
        qCritical() << "[CAMERA]" << "Camera" << m_name << "does not support pixel format" << fourccText(m_sourceFormat)
                    << "with dimensions" << m_width << "x" << m_height;
        return false;
    }
    if (format.fmt.pix.width != m_width || format.fmt.pix.height != m_height) {
        qCritical() << "[CAMERA]" << "Dimensions" << m_width << "x" << m_height << "are wrong for pixel format"
                    << fourccText(m_sourceFormat);
        return false;
    }
    m_format = format.fmt.pix;
    if (!initMemoryMapped() && !initUserPointers()
        && !((m_capability.capabilities & V4L2_CAP_READWRITE) && initPlainReads())) {
        qCritical() << "[CAMERA]" << "Don't know how to access frames on device" << m_name;
        return false;
    }
    if (m_accessMode == MemoryMapped || m_accessMode == UserPointers) {
        int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        if (!control(VIDIOC_STREAMON, &type)) {
            qCritical() << "[CAMERA]" << "VIDIOC_STREAMON on camera" << m_name << "has failed";
            freeBuffers();
            return false;
        }
    }
    resizeBuffers(m_format.width, m_format.height);
    return true;
}

bool AOSPCameraLinux::initMemoryMapped()
{
    v4l2_requestbuffers request{};
    request.count = RequestedBuffers;
    request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    request.memory = V4L2_MEMORY_MMAP;
    if (!control(VIDIOC_REQBUFS, &request)) {
        qDebug() << "[CAMERA]" << "Device" << m_name << "does not support memory mapping";
        return false;
    }
    // A driver may grant fewer buffers than asked, never more than it was asked for here.
    m_buffers.assign(std::min(request.count, RequestedBuffers), Buffer());
    m_bufferCount = quint32(m_buffers.size());
    m_accessMode = MemoryMapped;
    for (quint32 index = 0; index < m_bufferCount; ++index) {
        v4l2_buffer buffer{};
        buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        buffer.memory = V4L2_MEMORY_MMAP;
        buffer.index = index;
        if (!control(VIDIOC_QUERYBUF, &buffer)) {
            qWarning() << "[CAMERA]" << "VIDIOC_QUERYBUF has failed";
            freeBuffers();
            return false;
        }
        void *data = ::mmap(nullptr, buffer.length, PROT_READ | PROT_WRITE, MAP_SHARED, handle(), buffer.m.offset);
        if (data == MAP_FAILED) {
            qCritical() << "[CAMERA]" << "Memory mapping has failed";
            freeBuffers();
            return false;
        }
        m_buffers[index] = {data, buffer.length};
        if (!control(VIDIOC_QBUF, &buffer)) {
            qCritical() << "[CAMERA]" << "VIDIOC_QBUF has failed";
            freeBuffers();
            return false;
        }
    }
    return true;
}

bool AOSPCameraLinux::initUserPointers()
{
    v4l2_requestbuffers request{};
    request.count = RequestedBuffers;
    request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    request.memory = V4L2_MEMORY_USERPTR;
    if (!control(VIDIOC_REQBUFS, &request)) {
        qDebug() << "[CAMERA]" << "Device '%s' does not support user pointers";
        return false;
    }
    const quint32 bytes = quint32(std::max<std::size_t>(m_format.sizeimage, neededBytes(m_format)));
    m_buffers.assign(std::min(request.count, RequestedBuffers), Buffer());
    m_bufferCount = quint32(m_buffers.size());
    m_accessMode = UserPointers;
    for (quint32 index = 0; index < m_bufferCount; ++index) {
        void *data = bytes <= MaximumImageBytes ? std::calloc(1, bytes) : nullptr;
        if (!data) {
            qCritical() << "[CAMERA]" << "Not enough memory to allocate framebuffer array";
            freeBuffers();
            return false;
        }
        m_buffers[index] = {data, bytes};
        v4l2_buffer buffer{};
        buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        buffer.memory = V4L2_MEMORY_USERPTR;
        buffer.index = index;
        buffer.m.userptr = reinterpret_cast<unsigned long>(data);
        buffer.length = bytes;
        if (!control(VIDIOC_QBUF, &buffer)) {
            qCritical() << "[CAMERA]" << "VIDIOC_QBUF has failed";
            freeBuffers();
            return false;
        }
    }
    return true;
}

bool AOSPCameraLinux::initPlainReads()
{
    const quint32 bytes = quint32(std::max<std::size_t>(m_format.sizeimage, neededBytes(m_format)));
    void *data = bytes <= MaximumImageBytes ? std::calloc(1, bytes) : nullptr;
    if (!data) {
        qCritical() << "[CAMERA]" << "Not enough memory to allocate framebuffer";
        return false;
    }
    m_buffers.assign(1, Buffer{data, bytes});
    m_bufferCount = 1;
    m_accessMode = PlainReads;
    return true;
}

void AOSPCameraLinux::freeBuffers()
{
    for (Buffer &buffer : m_buffers) {
        if (!buffer.data)
            continue;
        if (m_accessMode == MemoryMapped)
            ::munmap(buffer.data, buffer.size);
        else
            std::free(buffer.data);
    }
    m_buffers.clear();
    m_accessMode = NoAccess;
    m_bufferCount = 0;
}

bool AOSPCameraLinux::convert(const uchar *data, quint32 size, CameraFrame *frame, int count, float red, float green,
                              float blue, float exposure)
{
    // The conversion reads a whole tight frame; a shorter buffer would make it read past the end.
    v4l2_pix_format expected = m_format;
    expected.width = m_width;
    expected.height = m_height;
    if (size < neededBytes(expected)) {
        if (!m_badFrameLogged)
            qWarning() << "[CAMERA]" << "Frame of" << size << "bytes is too short for" << fourccText(m_sourceFormat);
        m_badFrameLogged = true;
        return false;
    }
    return convertFrame(data, m_sourceFormat, int(m_width), int(m_height), frame->targets, count, red, green, blue,
                        exposure);
}

int AOSPCameraLinux::readFrame(CameraFrame *frame, int count, float red, float green, float blue, float exposure)
{
    QMutexLocker lock(&m_deviceMutex);
    if (m_accessMode == PlainReads) {
        Buffer &buffer = m_buffers.front();
        const quint32 wanted = std::max<quint32>(m_format.sizeimage, 1);
        quint32 received = 0;
        while (received < std::min(wanted, buffer.size)) {
            const ssize_t got = ::read(handle(), static_cast<uchar *>(buffer.data) + received, buffer.size - received);
            if (got < 0 && errno == EINTR)
                continue;
            if (got <= 0)
                return ReadFailed;
            received += quint32(got);
        }
        return convert(static_cast<const uchar *>(buffer.data), received, frame, count, red, green, blue, exposure)
                   ? FrameWritten
                   : ReadFailed;
    }
    if (m_accessMode != MemoryMapped && m_accessMode != UserPointers)
        return ReadFailed;

    v4l2_buffer buffer{};
    buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    buffer.memory = m_accessMode == MemoryMapped ? V4L2_MEMORY_MMAP : V4L2_MEMORY_USERPTR;
    if (!control(VIDIOC_DQBUF, &buffer))
        return NoFrameYet;
    if (buffer.index >= m_bufferCount) {
        if (!m_badFrameLogged)
            qWarning() << "[CAMERA]" << "Driver returned buffer" << buffer.index << "of" << m_bufferCount;
        m_badFrameLogged = true;
        return ReadFailed;
    }
    const Buffer &record = m_buffers[buffer.index];
    const bool converted = convert(static_cast<const uchar *>(record.data), record.size, frame, count, red, green,
                                   blue, exposure);
    if (m_accessMode == UserPointers) {
        buffer.m.userptr = reinterpret_cast<unsigned long>(record.data);
        buffer.length = record.size;
    }
    if (!control(VIDIOC_QBUF, &buffer))
        qWarning() << "[CAMERA]" << "VIDIOC_QBUF on camera" << m_name << "has failed";
    return converted ? FrameWritten : ReadFailed;
}

void AOSPCameraLinux::stopDevice()
{
    QMutexLocker lock(&m_deviceMutex);
    if (m_accessMode == MemoryMapped || m_accessMode == UserPointers) {
        int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        control(VIDIOC_STREAMOFF, &type);
    }
    freeBuffers();
    // A fresh descriptor gives the next start a device with no buffers attached.
    const QString path = devicePath();
    m_device.reset();
    m_device = openDevice(path, &m_capability);
}
