#include "tests/cli/ProgramTest.h"
#include "tests/support/Signals.h"
#include "tests/support/TestHost.h"

#include <cmath>

namespace
{

namespace fs = std::filesystem;

constexpr int kDouble = SF_FORMAT_WAV | SF_FORMAT_DOUBLE;
constexpr int k16Bits = SF_FORMAT_WAV | SF_FORMAT_PCM_16;

using Render = ProgramTest;

}  // namespace

TEST_F(Render, GivesEveryChannelAnInstanceWhoseParametersMoveWithTheBlocks)
{
    const std::vector<double> input = strokes(2 * 5000, 3000);
    write("in.wav", input, 2, kDouble);
    std::ofstream("moves.json") << R"({"Sense": {"0": 0.25, "100%": 0.75}, "on-off": "on",
                                       "invert": {"0s": "off", "0.05s": "on", "4000": "off"}})";
    ASSERT_EQ(run("render in.wav -o out.wav --block 480 --automation moves.json --range 1"), 0)
        << contentOf("err");

    const std::vector<double> output = read("out.wav", kDouble);
    ASSERT_EQ(output.size(), input.size());
    for (std::size_t channel = 0; channel < 2; ++channel) {
        const Plugin plugin;
        plugin.setRate(44100.0f);
        plugin.set(3, 1.0f);
        std::vector<double> samples, rendered;
        for (std::size_t i = channel; i < input.size(); i += 2) {
            samples.push_back(input[i]);
            rendered.push_back(output[i]);
        }
        for (int n = 0; n < 5000; n += 480) {
            plugin.set(1, static_cast<float>(0.25 + 0.5 * (n / 5000.0)));
            plugin.set(5, n >= 0.05 * 44100.0 && n < 4000 ? 1.0f : 0.0f);
            plugin.process(samples.data() + n, std::min(480, 5000 - n));
        }
        EXPECT_EQ(rendered, samples);
    }
}

TEST_F(Render, KeepsWhatADryRenderingDoesNotChange)
{
    for (const int type : {SF_FORMAT_PCM_16, SF_FORMAT_PCM_24, SF_FORMAT_PCM_U8, SF_FORMAT_FLOAT}) {
        write("in.wav", noise(5000), 1, SF_FORMAT_WAV | type);
        ASSERT_EQ(run("render in.wav --on-off off"), 0) << contentOf("err");
        EXPECT_EQ(read("in-wail.wav", SF_FORMAT_WAV | type), read("in.wav", SF_FORMAT_WAV | type));
    }
}

