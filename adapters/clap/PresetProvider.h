#pragma once

#include "adapters/clap/ClapInterface.h"

// Lists the presets that are built in, for hosts that show presets without an instance.
extern const clap::PresetDiscoveryFactory kPresetFactory;
