// A fake V4L2 capture device, loaded with LD_PRELOAD: it answers stat, open, ioctl, mmap, read
// and close for the nodes named in CALDERWICK_FAKE_V4L2, and passes everything else through.
//
// CALDERWICK_FAKE_V4L2 = device{;device}, a device = path {key=value} separated by blanks:
//   formats=F{/F}   F = FOURCC[*]:SIZES, * marks a compressed format; SIZES is one of
//                   dWxH,WxH...          discrete sizes
//                   sMIN-MAX-STEP,MIN-MAX-STEP   stepwise width, height
//                   cMIN-MAX,MIN-MAX     continuous width, height
//   kind=file       stat reports a regular file       v4l2=0  VIDIOC_QUERYCAP fails
//   capture=0       no V4L2_CAP_VIDEO_CAPTURE         readwrite=1  V4L2_CAP_READWRITE
//   buffers=N       memory-mapped buffers granted (4) mmap=0 / userptr=0  refuse that memory
//   shrink=1        VIDIOC_S_FMT answers 16 pixels narrower than asked
//   fill=N          byte value of every captured frame (128)
//   sizeimage=N     frame size the driver claims (else the format's own)

#include <linux/videodev2.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <dlfcn.h>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

struct FakeFormat
{
    unsigned fourcc = 0;
    bool compressed = false;
    char kind = 'd';
    std::vector<std::pair<unsigned, unsigned>> sizes;
    unsigned range[6] = {}; // min, max, step of width, then of height
};

struct FakeBuffer
{
    void *data = nullptr;
    size_t length = 0;
    bool queued = false;
};

struct FakeDevice
{
    std::string path;
    bool regularFile = false;
    int v4l2 = 1, capture = 1, readwrite = 0, shrink = 0, mmapOk = 1, userptrOk = 1, grant = 4, fill = 128;
    int sizeimage = 0;
    std::vector<FakeFormat> formats;
    // State of one open descriptor.
    v4l2_pix_format format{};
    unsigned memory = 0;
    bool streaming = false;
    std::vector<FakeBuffer> buffers;
    std::deque<unsigned> queue;
};

std::mutex lock;
std::map<int, FakeDevice> openDevices;

template <typename F>
F real(const char *name)
{
    return reinterpret_cast<F>(dlsym(RTLD_NEXT, name));
}

unsigned fourccOf(const std::string &text)
{
    unsigned value = 0;
    for (int i = 0; i < 4 && i < int(text.size()); ++i)
        value |= unsigned(static_cast<unsigned char>(text[i])) << (8 * i);
    return value;
}

std::vector<std::string> split(const std::string &text, char separator)
{
    std::vector<std::string> parts;
    size_t start = 0;
    while (start <= text.size()) {
        const size_t end = text.find(separator, start);
        const std::string part = text.substr(start, end == std::string::npos ? std::string::npos : end - start);
        if (!part.empty())
            parts.push_back(part);
        if (end == std::string::npos)
            break;
        start = end + 1;
    }
    return parts;
}

FakeFormat parseFormat(const std::string &text)
{
    FakeFormat format;
    const size_t colon = text.find(':');
    const std::string name = text.substr(0, colon);
    format.compressed = !name.empty() && name.back() == '*';
    format.fourcc = fourccOf(name);
    if (colon == std::string::npos || colon + 1 >= text.size())
        return format;
    format.kind = text[colon + 1];
    const char *sizes = text.c_str() + colon + 2;
    unsigned *r = format.range;
    if (format.kind == 'd') {
        for (const std::string &size : split(sizes, ','))
            format.sizes.push_back({unsigned(std::atoi(size.c_str())),
                                    unsigned(std::atoi(size.substr(size.find('x') + 1).c_str()))});
    } else if (format.kind == 'c' && std::sscanf(sizes, "%u-%u,%u-%u", &r[0], &r[1], &r[3], &r[4]) == 4) {
        r[2] = r[5] = 1;
    } else {
        std::sscanf(sizes, "%u-%u-%u,%u-%u-%u", &r[0], &r[1], &r[2], &r[3], &r[4], &r[5]);
    }
    return format;
}

