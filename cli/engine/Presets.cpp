#include "cli/engine/Presets.h"

#include "cli/Error.h"
#include "cli/engine/Places.h"

#include <span>

namespace
{

template <typename File>
File readFile(const std::filesystem::path& file, const ProgramFileOwner& owner,
              File (*parse)(std::span<const char>, const ProgramFileOwner&))
{
    const std::string content = readSettingsFile(file);
    try {
        return parse(content, owner);
    } catch (const ProgramFileError& error) {
        throw Error("cannot use {}: {}", file.string(), error.what());
    }
}

void checkNumber(VstInt32 number, std::size_t count)
{
    if (number < 1 || static_cast<std::size_t>(number) > count)
        throw UsageError("no program {}; there are 1 to {}", number, count);
}

}  // namespace

ProgramFile readProgramFile(const std::filesystem::path& file, const ProgramFileOwner& owner)
{
    return readFile(file, owner, parseProgramFile);
}

BankFile readBankFile(const std::filesystem::path& file, const ProgramFileOwner& owner)
{
    return readFile(file, owner, parseBankFile);
}

ProgramFile chooseProgram(const ProgramChoice& choice, HostedEffect& effect)
{
    const ProgramFileOwner owner = effect.fileOwner();
    ProgramFile program = effect.program();
    if (choice.bank) {
        const BankFile bank = readBankFile(*choice.bank, owner);
        const auto current = static_cast<VstInt32>(bank.currentProgram() + 1);
        checkNumber(choice.number.value_or(current), bank.programs.size());
        program = bank.programs[static_cast<std::size_t>(choice.number.value_or(current) - 1)];
    } else if (choice.number) {
        checkNumber(*choice.number, static_cast<std::size_t>(owner.numPrograms));
        effect.setProgram(*choice.number - 1);
        program = effect.program();
    }
    if (choice.preset)
        program = readProgramFile(findPreset(*choice.preset), owner);
    for (const auto& [index, value] : choice.parameters)
        program.values[static_cast<std::size_t>(index)] = value;
    return program;
}
