#pragma once

#include "adapters/clap/ClapInterface.h"
#include "adapters/clap/ClapParameters.h"

#include <optional>

// What a session keeps of an instance: the parameter values as the host sees them, without modulations.
//
//     "WAIL"  version  value[kNumParams]        version: 32 bits, 1; value: 64-bit float, by id
//
// All numbers are little-endian. The same values make the same bytes.

// Returns false if the stream fails or takes nothing.
bool saveState(const ClapParameters::Values& values, const clap::OutputStream& stream) noexcept;

// Returns nothing if the stream fails, holds fewer or more bytes, or anything but a state of this version.
std::optional<ClapParameters::Values> loadState(const clap::InputStream& stream) noexcept;
