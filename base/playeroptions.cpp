#include "playeroptions.h"

const char *const PlayerVersion = "2.6.0";

namespace Global {
QString vmName;
bool showChecks = true;
QString fromPlugin;
QString ide;
bool noPopup = false;
int action = 0;
bool restartRequested = false;

void apply(const PlayerOptions &options)
{
    vmName = options.vmName;
    showChecks = options.showChecks;
    fromPlugin = options.fromPlugin;
    ide = options.ide;
    noPopup = options.noPopup;
    action = options.action;
}
}
