#include "cli/Commands.h"
#include "cli/Error.h"
#include "cli/Options.h"
#include "cli/Places.h"
#include "cli/PresetFiles.h"

#include <array>
#include <charconv>
#include <cstdio>

namespace
{

namespace fs = std::filesystem;

constexpr std::size_t kLongestName = 23;  // bytes: the interface keeps 24 with the zero at the end

struct PresetCommand {
    std::vector<std::string> files;  // or names, to show
    fs::path output;                 // to write
    std::string name;                // empty: the one that the settings bring
    SoundSettings sound;
    fs::path bundle;
};

bool isBank(const fs::path& file)
{
    return file.extension() == ".fxb";
}

void list(const PresetCommand& command)
{
    Effect effect{Bundle(command.bundle)};
    for (const std::string& name : presetNames()) {
        const ProgramFile program = readProgramFile(findPreset(name), effect.fileOwner());
        std::printf("%-16s %s\n", name.c_str(), program.name().c_str());
    }
}

// The shortest text that reads as the same value.
std::string textOf(float value)
{
    std::array<char, 32> text{};
    return {text.data(), std::to_chars(text.begin(), text.end(), value).ptr};
}

// The program as the options that make it.
void showProgram(const ProgramFile& program)
{
    std::printf("%s:", program.name().c_str());
    for (std::size_t i = 0; i < program.values.size(); ++i) {
        const float value = program.values[i];
        if (kParameters[i].isSwitch)
            std::printf(" --%s %s", kParameters[i].option, value == 1.0f ? "on" : "off");
        else
            std::printf(" --%s %s", kParameters[i].option, textOf(value).c_str());
    }
    std::printf("\n");
}

void show(const PresetCommand& command)
{
    const Effect effect{Bundle(command.bundle)};
    for (const std::string& file : command.files) {
        if (!isBank(file)) {
            showProgram(readProgramFile(findPreset(file), effect.fileOwner()));
            continue;
        }
        const BankFile bank = readBankFile(file, effect.fileOwner());
        for (std::size_t i = 0; i < bank.programs.size(); ++i) {
            std::printf("%c%2zu ", i == bank.currentProgram() ? '*' : ' ', i + 1);
            showProgram(bank.programs[i]);
        }
    }
}

// Values are the effect's; all else stays as it is in the file that they come from, if there is one.
std::vector<char> programBytes(const PresetCommand& command, Effect& effect)
{
    ProgramFile program = effect.program(static_cast<VstInt32>(effect.dispatch(effGetProgram)));
    if (!command.sound.preset.empty()) {
        ProgramFile source = readProgramFile(findPreset(command.sound.preset), effect.fileOwner());
        source.values = program.values;
        program = source;
    }
    if (!command.name.empty())
        program.setName(command.name);
    return bytesOf(program);
}

std::vector<char> bankBytes(const PresetCommand& command, Effect& effect)
{
    const auto current = static_cast<std::size_t>(effect.dispatch(effGetProgram));
    BankFile bank = effect.bank();
    if (!command.sound.bank.empty()) {
        BankFile source = readBankFile(command.sound.bank, effect.fileOwner());
        for (std::size_t i = 0; i < source.programs.size(); ++i)
            source.programs[i].values = bank.programs[i].values;
        bank = source;
    }
    if (!command.name.empty() && current < bank.programs.size())
        bank.programs[current].setName(command.name);
    return bytesOf(bank);
}

void write(const PresetCommand& command)
{
    if (!isBank(command.output) && command.output.extension() != ".fxp")
        throw Error("cannot tell the kind of " + command.output.string() +
                    "; end its name in .fxp for a program or .fxb for a bank");
    Effect effect{Bundle(command.bundle)};
    applySettings(command.sound, effect);
    writeFile(command.output,
              isBank(command.output) ? bankBytes(command, effect) : programBytes(command, effect));
}

constexpr const char* kExamples = R"(Examples:
  wail preset                                       lists the presets that come with wail
  wail preset show slow-tide mine.fxb
  wail preset write --sense 0.3 --invert on --name "My Comb" -o mine.fxp
  wail preset write --program 2 --preset mine.fxp -o mine.fxb)";

}  // namespace

void addPresetCommand(CLI::App& app)
{
    const auto command = std::make_shared<PresetCommand>();
    CLI::App& preset = *app.add_subcommand("preset", "List, show and write presets (.fxp) and banks (.fxb)");
    addBundleOption(preset, command->bundle);
    preset.require_subcommand(0, 1);
    preset.footer(kExamples);

    CLI::App& showing = *preset.add_subcommand("show", "Show presets as the options that make them");
    showing.add_option("FILE", command->files, ".fxp or .fxb files, or names that wail preset lists")
        ->required();
    showing.final_callback([command] { show(*command); });

    CLI::App& writing = *preset.add_subcommand("write", "Write settings as a preset or a bank");
    writing.add_option("-o,--output", command->output, "file to write: .fxp a program, .fxb a bank")
        ->required()
        ->type_name("FILE");
    writing.add_option("--name", command->name, "name of the program, up to 23 characters")
        ->check([](const std::string& name) {
            return name.size() > kLongestName ? "a program's name holds at most 23 characters"
                                              : std::string();
        })
        ->type_name("NAME");
    addSoundOptions(writing, command->sound);
    writing.final_callback([command] { write(*command); });

    preset.final_callback([command, &preset] {
        if (preset.get_subcommands().empty())
            list(*command);
    });
}
