#pragma once

#include "host/AudioEffect.h"

// Makes the plug-in's one kind of effect; the caller owns it and ends it with effClose. Null when there is
// no memory for it; an exception of its construction reaches the caller.
AudioEffect* createPluginFilter(audioMasterCallback audioMaster);
