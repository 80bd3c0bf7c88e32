#include "cli/Sound.h"

#include "cli/Error.h"
#include "cli/Places.h"
#include "cli/PresetFiles.h"

#include <algorithm>

void applySettings(const SoundSettings& settings, Effect& effect)
{
    const VstInt32 numPrograms = effect.properties().numPrograms;
    if (!settings.bank.empty())
        effect.load(readBankFile(settings.bank, effect.fileOwner()));
    if (settings.program && (*settings.program < 1 || *settings.program > numPrograms))
        throw Error("no program " + std::to_string(*settings.program) + "; there are 1 to " +
                    std::to_string(numPrograms));
    if (settings.program)
        effect.setProgram(*settings.program - 1);
    if (!settings.preset.empty())
        effect.load(readProgramFile(findPreset(settings.preset), effect.fileOwner()));
    effect.setParameters(settings.parameters);
}

Sound::Sound(const Bundle& bundle, const SoundSettings& settings, int channels, double sampleRate,
             std::optional<std::int64_t> inputFrames)
    : blockSize(settings.blockSize), channel(static_cast<std::size_t>(settings.blockSize))
{
    if (!settings.automation.empty())
        automation.emplace(settings.automation, sampleRate, inputFrames);
    for (int c = 0; c < channels; ++c) {
        effects.push_back(std::make_unique<Effect>(bundle));
        applySettings(settings, *effects.back());
        effects.back()->start(sampleRate, blockSize);
    }
}

void Sound::process(std::span<double> interleaved)
{
    const std::size_t blockSamples = channel.size() * effects.size();
    while (!interleaved.empty()) {
        const std::size_t length = std::min(blockSamples, interleaved.size());
        processBlock(interleaved.first(length));
        interleaved = interleaved.subspan(length);
    }
}

void Sound::processBlock(std::span<double> interleaved)
{
    const std::size_t channels = effects.size();
    const std::size_t frames = interleaved.size() / channels;
    const ParameterValues values = automation ? automation->at(framesDone) : ParameterValues{};
    for (std::size_t c = 0; c < channels; ++c) {
        effects[c]->setParameters(values);
        if (channels == 1) {
            effects[c]->process(interleaved.data(), static_cast<VstInt32>(frames));
            continue;
        }
        for (std::size_t i = 0; i < frames; ++i)
            channel[i] = interleaved[i * channels + c];
        effects[c]->process(channel.data(), static_cast<VstInt32>(frames));
        for (std::size_t i = 0; i < frames; ++i)
            interleaved[i * channels + c] = channel[i];
    }
    framesDone += static_cast<std::int64_t>(frames);
}
