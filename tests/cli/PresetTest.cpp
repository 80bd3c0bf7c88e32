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
    ASSERT_EQ(run("preset write -o a.fxp --name Quack --sense 0.3 --envelope 0.125"), 0) << contentOf("err");
    EXPECT_EQ(contentOf("a.fxp"), program("Quack", 0.3f));
    expectFailure(2, "$W preset write -o a.fxp --name 'A name of 24 characters.'");
    EXPECT_EQ(contentOf("a.fxp"), program("Quack", 0.3f));

    const std::string foreign = program(std::string("Long name of 27 characters\0?", 28), 0.7f, 3);
    std::ofstream("foreign.fxp") << foreign;
    std::ofstream("foreign.fxb") << bank(program("Quack", 0.3f), foreign);
    ASSERT_EQ(run("preset write -o again.fxp --preset foreign.fxp"), 0) << contentOf("err");
    ASSERT_EQ(run("preset write -o again.fxb --bank foreign.fxb"), 0) << contentOf("err");
    EXPECT_EQ(contentOf("again.fxp"), contentOf("foreign.fxp"));
    EXPECT_EQ(contentOf("again.fxb"), contentOf("foreign.fxb"));
}

TEST_F(Preset, EveryWayToTheSameParametersGivesTheSameSamples)
{
    write("in.wav", strokes(20000, 5000), 1, SF_FORMAT_WAV | SF_FORMAT_DOUBLE);
    std::ofstream("a.fxp") << program("Quack", 0.3f);
    std::ofstream("a.fxb") << bank(program("Other", 0.9f), program("Quack", 0.3f));
    std::ofstream("a.json") << R"({"Sense": 0.3, "envelope": {"0s": 0.125}})";
    ASSERT_EQ(run("render in.wav -o options.wav --sense 0.3 --envelope 0.125"), 0);
    for (const char* const way : {"--preset a.fxp", "--bank a.fxb", "--bank a.fxb --program 2",
                                  "--automation a.json", "--bank a.fxb --program 1 --sense 0.3"}) {
        ASSERT_EQ(run(std::string("render in.wav -o way.wav ") + way), 0) << contentOf("err");
        EXPECT_EQ(contentOf("way.wav"), contentOf("options.wav")) << way;
    }
    ASSERT_EQ(run("render in.wav -o way.wav --bank a.fxb --program 1"), 0);
    EXPECT_NE(contentOf("way.wav"), contentOf("options.wav"));
}

TEST_F(Preset, DamagedAndForeignFilesAreRefused)
{
    const std::string good = program("Quack", 0.3f);
    const auto with = [&](std::size_t at, const std::string& bytes) {
        return std::string(good).replace(at, bytes.size(), bytes);
    };
    for (const std::string& bad :
         {std::string(), std::string("CcnK"), good.substr(0, good.size() - 1), good + "x", with(0, "RIFF"),
          with(4, number(75u)), with(4, number(0xffffffffu)), with(8, "FxBk"), with(8, "FPCh"),
          with(16, "WAIT"), with(24, number(8u)), with(24, number(0x7fffffffu)), with(24, number(0u)),
          with(56, number(1.5f)), with(56, number(-0.5f)), with(56, number(0x7fc00000u))}) {
        std::ofstream("bad.fxp") << bad;
        expectFailure(1, "$W preset write --preset bad.fxp -o out.wav.fxp");
    }
    const std::string pair = bank(good, good);
    for (const std::string& bad :
         {pair.substr(0, pair.size() - 1), std::string(pair).replace(24, 4, number(3u)),
          std::string(pair).replace(24, 4, number(17u)), bank(good, good + "x"), good}) {
        std::ofstream("bad.fxb") << bad;
        expectFailure(1, "$W preset show bad.fxb");
    }
}

TEST_F(Preset, ShippedPresetsAreAtLeastEightAndDrawnByTheirNames)
{
    ASSERT_EQ(run("preset"), 0);
    const std::string list = contentOf("out");
    EXPECT_GE(std::count(list.begin(), list.end(), '\n'), 8);
    EXPECT_NE(list.find("howling-comb     Howling Comb\n"), std::string::npos) << list;
    write("in.wav", noise(20000), 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    // Fontconfig, behind Cairo, does not free all of its memory.
    ASSERT_EQ(shell("LSAN_OPTIONS=detect_leaks=0 $W plot in.wav -o picture.png --preset howling-comb"), 0)
        << contentOf("err");
    EXPECT_EQ(contentOf("picture.png").substr(1, 3), "PNG");
}
