#pragma once

#include "frameencoder.h"
#include "streamformat.h"
#include "wakeevent.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

// The sending side of the screen stream: listens on an address and port and serves the
// newest submitted picture to every client, on a thread of its own. A client gets a key
// frame first, then only what changed, and never more unacknowledged frames than it asked
// for, so a slow client skips pictures instead of falling behind.
class StreamServer
{
public:
    enum class PixelLayout {
        Bgra, // bytes B, G, R, A: QImage::Format_RGB32 / Format_ARGB32 on little-endian hosts
        Rgba, // bytes R, G, B, A: QImage::Format_RGBA8888
    };

    StreamServer();
    explicit StreamServer(const FrameEncoder::Options &options);
    ~StreamServer();
    StreamServer(const StreamServer &) = delete;
    StreamServer &operator=(const StreamServer &) = delete;

    // Binds address (dotted IPv4, "0.0.0.0" for all) and port (0 lets the system choose) and
    // starts serving. False, logged, when the socket cannot be set up or it already runs.
    bool start(const std::string &address, uint16_t port);
    // Closes every connection and joins the thread; safe to call twice.
    void stop();
    bool isRunning() const { return running; }
    uint16_t port() const { return boundPort; }

    // Publishes a picture in the device's unrotated orientation, rows top to bottom, copied
    // before returning. Sides from 1 to 4096 pixels; other sizes are refused and logged.
    // Callers on several threads are served one at a time. An orientation of 0 to 270 is
    // published together with the picture, so no frame pairs the new angle with the old
    // picture; -1 keeps the current one.
    bool submitFrame(const uint8_t *pixels, int width, int height, int bytesPerLine, PixelLayout layout,
                     int orientation = -1);
    // The angle (0, 90, 180 or 270) the viewer turns the picture by; sent with the next frame.
    bool setOrientation(int degrees);

    int clientCount() const { return clients; }
    uint32_t framesSent() const { return sent; }

private:
    struct Client;

    void run();
    void acceptClient();
    bool readClient(Client &client);
    bool writeClient(Client &client);
    void feedClient(Client &client);

    FrameEncoder::Options encoderOptions;
    WakeEvent wakeEvent;
    std::thread thread;
    int listenFd = -1;
    uint16_t boundPort = 0;
    std::atomic<bool> running{false};
    std::atomic<bool> stopping{false};
    std::atomic<int> clients{0};
    std::atomic<uint32_t> sent{0};

    std::mutex submitMutex; // one submitter at a time owns the spare picture it fills
    std::mutex latestMutex; // guards the four fields below
    std::shared_ptr<ScreenStream::Picture> latest;
    uint64_t generation = 0;
    int orientation = 0;
    std::vector<std::shared_ptr<ScreenStream::Picture>> pool;

    std::vector<std::unique_ptr<Client>> connections; // server thread only
};
