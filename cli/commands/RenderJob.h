#pragma once

#include "cli/audio/AudioFormat.h"
#include "cli/engine/Renderer.h"

#include <cstdio>
#include <filesystem>
#include <string>

// An input and its output; "-" is standard input or output.
struct RenderJob {
    std::filesystem::path input;
    std::filesystem::path output;
};

// What the jobs of a command share.
struct RenderJobSettings {
    RenderSettings render;
    AudioFormat format;  // as far as it was chosen
    bool dither = false;
    bool quiet = false;  // no summary
    bool verbose = false;
};

// Renders the input into the output and prints a summary, to standard error if the output is standard output. Jobs
// may run side by side. Throws Error; then nothing of the output remains.
void runRenderJob(const RenderJob& job, const RenderJobSettings& settings, const Bundle& bundle);
