#include "streamclient.h"

#include <QtGlobal>

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace ScreenStream;

namespace {
constexpr int kConnectTimeoutMs = 2000;
constexpr int kFirstRetryMs = 100;
constexpr int kLastRetryMs = 1000;
// A frame must arrive whole this long after its first byte: a peer that stops inside one
// would otherwise hold the stream, and the picture, forever.
constexpr int kFrameTimeLimitMs = 3000;
} // namespace

StreamClient::StreamClient(SharedPicture &shared, std::function<void()> frameReady)
    : shared(shared), frameReady(std::move(frameReady))
{
}

StreamClient::~StreamClient()
{
    stop();
}

bool StreamClient::start(const std::string &host, uint16_t streamPort)
{
    in_addr probe{};
    if (thread.joinable() || !wakeEvent.isValid() || inet_pton(AF_INET, host.c_str(), &probe) != 1)
        return false;
    address = host;
    port = streamPort;
    stopping = false;
    thread = std::thread(&StreamClient::run, this);
    pthread_setname_np(thread.native_handle(), "sylvane-stream");
    return true;
}

void StreamClient::stop()
{
    if (!thread.joinable())
        return;
    stopping = true;
    wakeEvent.wake();
    thread.join();
}

void StreamClient::acknowledge(uint32_t ofConnection, uint32_t sequence)
{
    pendingAck = (uint64_t(ofConnection) << 32) | sequence;
    wakeEvent.wake();
}

bool StreamClient::pause(int milliseconds)
{
    pollfd fd{wakeEvent.descriptor(), POLLIN, 0};
    poll(&fd, 1, milliseconds);
    return !stopping;
}

void StreamClient::run()
{
    int retry = kFirstRetryMs;
    bool reported = false;
    while (!stopping) {
        std::string error;
        const int fd = connectOnce(error);
        if (fd < 0) {
            if (stopping)
                break;
            // One line per outage: the device is often simply not up yet.
            if (!reported)
                qWarning("[OpenglRender] Cannot reach the screen stream at %s:%u (%s), retrying", address.c_str(),
                         port, error.c_str());
            reported = true;
            pause(retry);
            retry = std::min(retry * 2, kLastRetryMs);
            continue;
        }
        reported = false;
        qDebug("[OpenglRender] Connected to the screen stream at %s:%u", address.c_str(), port);
        const uint64_t framesBefore = decodedFrames();
        connected = true;
        serve(fd);
        connected = false;
        close(fd);
        // A connection that delivered frames was healthy: come back quickly. One that broke
        // at once backs off, so a broken server cannot flood the log.
        retry = decodedFrames() != framesBefore ? kFirstRetryMs : std::min(retry * 2, kLastRetryMs);
        if (!stopping)
            qDebug("[OpenglRender] Screen stream closed, reconnecting in %d ms", retry);
        pause(retry);
    }
}

uint64_t StreamClient::decodedFrames()
{
    std::lock_guard<std::mutex> lock(shared.mutex);
    return shared.generation;
}

int StreamClient::connectOnce(std::string &error)
{
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_port = htons(port);
    inet_pton(AF_INET, address.c_str(), &addr.sin_addr);
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0) {
        error = std::strerror(errno);
        return -1;
    }
    if (connect(fd, reinterpret_cast<sockaddr *>(&addr), sizeof addr) != 0) {
        if (errno != EINPROGRESS) {
            error = std::strerror(errno);
            close(fd);
            return -1;
        }
        pollfd fds[2] = {{fd, POLLOUT, 0}, {wakeEvent.descriptor(), POLLIN, 0}};
        const int ready = poll(fds, 2, kConnectTimeoutMs);
        int status = ETIMEDOUT;
        socklen_t length = sizeof status;
        if (ready > 0 && (fds[0].revents & (POLLOUT | POLLERR | POLLHUP)))
            getsockopt(fd, SOL_SOCKET, SO_ERROR, &status, &length);
        if (status != 0) {
            error = std::strerror(status);
            close(fd);
            return -1;
        }
    }
    const int one = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    return fd;
}

