#include "cli/audio/OutputFile.h"
#include "cli/commands/Commands.h"
#include "cli/commands/Options.h"
#include "presets/FactoryPresets.h"

namespace
{

namespace fs = std::filesystem;

constexpr std::size_t kLongestName = 23;  // bytes: the interface keeps 24 with the terminator

struct PresetCommand {
    std::vector<std::string> files;   // or names, to show
    fs::path output;                  // to write
    std::optional<std::string> name;  // none: that of the chosen program
    ProgramChoice choice;
};

void list()
{
    for (const FactoryPreset& preset : factoryPresets())
        printLine(stdout, fmt::format("{:<16} {}", preset.id, preset.description));
}

// The program as the options that make it.
std::string describe(const ProgramFile& program)
{
    return program.name() + ": " + describeValues(program.values);
}

void show(const PresetCommand& command)
{
    const HostedEffect effect;
    for (const std::string& file : command.files) {
        if (file.empty())
            throw UsageError("FILE is empty; name a preset or a file");
        if (lowerCase(fs::path(file).extension()) != ".fxb") {
            printLine(stdout, describe(readPreset(file, effect)));
            continue;
        }
        const BankFile bank = readBank(file, effect);
        for (std::size_t i = 0; i < bank.programs.size(); ++i)
            printLine(stdout, fmt::format("{}{:2} {}", i == bank.currentProgram() ? '*' : ' ', i + 1,
                                          describe(bank.programs[i])));
    }
}

void write(const PresetCommand& command)
{
    if (lowerCase(command.output.extension()) != ".fxp")
        throw UsageError("cannot write {}: wail writes programs; end its name in .fxp",
                         command.output.string());
    if (command.name && command.name->size() > kLongestName)
        throw UsageError("the name '{}' has {} bytes; the interface holds {}", *command.name,
                         command.name->size(), kLongestName);
    HostedEffect effect;
    ProgramFile program = chooseProgram(command.choice, effect);
    if (command.name)
        program.setName(*command.name);
    OutputFile output(command.output);
    output.write(bytesOf(program));
    output.commit();
}

constexpr const char* kExamples = R"(Examples:
  wail preset                                       lists the presets that come with wail
  wail preset show slow-tide mine.fxb
  wail preset write --sense 0.3 --invert on --name "My Comb" -o mine.fxp)";

}  // namespace

void addPresetCommand(CLI::App& app)
{
    const auto command = std::make_shared<PresetCommand>();
    CLI::App& preset =
        *app.add_subcommand("preset", "List, show and write presets (.fxp); show banks (.fxb)");
    preset.require_subcommand(0, 1);
    preset.footer(kExamples);

    CLI::App& showing = *preset.add_subcommand("show", "Show presets as the options that make them");
    showing.add_option("FILE", command->files, ".fxp or .fxb files, or names that wail preset lists")
        ->required();
    showing.final_callback([command] { show(*command); });

    CLI::App& writing = *preset.add_subcommand("write", "Write settings as a preset");
    addText(writing, "-o,--output", "FILE", ".fxp file to write", command->output)->required();
    addText(writing, "--name", "NAME", "name of the program, up to 23 bytes", command->name);
    addProgramOptions(writing, command->choice);
    writing.final_callback([command] { write(*command); });

    preset.final_callback([&preset] {
        if (preset.get_subcommands().empty())
            list();
    });
}
