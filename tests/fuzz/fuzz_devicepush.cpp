// A request the device sends on its own (clipboard, API call counts), as the player reads it.

#include "eventmanager.h"
#include "fuzzsupport.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzSupport::silenceLog();
    Calderwick::Request request;
    if (!request.ParseFromArray(data, static_cast<int>(size)))
        return 0;
    const DevicePush push = EventManager::readDevicePush(request);
    if (push.kind != DevicePush::Clipboard && !push.text.isEmpty())
        __builtin_trap();
    return 0;
}