void StreamClient::serve(int fd)
{
    {
        std::lock_guard<std::mutex> lock(shared.mutex);
        connection = ++shared.connection;
        shared.sequence = 0;
    }
    headerFill = 0;
    inPayload = false;
    lastAckSent = 0;
    output.assign(kClientMessageSize, 0);
    writeControlMessage(output.data(), ControlMessage{kClientHello, kFramesInFlight});

    while (!stopping) {
        if (!output.empty() && !flushOutput(fd))
            return;
        int timeoutMs = -1;
        if (inPayload || headerFill > 0) {
            const int64_t elapsedMs = int64_t(monotonicMicros() - frameStartMicros) / 1000;
            if (elapsedMs >= kFrameTimeLimitMs) {
                qWarning("[OpenglRender] Refused the screen stream from %s:%u: a frame stayed incomplete for %d ms",
                         address.c_str(), port, kFrameTimeLimitMs);
                return;
            }
            timeoutMs = int(kFrameTimeLimitMs - elapsedMs);
        }
        pollfd fds[2] = {{fd, short(POLLIN | (output.empty() ? 0 : POLLOUT)), 0},
                         {wakeEvent.descriptor(), POLLIN, 0}};
        if (poll(fds, 2, timeoutMs) < 0 && errno != EINTR)
            return;
        if (fds[1].revents) {
            wakeEvent.drain();
            const uint64_t ack = pendingAck;
            if (uint32_t(ack >> 32) == connection && uint32_t(ack) > lastAckSent) {
                lastAckSent = uint32_t(ack);
                const size_t at = output.size();
                output.resize(at + kClientMessageSize);
                writeControlMessage(output.data() + at, ControlMessage{kClientAck, lastAckSent});
            }
        }
        bool closed = false;
        if ((fds[0].revents & (POLLIN | POLLHUP | POLLERR)) && !readAvailable(fd, closed))
            return;
        if (closed)
            return;
    }
}

bool StreamClient::flushOutput(int fd)
{
    const ssize_t put = send(fd, output.data(), output.size(), MSG_NOSIGNAL);
    if (put < 0)
        return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
    output.erase(output.begin(), output.begin() + put);
    return true;
}

bool StreamClient::readAvailable(int fd, bool &closed)
{
    for (;;) {
        uint8_t *target = inPayload ? payload.data() + payloadFill : header + headerFill;
        const size_t wanted = inPayload ? current.payloadLength - payloadFill : kHeaderSize - headerFill;
        const ssize_t got = wanted ? recv(fd, target, wanted, 0) : 0;
        if (wanted && got == 0) {
            closed = true;
            if (inPayload || headerFill > 0)
                qWarning("[OpenglRender] Screen stream ended inside a frame");
            return true;
        }
        if (got < 0) {
            if (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR)
                return true;
            qWarning("[OpenglRender] Reading the screen stream failed: %s", std::strerror(errno));
            return false;
        }
        if (!inPayload) {
            if (headerFill == 0)
                frameStartMicros = monotonicMicros();
            headerFill += size_t(got);
            if (headerFill < kHeaderSize)
                continue;
            std::string error;
            if (!parseHeader(header, current, error)) {
                qWarning("[OpenglRender] Refused the screen stream from %s:%u: %s", address.c_str(), port,
                         error.c_str());
                return false;
            }
            headerFill = 0;
            inPayload = true;
            payloadFill = 0;
            payload.resize(current.payloadLength);
        } else {
            payloadFill += size_t(got);
        }
        if (inPayload && payloadFill == current.payloadLength) {
            inPayload = false;
            if (!handleMessage())
                return false;
        }
    }
}

bool StreamClient::handleMessage()
{
    FrameDecoder::FrameInfo info;
    std::string error;
    bool ok = false;
    {
        std::lock_guard<std::mutex> lock(shared.mutex);
        const int oldWidth = shared.picture.width;
        const int oldHeight = shared.picture.height;
        ok = decoder.apply(current, payload.data(), payload.size(), shared.picture, info, error);
        if (ok) {
            const bool resized = oldWidth != shared.picture.width || oldHeight != shared.picture.height;
            if (resized || (current.flags & kFlagKeyFrame))
                shared.dirty.clear();
            shared.dirty.add(info.changed);
            ++shared.generation;
            shared.sequence = current.sequence;
            shared.orientation = info.orientation;
            shared.timestampMicros = info.timestampMicros;
        }
    }
    if (!ok) {
        qWarning("[OpenglRender] Refused a frame from %s:%u: %s", address.c_str(), port, error.c_str());
        return false;
    }
    if (frameReady)
        frameReady();
    return true;
}
