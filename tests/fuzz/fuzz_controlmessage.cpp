// What a viewer sends the stream server: 12-byte hello and acknowledgement messages, one
// after another, each parsed before the server acts on it.

#include "fuzzsupport.h"
#include "streamformat.h"

#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzSupport::silenceLog();
    for (; size >= ScreenStream::kClientMessageSize;
         data += ScreenStream::kClientMessageSize, size -= ScreenStream::kClientMessageSize) {
        ScreenStream::ControlMessage message;
        std::string error;
        if (!ScreenStream::parseControlMessage(data, message, error))
            break;
        // What the server relies on once a message is accepted.
        if (message.kind != ScreenStream::kClientHello && message.kind != ScreenStream::kClientAck)
            __builtin_trap();
        if (message.kind == ScreenStream::kClientHello
            && (message.value < 1 || message.value > ScreenStream::kMaxInFlight))
            __builtin_trap();
    }
    return 0;
}
