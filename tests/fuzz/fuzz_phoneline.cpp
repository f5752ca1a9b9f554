// The remote control phone's socket as ProxyEvent reads it: any bytes, cut into lines,
// each line checked and turned into device input or dropped.

#include "devicehost.h"
#include "fuzzsupport.h"
#include "phoneline.h"
#include "proxyevent.h"

#include <QBuffer>

#include <cstdint>

namespace {

struct FixedDisplay : DeviceHost
{
    QSize deviceDisplaySize() const override { return QSize(720, 1280); }
    float displayRotation() const override { return 90.0f; }
    VMToolsMachine *vmMachine() const override { return nullptr; }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzSupport::silenceLog();
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<int>(size));
    const PhoneLine line = PhoneLine::parse(bytes, QSize(720, 1280));
    if (line.kind == PhoneLine::Touch && !line.event.endsWith('\n'))
        __builtin_trap();

    FixedDisplay display;
    ProxyEvent proxy(&display);
    QBuffer socket;
    socket.setData(bytes);
    socket.open(QIODevice::ReadOnly);
    proxy.attach(&socket);
    proxy.detach();
    return 0;
}
