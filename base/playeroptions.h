#pragma once

#include <QString>

// The parsed command line. The parser fills one; PlayerApp copies it into the
// process-wide globals below, where every subsystem reads it.
struct PlayerOptions
{
    QString vmName;
    bool showChecks = true;   // gates only the version check at start
    QString fromPlugin;
    QString ide;
    bool noPopup = false;     // message boxes become critical log lines
    int action = 0;           // 0 none, 1 power off, 2 start adb, 3 stop adb
};

// The program's own version, used as application version and in log lines.
extern const char *const PlayerVersion;

namespace Global {
extern QString vmName;
extern bool showChecks;
extern QString fromPlugin;
extern QString ide;
extern bool noPopup;
extern int action;
// Set by the device updater and the navigation bar dialog right before the event loop ends:
// the entry sequence then starts a fresh process for the same device.
extern bool restartRequested;

void apply(const PlayerOptions &options);
}
