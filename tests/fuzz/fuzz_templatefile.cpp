// A template file of the templates folder as VmTemplate reads it back: a count and that
// many key/value pairs of a QDataStream, from a file that may be cut short or foreign.

#include "fuzzsupport.h"
#include "vmtemplate.h"

#include <QBuffer>

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzSupport::silenceLog();
    QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char *>(data), int(size));
    QBuffer file(&bytes);
    VmTemplate record;
    if (record.readFromFile(&file) == 1)
        record.toString(0);
    return 0;
}
