// What adb and aapt print, as the wrappers read it: device lists, property dumps, failure
// texts, APK badging and the progress adb push prints to a terminal.

#include "fuzzsupport.h"
#include "tooloutput.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzSupport::silenceLog();
    const QByteArray output(reinterpret_cast<const char *>(data), int(size));
    for (const QString &serial : ToolOutput::deviceSerials(output))
        ToolOutput::isNetworkSerial(serial);
    ToolOutput::mentionsCalderwick(output);
    ToolOutput::hasCalderwickProperty(output);
    ToolOutput::errorWord(QString::fromLocal8Bit(output));
    ToolOutput::parseBadging(output);
    const int percent = ToolOutput::pushPercent(output);
    if (percent < -1 || percent > 100)
        __builtin_trap();
    return 0;
}
