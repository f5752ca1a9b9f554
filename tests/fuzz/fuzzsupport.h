#pragma once

// What every fuzz target shares: the parsers log what they refuse, and a fuzzer feeds them
// little else, so the log is silenced once for the whole process.

#include <QCoreApplication>
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

// For targets whose code runs timers or turns the event loop (the script engine's guard).
inline void ensureApplication()
{
    static int argc = 1;
    static char name[] = "fuzz";
    static char *argv[] = {name, nullptr};
    static QCoreApplication app(argc, argv);
}

} // namespace FuzzSupport
