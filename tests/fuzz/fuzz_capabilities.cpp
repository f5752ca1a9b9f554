// The capabilities text a device sends on its event channel, as both toolbars read it.

#include "capabilities.h"
#include "fuzzsupport.h"

#include <cstdint>

extern "C" const char *__lsan_default_suppressions()
{
    return "leak:libQt5Script.so"; // the engine's own 16 bytes per syntax error
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzSupport::ensureApplication();
    FuzzSupport::silenceLog();
    QVariantMap map;
    if (!parseCapabilities(QString::fromUtf8(reinterpret_cast<const char *>(data), int(size)), map))
        return 0;
    for (const char *name : {"accelerometer", "battery", "gps", "screencast", "remotectl", "camera", "deviceid",
                             "baseband", "network"})
        capabilityEnabled(QString::fromLatin1(name), map);
    return 0;
}
