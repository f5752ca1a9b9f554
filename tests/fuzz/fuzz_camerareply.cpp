// What the simulated device reads back from a player on a camera socket: replies of an
// 8-hex-digit length and a body, each checked against the command it answers, and a frame's
// pixels turned into the picture the phone screen shows.
// Input: kind of command, half width, half height, source format, then the reply stream.

#include "cameraserviceport.h"
#include "fuzzsupport.h"
#include "pixelformat.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzSupport::silenceLog();
    if (size < 4)
        return 0;
    const quint32 width = 2u * (1u + data[1] % 16u);
    const quint32 height = 2u * (1u + data[2] % 16u);
    const quint32 formats[] = {makeFourcc("YU12"), makeFourcc("NV21"), makeFourcc("YUYV"), makeFourcc("RGBP"),
                               makeFourcc("8RGB")};
    const quint32 fourcc = formats[data[3] % 5];
    CameraServicePort::Command command;
    switch (data[0] % 5) {
    case 0: command.text = "connect"; command.expectedBody = QByteArray("ok", 3); break;
    case 1: command.text = "infos"; break;
    case 2: command.text = "hello"; break;
    default:
        command.text = "frame";
        command.videoSize = data[0] & 0x40 ? width * height * 3 / 2 : 0;
        command.previewSize = data[0] & 0x80 ? width * height * 4 : 0;
    }
    QByteArray stream(reinterpret_cast<const char *>(data) + 4, int(size - 4));
    for (;;) {
        const qint64 length = CameraServicePort::replyLength(stream);
        if (length < 0)
            break;
        const QByteArray body = stream.mid(8, int(length));
        stream.remove(0, 8 + int(length));
        if (CameraServicePort::checkBody(command, body).isEmpty() && command.text == "frame" && body.startsWith("ok:"))
            CameraServicePort::frameImage(command, body, width, height, fourcc);
    }
    return 0;
}