bool findConfigured(const char *path, FakeDevice *out)
{
    const char *config = std::getenv("CALDERWICK_FAKE_V4L2");
    if (!config || !path)
        return false;
    for (const std::string &deviceText : split(config, ';')) {
        const std::vector<std::string> fields = split(deviceText, ' ');
        if (fields.empty() || fields[0] != path)
            continue;
        FakeDevice device;
        device.path = fields[0];
        for (size_t i = 1; i < fields.size(); ++i) {
            const size_t equals = fields[i].find('=');
            const std::string key = fields[i].substr(0, equals);
            const std::string value = equals == std::string::npos ? "" : fields[i].substr(equals + 1);
            const std::map<std::string, int *> numbers = {
                {"v4l2", &device.v4l2},      {"capture", &device.capture}, {"readwrite", &device.readwrite},
                {"buffers", &device.grant},  {"mmap", &device.mmapOk},     {"userptr", &device.userptrOk},
                {"shrink", &device.shrink}, {"fill", &device.fill}, {"sizeimage", &device.sizeimage}};
            if (numbers.count(key))
                *numbers.at(key) = std::atoi(value.c_str());
            else if (key == "kind")
                device.regularFile = value == "file";
            else if (key == "formats")
                for (const std::string &format : split(value, '/'))
                    device.formats.push_back(parseFormat(format));
        }
        *out = device;
        return true;
    }
    return false;
}

// Bytes per pixel, in halves: 4:2:0 layouts take 3, packed 4:2:2 4, RGB 6 or 8.
unsigned imageBytes(unsigned fourcc, unsigned width, unsigned height)
{
    const std::map<unsigned, unsigned> halves = {{fourccOf("YU12"), 3}, {fourccOf("YV12"), 3}, {fourccOf("NV12"), 3},
                                                 {fourccOf("NV21"), 3}, {fourccOf("RGB3"), 6}, {fourccOf("BGR3"), 6},
                                                 {fourccOf("8RGB"), 8}, {fourccOf("RGB4"), 8}, {fourccOf("BGR4"), 8}};
    return width * height * (halves.count(fourcc) ? halves.at(fourcc) : 4) / 2;
}

int fail(int error)
{
    errno = error;
    return -1;
}

void releaseBuffers(FakeDevice &device)
{
    for (FakeBuffer &buffer : device.buffers)
        if (device.memory == V4L2_MEMORY_MMAP && buffer.data)
            std::free(buffer.data);
    device.buffers.clear();
    device.queue.clear();
}

int enumFrameSizes(FakeDevice &device, v4l2_frmsizeenum *size)
{
    for (const FakeFormat &format : device.formats) {
        if (format.fourcc != size->pixel_format)
            continue;
        if (format.kind == 'd') {
            if (size->index >= format.sizes.size())
                return fail(EINVAL);
            size->type = V4L2_FRMSIZE_TYPE_DISCRETE;
            size->discrete.width = format.sizes[size->index].first;
            size->discrete.height = format.sizes[size->index].second;
            return 0;
        }
        if (size->index != 0)
            return fail(EINVAL);
        size->type = format.kind == 'c' ? V4L2_FRMSIZE_TYPE_CONTINUOUS : V4L2_FRMSIZE_TYPE_STEPWISE;
        size->stepwise = {format.range[0], format.range[1], format.range[2],
                          format.range[3], format.range[4], format.range[5]};
        return 0;
    }
    return fail(EINVAL);
}

