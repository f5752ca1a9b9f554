#include "streamserver.h"

#include <QtGlobal>

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace ScreenStream;

struct StreamServer::Client {
    int fd = -1;
    std::string peer;
    uint8_t input[kClientMessageSize] = {};
    size_t inputFill = 0;
    std::vector<uint8_t> output;
    size_t outputSent = 0;
    uint32_t window = 0; // zero until the hello came
    uint32_t lastSequence = 0;
    uint32_t lastAcked = 0;
    uint64_t sentGeneration = 0;
    int sentOrientation = -1;
    std::shared_ptr<const Picture> previous;
    FrameEncoder encoder;

    ~Client()
    {
        if (fd >= 0)
            close(fd);
    }
};

namespace {

constexpr size_t kPoolSize = 4;

void setNonBlocking(int fd)
{
    fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK);
}

} // namespace

StreamServer::StreamServer() = default;

StreamServer::StreamServer(const FrameEncoder::Options &options) : encoderOptions(options) {}

StreamServer::~StreamServer()
{
    stop();
}

bool StreamServer::start(const std::string &address, uint16_t port)
{
    if (running) {
        qWarning("[StreamServer] Already serving on port %u", boundPort);
        return false;
    }
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_port = htons(port);
    if (inet_pton(AF_INET, address.c_str(), &addr.sin_addr) != 1) {
        qWarning("[StreamServer] Not an IPv4 address: \"%s\"", address.c_str());
        return false;
    }
    if (!wakeEvent.isValid()) {
        qWarning("[StreamServer] Cannot create the wake-up descriptor: %s", std::strerror(errno));
        return false;
    }
    listenFd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const int one = 1;
    if (listenFd < 0 || setsockopt(listenFd, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one) != 0
        || bind(listenFd, reinterpret_cast<sockaddr *>(&addr), sizeof addr) != 0 || listen(listenFd, 4) != 0) {
        qWarning("[StreamServer] Cannot listen on %s:%u: %s", address.c_str(), port, std::strerror(errno));
        if (listenFd >= 0)
            close(listenFd);
        listenFd = -1;
        return false;
    }
    socklen_t length = sizeof addr;
    getsockname(listenFd, reinterpret_cast<sockaddr *>(&addr), &length);
    boundPort = ntohs(addr.sin_port);
    stopping = false;
    running = true;
    thread = std::thread(&StreamServer::run, this);
    pthread_setname_np(thread.native_handle(), "stream-server");
    qDebug("[StreamServer] Serving the screen on %s:%u", address.c_str(), boundPort);
    return true;
}

void StreamServer::stop()
{
    if (!thread.joinable())
        return;
    stopping = true;
    wakeEvent.wake();
    thread.join();
    connections.clear();
    clients = 0;
    close(listenFd);
    listenFd = -1;
    running = false;
}

bool StreamServer::submitFrame(const uint8_t *pixels, int width, int height, int bytesPerLine, PixelLayout layout,
                               int newOrientation)
{
    if (!pixels || width < 1 || height < 1 || width > kMaxSide || height > kMaxSide || bytesPerLine < width * 4) {
        qWarning("[StreamServer] Refused a picture of %dx%d with %d bytes per line", width, height, bytesPerLine);
        return false;
    }
    if (newOrientation != -1 && !isValidOrientation(newOrientation)) {
        qWarning("[StreamServer] Refused orientation %d", newOrientation);
        return false;
    }
    std::lock_guard<std::mutex> submitLock(submitMutex);
    std::shared_ptr<Picture> target;
    {
        std::lock_guard<std::mutex> lock(latestMutex);
        // A pooled picture that only the pool still holds is free to be overwritten.
        for (const auto &candidate : pool) {
            if (candidate != latest && candidate.use_count() == 1) {
                target = candidate;
                break;
            }
        }
        if (!target) {
            target = std::make_shared<Picture>();
            if (pool.size() < kPoolSize)
                pool.push_back(target);
        }
    }
    target->reset(width, height);
    const size_t rowBytes = target->stride();
    for (int y = 0; y < height; ++y) {
        const uint8_t *source = pixels + size_t(y) * size_t(bytesPerLine);
        uint8_t *row = target->row(y);
        if (layout == PixelLayout::Bgra) {
            std::memcpy(row, source, rowBytes);
            continue;
        }
        for (int x = 0; x < width; ++x) {
            row[4 * x] = source[4 * x + 2];
            row[4 * x + 1] = source[4 * x + 1];
            row[4 * x + 2] = source[4 * x];
            row[4 * x + 3] = source[4 * x + 3];
        }
    }
    {
        std::lock_guard<std::mutex> lock(latestMutex);
        latest = target;
        ++generation;
        if (newOrientation != -1)
            orientation = newOrientation;
    }
    wakeEvent.wake();
    return true;
}

