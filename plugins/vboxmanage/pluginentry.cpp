// The entry point the player's loader resolves in this library.

#include "vboxmanageengine.h"

extern "C" Q_DECL_EXPORT VMToolsEngine *getVMToolsEngine()
{
    return new VBoxManageEngine;
}
