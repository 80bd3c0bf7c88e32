#include "cli/engine/Presets.h"

#include "cli/Error.h"
#include "presets/FactoryPresets.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>

namespace
{

namespace fs = std::filesystem;

constexpr std::size_t kLargestSettings = 1 << 22;  // bytes; against devices without end

template <typename File>
File parseFile(const fs::path& file, const HostedEffect& effect,
               File (*parse)(std::span<const char>, const ProgramFileOwner&))
{
    const std::string content = readSettingsFile(file);
    const AEffect& record = effect.properties();
    try {
        return parse(content, {record.uniqueID, record.numParams, record.numPrograms});
    } catch (const ProgramFileError& error) {
        throw Error("cannot use {}: {}", file.string(), error.what());
    }
}

void checkNumber(VstInt32 number, VstInt32 count)
{
    if (number > count)
        throw UsageError("no program {}; there are 1 to {}", number, count);
}

}  // namespace

ProgramFile chooseProgram(const ProgramChoice& choice, HostedEffect& effect)
{
    ProgramFile program = effect.program();
    if (choice.bank) {
        const BankFile bank = readBank(*choice.bank, effect);
        const VstInt32 number = choice.number.value_or(static_cast<VstInt32>(bank.currentProgram()) + 1);
        checkNumber(number, static_cast<VstInt32>(bank.programs.size()));
        program = bank.programs[static_cast<std::size_t>(number - 1)];
    } else if (choice.number) {
        checkNumber(*choice.number, effect.properties().numPrograms);
        effect.dispatch(effSetProgram, 0, *choice.number - 1);
        program = effect.program();
    }
    if (choice.preset)
        program = readPreset(*choice.preset, effect);
    for (const auto& [index, value] : choice.parameters)
        program.values[static_cast<std::size_t>(index)] = value;
    return program;
}

ProgramFile readPreset(const std::string& fileOrName, const HostedEffect& effect)
{
    const auto shipped = std::ranges::find(factoryPresets(), fileOrName, &FactoryPreset::id);
    std::error_code ignored;
    const bool isThere = fs::exists(fileOrName, ignored);
    if (isThere && (!fs::is_directory(fileOrName, ignored) || shipped == factoryPresets().end()))
        return parseFile(fileOrName, effect, parseProgramFile);
    if (shipped == factoryPresets().end())
        throw Error("no preset or file '{}'; wail preset lists the presets", fileOrName);
    ProgramFile program = effect.program();
    program.setName(shipped->name);
    program.values.assign(shipped->values.begin(), shipped->values.end());
    return program;
}

BankFile readBank(const fs::path& file, const HostedEffect& effect)
{
    return parseFile(file, effect, parseBankFile);
}

std::string readSettingsFile(const fs::path& file)
{
    std::error_code ignored;
    if (fs::is_directory(file, ignored))
        throw Error("cannot use {}: it is a folder", file.string());
    std::ifstream stream(file, std::ios::binary);
    if (!stream)
        throw Error("cannot open {}: {}", file.string(),
                    errno == ENOENT ? "no such file" : std::strerror(errno));
    std::string content(kLargestSettings, '\0');
    stream.read(content.data(), static_cast<std::streamsize>(content.size()));
    content.resize(static_cast<std::size_t>(stream.gcount()));
    if (content.empty())
        throw Error("cannot use {}: it is empty", file.string());
    if (content.size() == kLargestSettings)
        throw Error("cannot use {}: it has more than 4 MB", file.string());
    return content;
}
