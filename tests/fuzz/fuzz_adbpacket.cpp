// What a host sends to devicesim's adb daemon: a stream of transport packets, the sync
// requests carried in their WRTE data and the shell command lines named by their OPEN.

#include "adbpacket.h"
#include "adbshell.h"
#include "adbsyncstream.h"
#include "fuzzsupport.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzSupport::silenceLog();
    const QByteArray input(reinterpret_cast<const char *>(data), static_cast<int>(size));
    for (bool verify : {false, true}) {
        QByteArray buffer = input;
        QByteArray sync;
        AdbPacket packet;
        QString error;
        while (AdbPacket::take(buffer, 256 * 1024, verify, packet, error) == AdbPacket::Result::Packet) {
            if (packet.command == AdbPacket::Open)
                AdbShell::tokenize(packet.data);
            if (packet.command != AdbPacket::Write)
                continue;
            sync += packet.data;
            int offset = 0;
            AdbSyncStream::Request request;
            while (AdbSyncStream::takeRequest(sync, offset, request, error) == AdbSyncStream::Result::Request) {
            }
            sync.remove(0, offset);
        }
    }
    return 0;
}
