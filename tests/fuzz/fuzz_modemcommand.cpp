// The simulated modem's command lines as they come off the request channel: any text, read
// as a call or a text message or refused.

#include "fuzzsupport.h"
#include "modemcommand.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzSupport::silenceLog();
    const QString line = QString::fromUtf8(reinterpret_cast<const char *>(data), int(size));
    const ModemCommand command = ModemCommand::parse(line);
    // What is taken has a number and, for a message, a text within the bound.
    if (command.kind() == ModemCommand::Kind::Invalid ? command.reason().isEmpty() : command.number().isEmpty())
        std::abort();
    if (command.kind() == ModemCommand::Kind::Sms
        && (command.text().isEmpty() || command.text().toUtf8().size() > ModemCommand::MaxTextBytes))
        std::abort();
    return 0;
}
