#pragma once

#include "framedecoder.h"
#include "sharedpicture.h"
#include "wakeevent.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

// The receiving side of the screen stream: connects to the device, decodes every frame into
// the shared picture and tells the render thread. It reconnects for as long as it runs, so a
// device that restarts comes back on its own. Malformed input is logged and drops the
// connection; memory never exceeds one picture and one frame of the bounded size.
class StreamClient
{
public:
    // frameReady runs on the stream thread after each decoded frame.
    StreamClient(SharedPicture &shared, std::function<void()> frameReady);
    ~StreamClient();
    StreamClient(const StreamClient &) = delete;
    StreamClient &operator=(const StreamClient &) = delete;

    // Starts the stream thread for a dotted IPv4 address; false when it cannot.
    bool start(const std::string &address, uint16_t port);
    // Joins the stream thread; safe to call twice.
    void stop();
    // The render thread has shown the frame with this sequence of that connection.
    void acknowledge(uint32_t connection, uint32_t sequence);
    bool isConnected() const { return connected; }

    // Frames the client lets the server send ahead of its acknowledgements.
    static constexpr uint32_t kFramesInFlight = 2;

private:
    void run();
    int connectOnce(std::string &error);
    void serve(int fd);
    bool readAvailable(int fd, bool &closed);
    bool handleMessage();
    bool flushOutput(int fd);
    bool pause(int milliseconds);
    uint64_t decodedFrames();

    SharedPicture &shared;
    std::function<void()> frameReady;
    std::string address;
    uint16_t port = 0;
    std::thread thread;
    WakeEvent wakeEvent;
    std::atomic<bool> stopping{false};
    std::atomic<bool> connected{false};
    std::atomic<uint64_t> pendingAck{0}; // connection << 32 | sequence

    uint32_t connection = 0;
    uint8_t header[ScreenStream::kHeaderSize] = {};
    size_t headerFill = 0;
    uint64_t frameStartMicros = 0; // when the first byte of the frame being read came
    ScreenStream::Header current;
    bool inPayload = false;
    std::vector<uint8_t> payload;
    size_t payloadFill = 0;
    std::vector<uint8_t> output;
    uint32_t lastAckSent = 0;
    FrameDecoder decoder;
};