int control(FakeDevice &device, unsigned long request, void *argument)
{
    switch (request) {
    case VIDIOC_QUERYCAP: {
        if (!device.v4l2)
            return fail(ENOTTY);
        auto *capability = static_cast<v4l2_capability *>(argument);
        std::memset(capability, 0, sizeof *capability);
        std::strcpy(reinterpret_cast<char *>(capability->driver), "fakev4l2");
        capability->capabilities = V4L2_CAP_STREAMING | (device.capture ? V4L2_CAP_VIDEO_CAPTURE : 0)
                                 | (device.readwrite ? V4L2_CAP_READWRITE : 0);
        return 0;
    }
    case VIDIOC_CROPCAP:
    case VIDIOC_S_CROP:
        return fail(EINVAL);
    case VIDIOC_ENUM_FMT: {
        auto *description = static_cast<v4l2_fmtdesc *>(argument);
        if (description->index >= device.formats.size())
            return fail(EINVAL);
        const FakeFormat &format = device.formats[description->index];
        description->pixelformat = format.fourcc;
        description->flags = format.compressed ? V4L2_FMT_FLAG_COMPRESSED : 0;
        return 0;
    }
    case VIDIOC_ENUM_FRAMESIZES:
        return enumFrameSizes(device, static_cast<v4l2_frmsizeenum *>(argument));
    case VIDIOC_S_FMT: {
        auto *format = static_cast<v4l2_format *>(argument);
        if (device.shrink)
            format->fmt.pix.width -= 16;
        format->fmt.pix.bytesperline = 0;
        format->fmt.pix.sizeimage =
            device.sizeimage ? unsigned(device.sizeimage)
                             : imageBytes(format->fmt.pix.pixelformat, format->fmt.pix.width, format->fmt.pix.height);
        device.format = format->fmt.pix;
        return 0;
    }
    case VIDIOC_REQBUFS: {
        auto *request = static_cast<v4l2_requestbuffers *>(argument);
        if ((request->memory == V4L2_MEMORY_MMAP && !device.mmapOk)
            || (request->memory == V4L2_MEMORY_USERPTR && !device.userptrOk))
            return fail(EINVAL);
        releaseBuffers(device);
        device.memory = request->memory;
        const unsigned count =
            request->memory == V4L2_MEMORY_MMAP ? std::min(request->count, unsigned(device.grant)) : request->count;
        device.buffers.resize(count);
        for (FakeBuffer &buffer : device.buffers) {
            buffer.length = device.format.sizeimage;
            if (request->memory == V4L2_MEMORY_MMAP)
                buffer.data = std::calloc(1, buffer.length);
        }
        request->count = count;
        return 0;
    }
    case VIDIOC_QUERYBUF:
    case VIDIOC_QBUF: {
        auto *buffer = static_cast<v4l2_buffer *>(argument);
        if (buffer->index >= device.buffers.size())
            return fail(EINVAL);
        FakeBuffer &record = device.buffers[buffer->index];
        if (request == VIDIOC_QUERYBUF) {
            buffer->length = unsigned(record.length);
            buffer->m.offset = buffer->index * 0x100000u;
            return 0;
        }
        if (device.memory == V4L2_MEMORY_USERPTR) {
            record.data = reinterpret_cast<void *>(buffer->m.userptr);
            record.length = buffer->length;
        }
        if (!record.queued)
            device.queue.push_back(buffer->index);
        record.queued = true;
        return 0;
    }
    case VIDIOC_DQBUF: {
        auto *buffer = static_cast<v4l2_buffer *>(argument);
        if (!device.streaming || device.queue.empty())
            return fail(EINVAL);
        const unsigned index = device.queue.front();
        device.queue.pop_front();
        FakeBuffer &record = device.buffers[index];
        record.queued = false;
        std::memset(record.data, device.fill, std::min<size_t>(record.length, device.format.sizeimage));
        buffer->index = index;
        buffer->bytesused = device.format.sizeimage;
        return 0;
    }
    case VIDIOC_STREAMON:
        device.streaming = true;
        return 0;
    case VIDIOC_STREAMOFF:
        device.streaming = false;
        return 0;
    default:
        return fail(ENOTTY);
    }
}