TEST_F(Render, SaturatesIntegersAndNamesOrFindsTheGainThatAvoidsIt)
{
    write("in.wav", noise(20000), 1, k16Bits);
    ASSERT_EQ(run("render in.wav -o full.wav --format double"), 0) << contentOf("err");
    ASSERT_EQ(run("render in.wav -o out.flac"), 0) << contentOf("err");
    const std::string warning = contentOf("err");
    const std::vector<double> full = read("full.wav", kDouble);
    const std::vector<double> output = read("out.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
    std::ptrdiff_t clipped = 0;
    for (std::size_t i = 0; i < full.size(); ++i) {
        const double nearest = std::clamp(std::nearbyint(full[i] * 32768.0), -32768.0, 32767.0) / 32768.0;
        ASSERT_EQ(output[i], nearest) << i;
        clipped += std::nearbyint(full[i] * 32768.0) != nearest * 32768.0;
    }
    EXPECT_NE(warning.find(" " + std::to_string(clipped) + " samples clipped"), std::string::npos) << warning;

    const std::string gain =
        warning.substr(warning.find("--gain"), warning.find(" would") - warning.find("--gain"));
    ASSERT_EQ(run("render in.wav -o out.flac " + gain), 0);
    EXPECT_EQ(contentOf("err"), "");
    const std::vector<double> quieter = read("out.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
    EXPECT_GT(std::fabs(*std::ranges::max_element(quieter, {}, [](double x) { return std::fabs(x); })), 0.97);

    EXPECT_EQ(run("render in.wav -o auto.flac --gain auto && cmp out.flac auto.flac"), 0) << contentOf("err");
    EXPECT_EQ(run("render out.flac -o same.flac --gain auto --on-off off && cmp out.flac same.flac"), 0);
    EXPECT_EQ(contentOf("err"), "");
    expectFailure(1, "cat in.wav | $W render - -o out.wav --gain auto");
}

TEST_F(Render, LetsTheCombRingOutForATimeOrUntilItIsSilent)
{
    const std::vector<double> input = noise(1000);
    write("in.wav", input, 1, kDouble);
    std::vector<double> expected = input;
    expected.resize(44100);
    const Plugin plugin;
    plugin.setRate(44100.0f);
    plugin.process(expected, 64);

    ASSERT_EQ(run("render in.wav -o out.wav --tail 0.5"), 0);
    EXPECT_EQ(read("out.wav", kDouble), std::vector(expected.begin(), expected.begin() + 1000 + 22050));

    ASSERT_EQ(run("render in.wav -o out.wav --tail auto"), 0);
    while (std::fabs(expected.back()) < std::pow(10.0, -90.0 / 20.0))
        expected.pop_back();
    EXPECT_EQ(read("out.wav", kDouble), expected);
}

TEST_F(Render, SitsInPipes)
{
    write("in.wav", noise(3000, 0.1), 1, k16Bits);
    ASSERT_EQ(run("render in.wav -o once.flac"), 0);
    ASSERT_EQ(run("render once.flac -o twice.wav"), 0);
    ASSERT_EQ(shell("cat in.wav | $W render - -o - | $W render - -q -o piped.wav"), 0) << contentOf("err");
    EXPECT_EQ(read("piped.wav", k16Bits), read("twice.wav", k16Bits));
    ASSERT_EQ(shell("cat once.flac | $W render - --format au | $W render - -q -o piped.wav --on-off off"), 0);
    EXPECT_EQ(read("piped.wav", k16Bits), read("twice.wav", k16Bits));

    // What writes into a pipe cannot go back to the header, and promises some 2 GB there.
    for (const int format : {k16Bits, kDouble}) {
        write("in.wav", noise(3000, 0.1), 1, format);
        std::string endless = contentOf("in.wav");
        endless.replace(endless.find("data") + 4, 4, {'\0', '\xf0', '\xff', '\x7f'});
        std::ofstream("endless.wav") << endless;
        ASSERT_EQ(shell("cat endless.wav | $W render - -o out.wav --on-off off"), 0) << contentOf("err");
        EXPECT_EQ(read("out.wav", format), read("in.wav", format));
    }
}

TEST_F(Render, RendersManyFilesAtOnceAndSkipsThoseThatFail)
{
    for (const char* const name : {"a.wav", "b.wav", "c.wav"})
        write(name, noise(2000, 0.1), 1, k16Bits);
    std::ofstream("bad.wav") << "this is no sound";
    EXPECT_EQ(run("render a.wav bad.wav b.wav c.wav --output-dir done --format flac --jobs 3"), 1);
    for (const char* const name : {"done/a.flac", "done/b.flac", "done/c.flac"})
        EXPECT_EQ(read(name, SF_FORMAT_FLAC | SF_FORMAT_PCM_16).size(), 2000u);
    EXPECT_FALSE(fs::exists("done/bad.flac"));
}

TEST_F(Render, FailsWithOneLineAndLeavesNothingBehind)
{
    write("in.wav", noise(100), 1, k16Bits);
    std::ofstream("text.wav") << "this is no sound";
    std::ofstream("empty.wav");
    std::ofstream("moves.json") << R"({"sence": 1})";
    fs::create_directory("folder.wav");
    const std::string original = contentOf("in.wav");
    for (const char* const arguments :
         {"missing.wav -o out.wav", "text.wav -o out.wav", "empty.wav -o out.wav", "in.wav -o in.wav",
          "in.wav -o ./../$(basename $PWD)/in.wav", "in.wav -o nowhere/out.wav", "in.wav -o folder.wav",
          "in.wav -o out.unknown", "in.wav -o out.wav --format mp3",
          "in.wav -o out.wav --automation moves.json", "in.wav -o out.wav --automation text.wav",
          "in.wav -o out.wav --program 17", "in.wav -o out.wav --preset nothing",
          "in.wav -o out.wav --bundle text.wav"})
        expectFailure(1, std::string("$W render ") + arguments);
    for (const char* const arguments :
         {"", "in.wav in.wav -o out.wav", "in.wav -o out.wav --sense abc", "in.wav -o out.wav --sense 1.5",
          "in.wav -o out.wav --sense nan", "in.wav -o out.wav --invert 1", "in.wav -o out.wav --block 0",
          "in.wav -o out.wav --tail -1", "in.wav -o out.wav --format wave", "in.wav -o out.wav --gain nan",
          "in.wav -o out.wav --block 2.5", "in.wav -o out.wav --sense"})
        expectFailure(2, std::string("$W render ") + arguments);
    EXPECT_NE(contentOf("err").find("--sense needs a value"), std::string::npos);
    expectFailure(2, "$W render in.wav --sens 1");
    EXPECT_NE(contentOf("err").find("did you mean --sense?"), std::string::npos);
    EXPECT_EQ(contentOf("in.wav"), original);
}

TEST_F(Render, RefusesInputThatEndsBeforeItsHeaderSays)
{
    const std::pair<const char*, int> formats[] = {{"in.wav", k16Bits},
                                                   {"in.aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_16},
                                                   {"in.au", SF_FORMAT_AU | SF_FORMAT_PCM_16},
                                                   {"in.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16}};
    for (const auto& [name, format] : formats) {
        write(name, noise(10000), 1, format);
        fs::resize_file(name, fs::file_size(name) / 2);
        expectFailure(1, std::string("$W render ") + name + " -o out.wav");
        expectFailure(1, std::string("cat ") + name + " | $W render - -o out.wav");
    }
}

TEST_F(Render, CleansUpWhenItIsInterruptedOrTheDiskIsFull)
{
    write("in.wav", noise(20000), 1, k16Bits);
    expectFailure(1, "ulimit -f 8; $W render in.wav -o out.wav");
    expectFailure(1, "ulimit -f 8; $W render in.wav -o out.wav --format flac");
    for (const char* const arguments :
         {"render in.wav -o -", "render in.wav --gain -20", "preset", "info --json", "--help"})
        expectFailure(1, std::string("$W ") + arguments + " >/dev/full");

    // Half a file in a pipe whose other end stays open: the program waits for the rest.
    for (const auto& [signal, status] :
         {std::pair("INT", 130), std::pair("TERM", 143), std::pair("HUP", 129)}) {
        EXPECT_EQ(shell(std::string("rm -f pipe; mkfifo pipe; exec 3<>pipe; head -c 20000 in.wav >&3; "
                                    "timeout --preserve-status -s ") +
                        signal + " 0.5 $W render pipe -o out.wav"),
                  status);
        expectOutputUntouched();
    }
}
