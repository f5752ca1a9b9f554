// The stream server seen from a plain socket: the hello, key and delta frames, the flow
// control window, orientation updates and clients that misbehave.

#include "testenvironment.h"

#include "framedecoder.h"
#include "streamserver.h"

#include <QTcpSocket>

#include <algorithm>

using namespace ScreenStream;

namespace {

struct Received {
    Header header;
    FrameDecoder::FrameInfo info;
};

QByteArray control(uint32_t kind, uint32_t value)
{
    uint8_t wire[kClientMessageSize];
    writeControlMessage(wire, ControlMessage{kind, value});
    return QByteArray(reinterpret_cast<const char *>(wire), int(sizeof wire));
}

bool readExactly(QTcpSocket &socket, char *target, qint64 size)
{
    qint64 got = 0;
    while (got < size) {
        if (socket.bytesAvailable() == 0 && !socket.waitForReadyRead(3000))
            return false;
        got += socket.read(target + got, size - got);
    }
    return true;
}

} // namespace

class TestStreamServer : public QObject
{
    Q_OBJECT

private:
    StreamServer server;
    FrameDecoder decoder;
    Picture picture;

    void connectClient(QTcpSocket &socket, uint32_t window)
    {
        socket.connectToHost(TestEnvironment::loopback(20), server.port());
        QVERIFY(socket.waitForConnected(3000));
        socket.write(control(kClientHello, window));
        QVERIFY(socket.waitForBytesWritten(3000));
    }
    // Reads one frame and applies it to picture.
    void receive(QTcpSocket &socket, Received &received)
    {
        uint8_t header[kHeaderSize];
        QVERIFY(readExactly(socket, reinterpret_cast<char *>(header), kHeaderSize));
        std::string error;
        QVERIFY2(parseHeader(header, received.header, error), error.c_str());
        std::vector<uint8_t> payload(received.header.payloadLength);
        QVERIFY(readExactly(socket, reinterpret_cast<char *>(payload.data()), qint64(payload.size())));
        QVERIFY2(decoder.apply(received.header, payload.data(), payload.size(), picture, received.info, error),
                 error.c_str());
    }
    void submitSquare(const std::vector<uint8_t> &pixels, int side)
    {
        QVERIFY(server.submitFrame(pixels.data(), side, side, side * 4, StreamServer::PixelLayout::Bgra));
    }
    bool nothingArrives(QTcpSocket &socket) { return socket.bytesAvailable() == 0 && !socket.waitForReadyRead(150); }

private slots:
    void init() { QVERIFY(server.start(TestEnvironment::loopback(20).toStdString(), 0)); }
    void cleanup()
    {
        server.stop();
        picture = Picture();
    }

    void keyFrameAfterHelloInBgra()
    {
        // Three RGBA pixels in one row, then a second row, with padding after each.
        const uint8_t rgba[] = {10, 20, 30, 255, 40, 50, 60, 255, 70, 80, 90, 128, 0, 0, 0, 0,
                                1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 0, 0, 0, 0};
        QVERIFY(server.submitFrame(rgba, 3, 2, 16, StreamServer::PixelLayout::Rgba));
        QTcpSocket socket;
        socket.connectToHost(TestEnvironment::loopback(20), server.port());
        QVERIFY(socket.waitForConnected(3000));
        QVERIFY(nothingArrives(socket)); // nothing before the hello
        socket.write(control(kClientHello, 1));
        Received frame;
        receive(socket, frame);
        QCOMPARE(frame.header.flags & kFlagKeyFrame, int(kFlagKeyFrame));
        QCOMPARE(frame.header.sequence, 1u);
        QCOMPARE(picture.width, 3);
        QCOMPARE(picture.height, 2);
        const std::vector<uint8_t> bgra = {30, 20, 10, 255, 60, 50, 40, 255, 90, 80, 70, 128,
                                           3, 2, 1, 4, 7, 6, 5, 8, 11, 10, 9, 12};
        QVERIFY(picture.pixels == bgra);
        QCOMPARE(server.clientCount(), 1);
    }

