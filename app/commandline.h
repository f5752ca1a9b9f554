#pragma once

#include "playeroptions.h"

#include <QStringList>

// Parses the whole argument vector, the program path included. Returns false when the
// usage must be shown: a "--vm-name" or "--ide" without a value behind it, or no name.
bool parseCommandLine(const QStringList &arguments, PlayerOptions &options);

// Writes the six usage lines with debug severity, so they reach the log file only.
void logUsage();

// The single-instance order of an action: "PING", "POWEROFF", "STARTADB", "STOPADB".
QString orderForAction(int action);
