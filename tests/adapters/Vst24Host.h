#pragma once

#include "tests/support/TestHost.h"

// An effect of the built VST 2.4 module; null if it refuses.
inline AEffect* makeVst24(audioMasterCallback callback = hostCallback)
{
    void* const make = dlsym(loadLibrary(WAIL_VST24), "VSTPluginMain");
    return reinterpret_cast<AEffect* (*)(audioMasterCallback)>(make)(callback);
}