    void waitsForAcknowledgements()
    {
        std::vector<uint8_t> pixels(64 * 64 * 4, 0x30);
        submitSquare(pixels, 64);
        QTcpSocket socket;
        connectClient(socket, 1);
        Received frame;
        receive(socket, frame);
        pixels[(40 * 64 + 5) * 4] = 0x99;
        submitSquare(pixels, 64);
        QVERIFY(nothingArrives(socket)); // the window of one frame is full
        socket.write(control(kClientAck, 1));
        receive(socket, frame);
        QCOMPARE(frame.header.sequence, 2u);
        QCOMPARE(frame.header.flags & kFlagKeyFrame, 0);
        QCOMPARE(frame.info.changed.bounds().y, 32);
        QCOMPARE(frame.info.changed.bounds().width, 1);
        QVERIFY(picture.pixels == pixels);
        // Pictures submitted while the window is full collapse into the newest.
        for (uint8_t v = 1; v <= 5; ++v) {
            pixels[v * 4] = v;
            submitSquare(pixels, 64);
        }
        socket.write(control(kClientAck, 2));
        receive(socket, frame);
        QCOMPARE(frame.header.sequence, 3u);
        QVERIFY(picture.pixels == pixels);
        socket.write(control(kClientAck, 3));
        QVERIFY(nothingArrives(socket)); // nothing new, nothing sent
    }

    void orientationAlone()
    {
        std::vector<uint8_t> pixels(8 * 8 * 4, 0x55);
        submitSquare(pixels, 8);
        QTcpSocket socket;
        connectClient(socket, 2);
        Received frame;
        receive(socket, frame);
        QCOMPARE(frame.info.orientation, 0);
        QVERIFY(server.setOrientation(180));
        receive(socket, frame);
        QCOMPARE(frame.info.orientation, 180);
        QVERIFY(frame.info.changed.isEmpty());
        // A picture with the angle it was drawn for comes in one frame: tst_playerwindow
        // checks the first frame after each turn of a devicesim.
    }

    void dropsAClientThatSendsGarbage()
    {
        std::vector<uint8_t> pixels(8 * 8 * 4, 0x11);
        submitSquare(pixels, 8);
        QTcpSocket bad;
        bad.connectToHost(TestEnvironment::loopback(20), server.port());
        QVERIFY(bad.waitForConnected(3000));
        bad.write("GET / HTTP/1.0\r\n\r\n");
        QVERIFY(bad.state() == QAbstractSocket::UnconnectedState || bad.waitForDisconnected(3000));
        QTcpSocket good;
        connectClient(good, 1);
        Received frame;
        receive(good, frame);
        QVERIFY(picture.pixels == pixels);
    }

    void refusesBadInput()
    {
        const uint8_t pixel[4] = {};
        QVERIFY(!server.submitFrame(nullptr, 1, 1, 4, StreamServer::PixelLayout::Bgra));
        QVERIFY(!server.submitFrame(pixel, 0, 1, 4, StreamServer::PixelLayout::Bgra));
        QVERIFY(!server.submitFrame(pixel, 5000, 1, 20000, StreamServer::PixelLayout::Bgra));
        QVERIFY(!server.submitFrame(pixel, 2, 1, 4, StreamServer::PixelLayout::Bgra));
        QVERIFY(!server.setOrientation(45));
        StreamServer other;
        QVERIFY(!other.start("no address", 0));
        QVERIFY(!other.start(TestEnvironment::loopback(20).toStdString(), server.port())); // taken
        QVERIFY(!server.start(TestEnvironment::loopback(20).toStdString(), 0));            // already serving
    }
};

CALDERWICK_TEST_MAIN(TestStreamServer)
#include "tst_streamserver.moc"
