// VBoxManage's standard output as the plug-in reads it: the first byte picks the command
// whose output the rest stands for, so one corpus covers every reader.

#include "fuzzsupport.h"
#include "vboxoutputparser.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzSupport::silenceLog();
    if (size == 0)
        return 0;
    const QByteArray output(reinterpret_cast<const char *>(data + 1), static_cast<int>(size - 1));
    QString value;
    switch (data[0] % 6) {
    case 0: {
        const QMap<QString, QString> info = VBoxOutputParser::machineReadable(output);
        VBoxOutputParser::machineState(info.value(QStringLiteral("VMState")));
        break;
    }
    case 1:
        VBoxOutputParser::guestPropertyValue(output, &value);
        break;
    case 2:
        VBoxOutputParser::guestPropertyList(output);
        break;
    case 3:
        VBoxOutputParser::vmList(output);
        break;
    case 4:
        VBoxOutputParser::hostOnlyInterfaces(output);
        VBoxOutputParser::createdInterfaceName(output);
        break;
    default:
        VBoxOutputParser::isVirtualizationMissing(output);
        VBoxOutputParser::errorText(output);
        break;
    }
    return 0;
}
