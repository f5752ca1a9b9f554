// The map services' replies: a geocoding answer's first position and an elevation answer's
// first height, as the map picker reads them from whatever server it is pointed at.

#include "fuzzsupport.h"
#include "mapreply.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>

extern "C" const char *__lsan_default_suppressions()
{
    return "leak:libQt5Script.so"; // the engine's own 16 bytes per syntax error
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzSupport::ensureApplication();
    FuzzSupport::silenceLog();
    const QByteArray body(reinterpret_cast<const char *>(data), int(size));
    double lat = 0.0;
    double lng = 0.0;
    // What is taken must be a place on the globe and a height the device accepts.
    if (MapReply::geocodedPosition(body, lat, lng) && !(std::fabs(lat) <= 90.0 && std::fabs(lng) <= 180.0))
        abort();
    if (!(std::fabs(MapReply::elevation(body)) <= 10000.0))
        abort();
    return 0;
}
