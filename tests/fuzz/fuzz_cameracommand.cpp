// The camera service's commands as a device sends them on the camera sockets: one read, cut at
// the first NUL and trimmed, then read as a command.

#include "cameracommand.h"
#include "cameramanager.h"
#include "fuzzsupport.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzSupport::silenceLog();
    const QByteArray read = QByteArray::fromRawData(reinterpret_cast<const char *>(data), int(size));
    const CameraCommand command = CameraCommand::parse(CameraManager::commandFromData(read), 4096);
    // A size the camera would allocate for must be one it can hold.
    if (command.hasSize && (command.width == 0 || command.height == 0 || command.width > 4096 || command.height > 4096))
        std::abort();
    return 0;
}
