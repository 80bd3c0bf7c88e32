#pragma once

#include "host/AudioEffect.h"

// Creates the plug-in's effect. The caller owns it and ends it with effClose. Returns null if there is no
// memory for the object; throws what its constructor throws.
AudioEffect* createPluginFilter(audioMasterCallback audioMaster);
