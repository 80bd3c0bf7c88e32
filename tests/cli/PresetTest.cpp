#include "tests/cli/ProgramTest.h"
#include "tests/support/Signals.h"

#include <bit>

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
    ASSERT_EQ(run("preset write -o a.FXP --name Quack --sense 0.3 --envelope 0.125"), 0) << contentOf("err");
    EXPECT_EQ(contentOf("a.FXP"), program("Quack", 0.3f));
    expectFailure(2, "$W preset write -o a.fxp --name 'Name of 24 bytes: déjà.'",
                  "has 25 bytes; the interface holds 23");
    expectFailure(2, "$W preset write -o a.fxb", "end its name in .fxp");

    const std::string foreign = program(std::string("Long name of 27 characters\0?", 28), 0.7f, 3);
    std::ofstream("foreign.fxp") << foreign;
    ASSERT_EQ(run("preset write -o again.fxp --preset foreign.fxp"), 0) << contentOf("err");
    EXPECT_EQ(contentOf("again.fxp"), foreign);
    std::ofstream("a.fxb") << bank(program("Quack", 0.3f), program("Other", 0.9f));
    ASSERT_EQ(run("preset show a.FXP a.fxb"), 0) << contentOf("err");
    const std::string values = " --reso 0.8 --range 0.444 --balance 1 --invert off --envelope 0.125\n";
    EXPECT_EQ(contentOf("out"), "Quack: --on-off on --sense 0.3" + values +
                                    "  1 Quack: --on-off on --sense 0.3" + values +
                                    "* 2 Other: --on-off on --sense 0.9" + values);
}

TEST_F(Preset, EveryWayToTheSameParametersGivesTheSameSamples)
{
    write("in.wav", strokes(20000, 5000), 2, kDouble);
    std::ofstream("a.FXP") << program("Quack", 0.3f);
    std::ofstream("a.fxb") << bank(program("Other", 0.9f), program("Quack", 0.3f));
    std::ofstream("a.json") << R"({"Sense": 0.3, "envelope": {"0s": 0.125}})";
    std::filesystem::create_directory("slow-tide");  // does not hide the preset of that name
    ASSERT_EQ(run("preset show slow-tide"), 0) << contentOf("err");
    ASSERT_EQ(run("render in.wav -o options.wav --sense 0.3 --envelope 0.125"), 0);
    for (const char* const way :
         {"--preset a.FXP", "--bank a.fxb", "--bank a.fxb --program 2", "--bank a.fxb --program 02",
          "--automation a.json", "--bank a.fxb --program 1 --sense 0.3",
          "--sense 1 --preset slow-tide --preset a.FXP --sense 0.3", "--bank <(cat a.fxb)",
          "--preset <(cat a.FXP)", "--automation <(cat a.json) --block 064"}) {
        ASSERT_EQ(run(std::string("render in.wav -o way.wav ") + way), 0) << contentOf("err");
        EXPECT_EQ(contentOf("way.wav"), contentOf("options.wav")) << way;
    }
    ASSERT_EQ(run("render in.wav -o way.wav --bank a.fxb --program 1"), 0);
    EXPECT_NE(contentOf("way.wav"), contentOf("options.wav"));
}

