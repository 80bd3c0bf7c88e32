#pragma once

// The sample rates that the effect takes, in Hz. At the lowest a fade has one sample.
inline constexpr double kMinSampleRate = 62.5;
inline constexpr double kMaxSampleRate = 3072000.0;
