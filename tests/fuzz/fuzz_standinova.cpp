// The head of a stand-in OVA as the device-upgrade stand-in reads it: any bytes at all.

#include "deviceupgradestandin.h"

#include <QByteArray>
#include <QString>

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QString system;
    QString android;
    const QByteArray head(reinterpret_cast<const char *>(data), int(size));
    if (DeviceUpgradeStandIn::readOva(head, &system, &android) && system.isEmpty())
        __builtin_trap(); // a success always names the system
    return 0;
}