TEST_F(Preset, DamagedAndForeignFilesAreRefused)
{
    const std::string good = program("Quack", 0.3f);
    const std::string pair = bank(good, good);
    const auto with = [](std::string bytes, std::size_t at, const std::string& part) {
        return bytes.replace(at, part.size(), part);
    };
    const std::string kind = "it is not a program or bank file", size = "its size does not agree",
                      cut = "it is cut off", count = "its number of parameters is not 7",
                      value = "value outside 0 to 1";
    for (const auto& [bad, message] : {std::pair(std::string(), std::string("it is empty")),
                                       {"CcnK", cut},
                                       {good.substr(0, good.size() - 1), cut},
                                       {good + "x", size},
                                       {with(good, 0, "RIFF"), kind},
                                       {with(good, 4, number(75u)), cut},
                                       {with(good + "xxxx", 4, number(80u)), size},
                                       {with(good, 4, number(0xffffffffu)), cut},
                                       {pair, "it is a bank, not a program"},
                                       {with(good, 8, "FPCh"), "opaque chunk"},
                                       {with(good, 8, "FxXx"), kind},
                                       {with(good, 16, "WAIT"), "for another plug-in"},
                                       {with(good, 24, number(8u)), count},
                                       {with(good, 24, number(0u)), count},
                                       {with(good, 56, number(1.5f)), value},
                                       {with(good, 56, number(-0.5f)), value},
                                       {with(good, 56, number(0x7fc00000u)), value}}) {
        std::ofstream("bad.fxp") << bad;
        expectFailure(1, "$W preset show bad.fxp", message);
    }
    const std::string programs = "its number of programs is not 1 to 16";
    for (const auto& [bad, message] : {std::pair(pair.substr(0, pair.size() - 1), cut),
                                       {with(pair, 24, number(3u)), cut},
                                       {with(pair, 24, number(1u)), size},
                                       {with(pair, 24, number(0u)), programs},
                                       {with(pair, 24, number(17u)), programs},
                                       {bank(good, good + "x"), size},
                                       {bank(good, with(good + "xxxx", 4, number(80u))), size},
                                       {with(pair, 8, "FBCh"), "opaque chunk"},
                                       {good, "it is a program, not a bank"}}) {
        std::ofstream("bad.fxb") << bad;
        expectFailure(1, "$W preset show bad.fxb", message);
    }
    std::ofstream("far.fxb") << with(pair, 28, number(2u));
    ASSERT_EQ(run("preset show far.fxb && $W preset write --bank far.fxb -o far.fxp"), 0) << contentOf("err");
    EXPECT_EQ(contentOf("out").find("* 1 Quack"), 0u);  // there is no third program
    std::ofstream("two.fxb") << with(with(bank(program("A", 0.1f), good), 28, number(1u)), 12, number(1u));
    ASSERT_EQ(run("preset write --bank two.fxb -o two.fxp"), 0);
    EXPECT_EQ(contentOf("two.fxp"), program("A", 0.1f));  // format 1 has no program in use
    write("in.wav", noise(100), 1, k16Bits);
    expectFailure(2, "$W render in.wav -o out.wav --bank two.fxb --program 3", "there are 1 to 2");
}

TEST_F(Preset, MistakesInAutomationAreNamed)
{
    write("in.wav", noise(100), 1, k16Bits);
    expectFailures("automation-failures.txt");
}

TEST_F(Preset, ListsWhatTheProgramAndThePlugInBring)
{
    ASSERT_EQ(run("preset"), 0);
    const std::string list = contentOf("out");
    EXPECT_EQ(std::count(list.begin(), list.end(), '\n'), 10);
    EXPECT_NE(list.find("\nhowling-comb     Howling Comb\n"), std::string::npos) << list;
    ASSERT_EQ(run("info && $W info --json"), 0);
    EXPECT_NE(contentOf("out").find("  1 Sense     0.84210527   8.42\n"), std::string::npos)
        << contentOf("out");
    EXPECT_NE(contentOf("out").find("\"uniqueID\": \"WAIL\""), std::string::npos);
}

TEST_F(Preset, CompletionKnowsAllOptionsAndWhereFilesGo)
{
    ASSERT_EQ(
        shell("for c in render plot 'preset write' info; do $W $c --help; done | grep -o -e '--[a-z-]*'"), 0);
    const std::string completion = contentOf(WAIL_FOLDER "/wail.bash");
    std::istringstream options(contentOf("out"));
    for (std::string option; options >> option;)
        EXPECT_NE(completion.find(option), std::string::npos) << option;
    ASSERT_EQ(shell("PATH=${W%/*}:$PATH; . " WAIL_FOLDER "/wail.bash; touch slow.wav; "
                    "COMP_WORDS=(wail preset show sl) COMP_CWORD=3; _wail 2>/dev/null; echo ${COMPREPLY[@]}"),
              0);
    EXPECT_EQ(contentOf("out"), "slow-tide slow.wav\n");
}