bool StreamServer::setOrientation(int degrees)
{
    if (!isValidOrientation(degrees)) {
        qWarning("[StreamServer] Refused orientation %d", degrees);
        return false;
    }
    {
        std::lock_guard<std::mutex> lock(latestMutex);
        orientation = degrees;
    }
    wakeEvent.wake();
    return true;
}

void StreamServer::run()
{
    std::vector<pollfd> fds;
    while (!stopping) {
        fds.clear();
        fds.push_back({wakeEvent.descriptor(), POLLIN, 0});
        fds.push_back({listenFd, POLLIN, 0});
        for (const auto &client : connections)
            fds.push_back({client->fd, short(POLLIN | (client->output.empty() ? 0 : POLLOUT)), 0});
        if (poll(fds.data(), fds.size(), -1) < 0 && errno != EINTR) {
            qWarning("[StreamServer] poll failed: %s", std::strerror(errno));
            break;
        }
        if (fds[0].revents)
            wakeEvent.drain();
        if (fds[1].revents & POLLIN)
            acceptClient();
        // Entries past the polled ones are clients accepted just now.
        for (size_t i = 0; i + 2 < fds.size(); ++i) {
            Client &client = *connections[i];
            const short events = fds[i + 2].revents;
            bool alive = true;
            if (events & (POLLIN | POLLHUP | POLLERR))
                alive = readClient(client);
            if (alive && (events & POLLOUT))
                alive = writeClient(client);
            if (!alive) {
                close(client.fd);
                client.fd = -1;
            }
        }
        for (auto it = connections.begin(); it != connections.end();) {
            if ((*it)->fd < 0) {
                qDebug("[StreamServer] Client %s left", (*it)->peer.c_str());
                it = connections.erase(it);
            } else {
                feedClient(**it);
                ++it;
            }
        }
        clients = int(connections.size());
    }
}

void StreamServer::acceptClient()
{
    sockaddr_in addr{};
    socklen_t length = sizeof addr;
    const int fd = accept4(listenFd, reinterpret_cast<sockaddr *>(&addr), &length, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (fd < 0)
        return;
    const int one = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    auto client = std::make_unique<Client>();
    client->fd = fd;
    char text[INET_ADDRSTRLEN] = {};
    inet_ntop(AF_INET, &addr.sin_addr, text, sizeof text);
    client->peer = std::string(text) + ":" + std::to_string(ntohs(addr.sin_port));
    client->encoder = FrameEncoder(encoderOptions);
    qDebug("[StreamServer] Client %s connected", client->peer.c_str());
    connections.push_back(std::move(client));
    clients = int(connections.size());
}

bool StreamServer::readClient(Client &client)
{
    for (;;) {
        const ssize_t got = recv(client.fd, client.input + client.inputFill, kClientMessageSize - client.inputFill, 0);
        if (got == 0)
            return false;
        if (got < 0)
            return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
        client.inputFill += size_t(got);
        if (client.inputFill < kClientMessageSize)
            continue;
        client.inputFill = 0;
        ControlMessage message;
        std::string error;
        if (!parseControlMessage(client.input, message, error)) {
            qWarning("[StreamServer] Dropping client %s: %s", client.peer.c_str(), error.c_str());
            return false;
        }
        if (message.kind == kClientHello) {
            client.window = message.value;
        } else if (message.value <= client.lastSequence && message.value > client.lastAcked) {
            client.lastAcked = message.value;
        }
    }
}

bool StreamServer::writeClient(Client &client)
{
    while (client.outputSent < client.output.size()) {
        const ssize_t put = send(client.fd, client.output.data() + client.outputSent,
                                 client.output.size() - client.outputSent, MSG_NOSIGNAL);
        if (put < 0) {
            if (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR)
                return true;
            qDebug("[StreamServer] Sending to %s failed: %s", client.peer.c_str(), std::strerror(errno));
            return false;
        }
        client.outputSent += size_t(put);
    }
    client.output.clear();
    client.outputSent = 0;
    return true;
}

void StreamServer::feedClient(Client &client)
{
    if (client.window == 0 || !client.output.empty() || client.lastSequence - client.lastAcked >= client.window)
        return;
    std::shared_ptr<const Picture> picture;
    uint64_t pictureGeneration = 0;
    int pictureOrientation = 0;
    {
        std::lock_guard<std::mutex> lock(latestMutex);
        picture = latest;
        pictureGeneration = generation;
        pictureOrientation = orientation;
    }
    if (!picture || (pictureGeneration == client.sentGeneration && pictureOrientation == client.sentOrientation))
        return;
    client.encoder.encode(*picture, client.previous.get(), pictureOrientation, ++client.lastSequence,
                          monotonicMicros(), client.output);
    client.previous = picture;
    client.sentGeneration = pictureGeneration;
    client.sentOrientation = pictureOrientation;
    ++sent;
    if (!writeClient(client)) {
        close(client.fd);
        client.fd = -1;
    }
}
