#include "tests/cli/ProgramTest.h"
#include "tests/support/Signals.h"

namespace
{

using Preset = ProgramTest;

// A 32-bit number as the files have it, the first byte first.
std::string number(auto value)
{
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes += static_cast<char>(std::bit_cast<std::uint32_t>(value) >> shift);
    return bytes;
}

// Adds what every file begins with.
std::string file(const std::string& content)
{
    return "CcnK" + number(static_cast<std::uint32_t>(content.size())) + content;
}

std::string program(std::string name, float sense, std::uint32_t version = 1)
{
    name.resize(28);
    std::string content = "FxCk" + number(1u) + "WAIL" + number(version) + number(7u) + name;
    for (const float value : {1.0f, sense, 0.8f, 0.444f, 1.0f, 0.0f, 0.125f})
        content += number(value);
    return file(content);
}

// Two programs, of which the second is in use.
std::string bank(const std::string& first, const std::string& second)
{
    return file("FxBk" + number(2u) + "WAIL" + number(1u) + number(2u) + number(1u) + std::string(124, '\0') +
                first + second);
}

}  // namespace

TEST_F(Preset, FilesHoldTheInterfacesBytesAndSurviveARoundTrip)
{
    run("$W preset write -o a.FXP --name Quack --sense 0.3 --envelope 0.125");
    EXPECT_EQ(contentOf("a.FXP"), program("Quack", 0.3f));
    const std::string foreign = program(std::string("Long name of 27 characters\0?", 28), 0.7f, 3);
    std::ofstream("foreign.fxp") << foreign;
    run("$W preset write -o again.fxp --preset foreign.fxp");
    EXPECT_EQ(contentOf("again.fxp"), foreign);
    std::ofstream("a.fxb") << bank(program("Quack", 0.3f), program("Other", 0.9f));
    const std::string values = " --reso 0.8 --range 0.444 --balance 1 --invert off --envelope 0.125\n";
    EXPECT_EQ(run("$W preset show a.FXP a.fxb"), "Quack: --on-off on --sense 0.3" + values +
                                                     "  1 Quack: --on-off on --sense 0.3" + values +
                                                     "* 2 Other: --on-off on --sense 0.9" + values);
}

TEST_F(Preset, EveryWayToTheSameParametersGivesTheSameSamples)
{
    write("in.wav", strokes(20000, 5000), 2, kDouble);
    std::ofstream("a.FXP") << program("Quack", 0.3f);
    std::ofstream("a.fxb") << bank(program("Other", 0.9f), program("Quack", 0.3f));
    std::ofstream("a.json") << R"({"Sense": 0.3, "on-off": 1.0, "envelope": {"0s": 0.125}})";
    std::filesystem::create_directory("slow-tide");  // does not hide the preset of that name
    EXPECT_THAT(run("$W preset show slow-tide"), testing::StartsWith("Slow Tide: --on-off on --sense 0.05 "));
    run("$W render in.wav -o options.wav --sense 0.3 --envelope 0.125");
    for (const char* const way :
         {"--preset a.FXP", "--bank a.fxb", "--bank a.fxb --program 2", "--bank a.fxb --program 02",
          "--automation a.json", "--bank a.fxb --program 1 --sense 0.3",
          "--sense 1 --preset slow-tide --preset a.FXP --sense 0.3", "--bank <(cat a.fxb)",
          "--preset <(cat a.FXP)", "--automation <(cat a.json) --block 064"})
        run(std::string("$W render in.wav -o way.wav ") + way + " && cmp way.wav options.wav");
    EXPECT_EQ(shell("$W render in.wav -o way.wav --bank a.fxb --program 1 && cmp -s way.wav options.wav"), 1);
}

TEST_F(Preset, DamagedAndForeignFilesAreRefused)
{
    const std::string good = program("Quack", 0.3f), pair = bank(good, good);
    std::ofstream("good.fxp") << good;
    std::ofstream("good.fxb") << pair;
    std::ofstream("odd.fxb") << bank(good, good + "x");
    // with FILE OFFSET BYTES: the file with bytes replaced, in printf's notation.
    expectFailures("damaged-presets.txt",
                   "with() { { head -c $2 $1; printf \"$3\"; tail -c +$(($2 + 1 + $(printf "
                   "\"$3\" | wc -c))) $1; } >bad.${1##*.}; $W preset show bad.${1##*.}; }; ");
    // Where the program in use does not exist (the third of two) or is not stored (format 1), the first is taken.
    for (const auto& [format, current] : {std::pair(2u, 2u), {1u, 1u}}) {
        std::string odd = bank(program("A", 0.1f), good);
        std::ofstream("odd.fxb") << odd.replace(12, 4, number(format)).replace(28, 4, number(current));
        run("$W preset write --bank odd.fxb -o odd.fxp");
        EXPECT_EQ(contentOf("odd.fxp"), program("A", 0.1f));
    }
    expectFailure(2, "$W preset write --bank odd.fxb --program 3 -o out.fxp", "there are 1 to 2");
}

TEST_F(Preset, ListsWhatTheProgramAndThePlugInBring)
{
    const std::string list = run("$W preset");
    EXPECT_EQ(std::ranges::count(list, '\n'), 10);
    EXPECT_THAT(list, HasSubstr("\nhowling-comb     The howling inverted comb"));
    EXPECT_THAT(run("$W info"), HasSubstr("  1 Sense     0.84210527   8.42\n"));
    EXPECT_THAT(run("$W info --json"), HasSubstr("\"uniqueID\": \"WAIL\""));

    const std::string completion = contentOf(WAIL_FOLDER "/wail.bash");
    std::istringstream options(
        run("for c in render plot 'preset write' info; do $W $c --help; done | grep -o -e '--[a-z-]*'"));
    for (std::string option; options >> option;)
        EXPECT_THAT(completion, HasSubstr(option));
    EXPECT_EQ(run("PATH=${W%/*}:$PATH; . " WAIL_FOLDER "/wail.bash; touch slow.wav; "
                  "COMP_WORDS=(wail preset show sl) COMP_CWORD=3; _wail 2>/dev/null; echo ${COMPREPLY[@]}"),
              "slow-tide slow.wav\n");
}
