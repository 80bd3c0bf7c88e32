#pragma once

#include "cli/AudioFormat.h"
#include "cli/Effect.h"
#include "cli/Progress.h"
#include "cli/Rendering.h"

#include <filesystem>

// One input and its output, "-" for the standard ones.
struct RenderJob {
    std::filesystem::path input;
    std::filesystem::path output;
};

// What all jobs of a command share.
struct RenderJobSettings {
    RenderSettings render;
    AudioFormat format;  // what was not chosen is the input's
    bool quiet = false;  // no summary
    bool verbose = false;
};

// Renders the input into the output and says so, on standard error where the output is standard output.
// Jobs may run side by side. Throws Error; then nothing of the output is left.
void runRenderJob(const RenderJob& job, const RenderJobSettings& settings, const Bundle& bundle,
                  Progress& progress);