int openFake(const char *path)
{
    FakeDevice device;
    if (!findConfigured(path, &device))
        return -2;
    if (device.regularFile)
        return fail(EACCES);
    const int fd = real<int (*)(const char *, int, ...)>("open")("/dev/null", O_RDWR);
    if (fd >= 0) {
        std::lock_guard<std::mutex> guard(lock);
        openDevices[fd] = device;
    }
    return fd;
}

int statFake(const char *path, struct stat *status)
{
    FakeDevice device;
    if (!findConfigured(path, &device))
        return -2;
    std::memset(status, 0, sizeof *status);
    status->st_mode = device.regularFile ? (S_IFREG | 0644) : (S_IFCHR | 0660);
    return 0;
}

} // namespace

extern "C" {

// The mode argument exists only with O_CREAT or O_TMPFILE; reading it otherwise is harmless here.
#define FAKE_OPEN(name)                                                                                    \
    int name(const char *path, int flags, ...)                                                            \
    {                                                                                                      \
        va_list args;                                                                                      \
        va_start(args, flags);                                                                             \
        const mode_t mode = va_arg(args, mode_t);                                                          \
        va_end(args);                                                                                      \
        const int fd = openFake(path);                                                                     \
        return fd != -2 ? fd : real<int (*)(const char *, int, ...)>(#name)(path, flags, mode);            \
    }

FAKE_OPEN(open)
FAKE_OPEN(open64)

int stat(const char *path, struct stat *status)
{
    const int result = statFake(path, status);
    return result != -2 ? result : real<int (*)(const char *, struct stat *)>("stat")(path, status);
}

int close(int fd)
{
    {
        std::lock_guard<std::mutex> guard(lock);
        auto it = openDevices.find(fd);
        if (it != openDevices.end()) {
            releaseBuffers(it->second);
            openDevices.erase(it);
        }
    }
    return real<int (*)(int)>("close")(fd);
}

int ioctl(int fd, unsigned long request, ...)
{
    va_list args;
    va_start(args, request);
    void *argument = va_arg(args, void *);
    va_end(args);
    {
        std::lock_guard<std::mutex> guard(lock);
        auto it = openDevices.find(fd);
        if (it != openDevices.end())
            return control(it->second, request, argument);
    }
    return real<int (*)(int, unsigned long, ...)>("ioctl")(fd, request, argument);
}

void *mmap(void *address, size_t length, int protection, int flags, int fd, off_t offset)
{
    {
        std::lock_guard<std::mutex> guard(lock);
        auto it = openDevices.find(fd);
        if (it != openDevices.end()) {
            const size_t index = size_t(offset) / 0x100000u;
            if (index >= it->second.buffers.size() || length > it->second.buffers[index].length) {
                errno = EINVAL;
                return MAP_FAILED;
            }
            // The driver's own buffer stands in for the mapping; munmap of it is skipped below.
            return it->second.buffers[index].data;
        }
    }
    return real<void *(*)(void *, size_t, int, int, int, off_t)>("mmap")(address, length, protection, flags, fd,
                                                                         offset);
}

int munmap(void *address, size_t length)
{
    {
        std::lock_guard<std::mutex> guard(lock);
        for (auto &entry : openDevices)
            for (const FakeBuffer &buffer : entry.second.buffers)
                if (buffer.data == address)
                    return 0;
    }
    return real<int (*)(void *, size_t)>("munmap")(address, length);
}

ssize_t read(int fd, void *data, size_t count)
{
    {
        std::lock_guard<std::mutex> guard(lock);
        auto it = openDevices.find(fd);
        if (it != openDevices.end()) {
            const size_t bytes = std::min<size_t>(count, it->second.format.sizeimage);
            std::memset(data, it->second.fill, bytes);
            return ssize_t(bytes);
        }
    }
    return real<ssize_t (*)(int, void *, size_t)>("read")(fd, data, count);
}

} // extern "C"
