#pragma once

#include "tests/support/TestHost.h"

// The main function of the built VST 2.4 module. Returns null if it refuses the host.
inline AEffect* (*const makeVst24)(audioMasterCallback) =
    reinterpret_cast<AEffect* (*)(audioMasterCallback)>(dlsym(loadLibrary(WAIL_VST24), "VSTPluginMain"));
