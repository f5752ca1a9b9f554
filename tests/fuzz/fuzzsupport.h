#pragma once

// What every fuzz target shares: the parsers log what they refuse, and a fuzzer feeds them
// little else, so the log is silenced once for the whole process.

#include <QtGlobal>

namespace FuzzSupport {

inline void silenceLog()
{
    static const bool done = [] {
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
        return true;
    }();
    Q_UNUSED(done)
}

} // namespace FuzzSupport
