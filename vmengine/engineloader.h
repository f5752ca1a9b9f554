#pragma once

#include <QString>

class VMToolsEngine;

// Loads the engine plug-in from "<pluginDirectory>/vboxmanage" (the platform's suffix is
// added) and returns it initialised, or null. The caller owns the engine. The library
// stays loaded for the life of the process. An empty directory means
// "<application directory>/plugins/".
VMToolsEngine *loadEngine(const QString &pluginDirectory = QString());
