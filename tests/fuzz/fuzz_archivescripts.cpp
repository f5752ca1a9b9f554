// A zip dropped on the device and judged by its flashing scripts: the directory read, then
// the rules that make it flashable.

#include "archivescripts.h"
#include "fuzzsupport.h"
#include "ziparchive.h"

#include <QBuffer>

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzSupport::silenceLog();
    QByteArray input(reinterpret_cast<const char *>(data), static_cast<int>(size));
    QBuffer device(&input);
    device.open(QIODevice::ReadOnly);
    ZipArchive archive;
    if (archive.open(&device))
        ArchiveScripts::refusal(archive);
    return 0;
}
