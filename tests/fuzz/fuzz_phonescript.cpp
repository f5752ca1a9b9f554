// The simulated phone's two readers: the script file of a scripted run, and the player's
// lines on the sensor socket, fed in two pieces split where the input says.

#include "companionapp.h"
#include "fuzzsupport.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzSupport::silenceLog();
    const QByteArray input(reinterpret_cast<const char *>(data), static_cast<int>(size));
    QList<QByteArray> steps;
    QString error;
    CompanionApp::parseScript(input, &steps, &error);

    const int cut = input.isEmpty() ? 0 : static_cast<unsigned char>(input.at(0)) * input.size() / 256;
    QByteArray pending;
    bool skipping = false;
    int refused = 0;
    for (const QByteArray &piece : {input.left(cut), input.mid(cut)}) {
        pending += piece;
        for (const QByteArray &line : CompanionApp::takeLines(pending, skipping, refused)) {
            if (line.size() > CompanionApp::MaxLineLength || line.contains('\n'))
                std::abort();
        }
        if (pending.size() > CompanionApp::MaxLineLength)
            std::abort();
    }
    return 0;
}
