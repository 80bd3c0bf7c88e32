#pragma once

#include "cli/Automation.h"
#include "cli/Effect.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

// What decides how the effect sounds. Later members overrule earlier ones.
struct SoundSettings {
    std::filesystem::path bank;       // .fxb; empty for none
    std::optional<VstInt32> program;  // counted from 1, as programs are shown
    std::string preset;               // .fxp, or the name of one that comes with the program; empty for none
    ParameterValues parameters;
    std::filesystem::path automation;  // JSON; empty for none

    // Frames, 1 or more. A change of Invert moves the sweep at the start of the next block, which in long
    // blocks falls into the audible part of the fade-in.
    VstInt32 blockSize = 64;
};

// Gives the effect the bank, program, preset and parameters. Throws Error.
void applySettings(const SoundSettings& settings, Effect& effect);

// The effect on all channels of a stream, each channel with an instance of its own.
class Sound
{
public:
    // Throws Error.
    Sound(const Bundle& bundle, const SoundSettings& settings, int channels, double sampleRate,
          std::optional<std::int64_t> inputFrames);

    // Processes interleaved samples in place, in blocks of the set size. Each block hears the values that
    // the automation has at its first frame. Only the last call may hold a part of a block.
    void process(std::span<double> interleaved);

    // The first channel's, to ask for names and texts.
    const Effect& effect() const { return *effects.front(); }

private:
    void processBlock(std::span<double> interleaved);

    VstInt32 blockSize;
    std::optional<Automation> automation;
    std::vector<std::unique_ptr<Effect>> effects;
    std::vector<double> channel;  // one block of one channel
    std::int64_t framesDone = 0;
};
