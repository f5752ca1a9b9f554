// Bytes from the device's request port as the client reads them: whole Replies and Requests
// taken off the front of the buffer one after another, each Reply read into a value.

#include "calderwickclient.h"
#include "fuzzsupport.h"

#include <QVariant>

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzSupport::silenceLog();
    QByteArray buffer(reinterpret_cast<const char *>(data), static_cast<int>(size));
    QByteArray message;
    for (int i = 0; i < 64; ++i) {
        const int before = buffer.size();
        const CalderwickClient::MessageKind kind = CalderwickClient::takeMessage(buffer, message);
        if (kind == CalderwickClient::MessageKind::Incomplete)
            break;
        if (kind == CalderwickClient::MessageKind::Reply) {
            QVariant value;
            CalderwickClient::parseReply(message, value);
        }
        // Every message taken shortens the buffer, or the reader would spin on it.
        if (buffer.size() >= before && before > 0)
            __builtin_trap();
        if (buffer.isEmpty())
            break;
    }
    QVariant value;
    CalderwickClient::parseReply(QByteArray(reinterpret_cast<const char *>(data), static_cast<int>(size)), value);
    return 0;
}
