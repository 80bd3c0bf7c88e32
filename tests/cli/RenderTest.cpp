#include "tests/cli/ProgramTest.h"
#include "tests/support/Signals.h"
#include "tests/support/TestHost.h"

#include <cstring>
#include <limits>

namespace
{

namespace fs = std::filesystem;

using Render = ProgramTest;

// As integers of these bits hold the samples; 0 bits: as floating-point types do.
std::vector<double> rounded(std::vector<double> samples, int bits)
{
    const double scale = std::exp2(bits - 1);
    for (double& sample : samples)
        if (bits > 0)
            sample = std::clamp(std::nearbyint(sample * scale), -scale, scale - 1.0) / scale;
    return samples;
}

// The plug-in at these settings, behind long silence.
void start(const Plugin& plugin, double sense = 0.84210527)
{
    plugin.setRate(44100.0f);
    plugin.set(1, static_cast<float>(sense));
    plugin.process(nullptr, 0);
}

}  // namespace

TEST_F(Render, GivesEveryChannelAnInstanceWhoseParametersMoveWithTheBlocks)
{
    const std::vector<double> input = strokes(2 * 5000, 3000);
    write("in.wav", input, 2, kDouble);
    std::ofstream("moves.json") << R"({"Sense": {"0": 0.25, "100%": 0.75}, "on-off": true, "Reso": 0.875,
                                       "invert": {"0s": "off", "0.05s": 1, "4000": false}})";
    for (const auto& [options, first, count] :
         {std::tuple("", 0, 5000), std::tuple(" --start 0.05 --duration 0.05", 2205, 2205)}) {
        ASSERT_EQ(run(std::string("render in.wav -o out.wav --block 480 --automation moves.json --range 1") +
                      options),
                  0)
            << contentOf("err");
        const std::vector<double> output = read("out.wav", kDouble);
        ASSERT_EQ(output.size(), 2u * static_cast<unsigned>(count));
        for (std::size_t channel = 0; channel < 2; ++channel) {
            const Plugin plugin;
            plugin.set(2, 0.875f);
            plugin.set(3, 1.0f);
            plugin.set(5, first >= 2205 ? 1.0f : 0.0f);
            start(plugin, 0.25 + 0.5 * (first / 5000.0));
            std::vector<double> samples, rendered;
            for (std::size_t i = channel; i < output.size(); i += 2) {
                samples.push_back(input[static_cast<std::size_t>(2 * first) + i]);
                rendered.push_back(output[i]);
            }
            for (int n = 0; n < count; n += 480) {
                const int time = first + n;
                plugin.set(1, static_cast<float>(0.25 + 0.5 * (time / 5000.0)));
                plugin.set(5, time >= 2205 && time < 4000 ? 1.0f : 0.0f);
                plugin.process(samples.data() + n, std::min(480, count - n));
            }
            EXPECT_EQ(rendered, samples);
        }
    }
}

TEST_F(Render, WritesTheFormatOfTheInputUnlessToldOtherwise)
{
    constexpr int wav = SF_FORMAT_WAV, aiff = SF_FORMAT_AIFF, p16 = SF_FORMAT_PCM_16, p32 = SF_FORMAT_PCM_32,
                  f32 = SF_FORMAT_FLOAT, flac24 = SF_FORMAT_FLAC | SF_FORMAT_PCM_24,
                  wav24 = wav | SF_FORMAT_PCM_24, ogg = SF_FORMAT_OGG | SF_FORMAT_VORBIS,
                  little = SF_ENDIAN_LITTLE | aiff | p16;
    // clang-format off
    for (const auto& [input, inputFormat, options, output, outputFormat, bits] : {
             std::tuple("in.WAV", wav | p16, "", "in-wail.WAV", wav | p16, 16),
             {"in.wav", wav24, "", "in-wail.wav", wav24, 24},
             {"in.wav", wav | SF_FORMAT_PCM_U8, "", "in-wail.wav", wav | SF_FORMAT_PCM_U8, 8},
             {"in.wav", SF_FORMAT_WAVEX | f32, "", "in-wail.wav", SF_FORMAT_WAVEX | f32, 0},
             {"in.rf64", SF_FORMAT_RF64 | p32, "", "in-wail.wav", SF_FORMAT_WAVEX | p32, 32},
             {"in.aif", little, "", "in-wail.aif", little, 16},
             {"in.wav", wav | f32, "-o out.flac", "out.flac", flac24, 24},
             {"in.wav", wav | p32, "-o out.flac", "out.flac", flac24, 24},
             {"in.wav", kDouble, "--format pcm24 -o out.wav", "out.wav", wav24, 24},
             {"in.wav", wav | p16, "--format AIFF/pcm8", "in-wail.aiff", aiff | SF_FORMAT_PCM_S8, 8},
             {"in.wav", kDouble, "--format caf/float", "in-wail.caf", SF_FORMAT_CAF | f32, 0},
             {"in.flac", SF_FORMAT_FLAC | p16, "-o out.w64", "out.w64", SF_FORMAT_W64 | p16, 16},
             {"in.au", SF_FORMAT_AU | p16, "", "in-wail.au", SF_FORMAT_AU | p16, 16},
             {"in.ogg", ogg, "", "in-wail.flac", flac24, 24},
             {"in.ogg", ogg, "-o out.wav", "out.wav", wav24, 24},
             {"in.wav", wav | SF_FORMAT_IMA_ADPCM, "", "in-wail.flac", flac24, 24}}) {
        // clang-format on
        SCOPED_TRACE(std::string(input) + " " + options + " " + output);
        // Beyond full scale, which floating point keeps and integers do not.
        const bool isFloat = inputFormat == kDouble || (inputFormat & SF_FORMAT_SUBMASK) == f32;
        write(input, noise(4000, isFloat ? 1.5 : 0.9), 2, inputFormat);
        ASSERT_EQ(run(std::string("render --on-off off ") + input + " " + options), 0) << contentOf("err");
        std::vector<double> expected = rounded(read(input), bits);
        if (bits == 0)
            std::ranges::transform(expected, expected.begin(),
                                   [](double x) { return static_cast<float>(x); });
        EXPECT_EQ(read(output, outputFormat), expected);
    }
}

TEST_F(Render, SaturatesIntegersAndNamesOrFindsTheGainThatAvoidsIt)
{
    write("edge.wav", {32767.0 / 32768.0, -1.0}, 1, k16Bits);
    ASSERT_EQ(run("render edge.wav --on-off off"), 0);
    EXPECT_EQ(contentOf("err"), "");
    write("in.wav", noise(20000), 1, k16Bits);
    ASSERT_EQ(run("render in.wav -o full.wav --format double"), 0) << contentOf("err");
    ASSERT_EQ(run("render in.wav -o out.flac"), 0) << contentOf("err");
    const std::string warning = contentOf("err");
    const std::vector<double> full = read("full.wav", kDouble);
    EXPECT_EQ(read("out.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16), rounded(full, 16));
    const auto clipped =
        std::ranges::count_if(full, [](double x) { return x * 32768.0 > 32767.5 || x * 32768.0 < -32768.5; });
    EXPECT_NE(warning.find("out.flac: " + std::to_string(clipped) + " samples clipped"), std::string::npos)
        << warning;
    char summary[99];
    const auto magnitude = [](double x) { return std::fabs(x); };
    std::snprintf(summary, sizeof summary, "out.flac: 0.45 s, 1 channel, 44100 Hz, peak %.1f dBFS, ",
                  20.0 * std::log10(magnitude(std::ranges::max(full, {}, magnitude))));
    EXPECT_EQ(contentOf("out").find(summary), 0u) << contentOf("out");

    const std::string gain =
        warning.substr(warning.find("--gain"), warning.find(" would") - warning.find("--gain"));
    ASSERT_EQ(run("render in.wav -o out.flac " + gain), 0);
    EXPECT_EQ(contentOf("err"), "");
    EXPECT_GT(std::ranges::max(read("out.flac")), 0.9);
    EXPECT_EQ(run("render in.wav -o auto.flac --gain auto && cmp out.flac auto.flac"), 0) << contentOf("err");
    EXPECT_NE(contentOf("out").find(", gain -"), std::string::npos) << contentOf("out");
    EXPECT_EQ(run("render out.flac -o same.flac --gain auto --on-off off && cmp out.flac same.flac"), 0);
    EXPECT_EQ(contentOf("err"), "");
}

TEST_F(Render, DithersWithTriangularNoiseAndWarnsOfWhatIsNotFinite)
{
    std::vector<double> input(20000, 0.25 / 32768.0);
    write("in.wav", input, 1, kDouble);
    ASSERT_EQ(run("render in.wav -o out.wav --on-off off --format pcm16 --dither"), 0) << contentOf("err");
    double sum = 0.0, squares = 0.0;
    for (const double sample : read("out.wav", k16Bits)) {
        ASSERT_LE(std::fabs(sample * 32768.0), 1.0);
        sum += sample * 32768.0;
        squares += sample * 32768.0 * sample * 32768.0;
    }
    // The mean is the input's, and the variance of rounded and triangular noise together is a quarter of a
    // step's square.
    EXPECT_NEAR(sum / 20000.0, 0.25, 0.02);
    EXPECT_NEAR(squares / 20000.0 - 0.0625, 0.25, 0.02);

    input[7] = std::numeric_limits<double>::quiet_NaN();
    input[9] = std::numeric_limits<double>::infinity();
    write("in.wav", input, 1, kDouble);
    ASSERT_EQ(run("render in.wav -o out.wav"), 0);
    EXPECT_EQ(contentOf("err"), "warning: in.wav holds 2 samples not finite\n");
}

TEST_F(Render, LetsTheCombRingOutForATimeOrUntilItIsSilent)
{
    const std::vector<double> input = strokes(1000, 990);
    write("in.wav", input, 2, kDouble);
    std::vector<double> expected(2 * 44100);
    for (std::size_t channel = 0; channel < 2; ++channel) {
        std::vector<double> samples(44100);
        for (std::size_t i = 0; i < 500; ++i)
            samples[i] = input[2 * i + channel];
        const Plugin plugin;
        start(plugin);
        plugin.process(samples, 64);
        for (std::size_t i = 0; i < samples.size(); ++i)
            expected[2 * i + channel] = samples[i];
    }
    ASSERT_EQ(run("render in.wav -o out.wav --tail 0.5"), 0);
    EXPECT_EQ(read("out.wav", kDouble), std::vector(expected.begin(), expected.begin() + 1000 + 44100));

    ASSERT_EQ(run("render in.wav -o out.wav --tail auto"), 0);
    const auto isLoud = [](double x) { return std::fabs(x) >= std::pow(10.0, -90.0 / 20.0); };
    const auto last = std::find_if(expected.rbegin(), expected.rend(), isLoud);
    expected.resize(static_cast<std::size_t>(expected.rend() - last + 1) / 2 * 2);
    EXPECT_EQ(read("out.wav", kDouble), expected);
}

TEST_F(Render, ReadsAndWritesPipes)
{
    write("in.wav", noise(600000, 0.1), 1, k16Bits);  // more than is kept to go back
    ASSERT_EQ(run("render in.wav -o once.flac && $W render once.flac -o twice.wav && $W render once.flac -o "
                  "- >file.flac"),
              0);
    const std::vector<double> twice = read("twice.wav", k16Bits);
    EXPECT_EQ(read("file.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16), twice);
    for (const char* const pipe :
         {"cat in.wav | $W render - -o - | $W render - -q -o piped.wav",
          "cat once.flac | $W render - | $W render - -o piped.wav --on-off off",
          "cat once.flac | $W render - --format au | cat >x; $W render x -o piped.wav --on-off off",
          "cat once.flac | $W render - --format wav | cat >x; $W render x -o piped.wav --on-off off"}) {
        ASSERT_EQ(shell(pipe), 0) << contentOf("err");
        EXPECT_EQ(read("piped.wav"), twice) << pipe;
    }

    ASSERT_EQ(shell("exec 4< <((head -c 50000 in.wav; sleep 3) | $W render -q -); timeout 2 head -c 20000 "
                    "<&4 | wc -c"),
              0);
    EXPECT_EQ(contentOf("out"), "20000\n") << "live audio waits for the end";

    ASSERT_EQ(shell("$W render in.wav -o - | head -c 44"), 0);
    EXPECT_EQ(contentOf("out").substr(4, 4) + contentOf("out").substr(40), std::string(8, '\xff'));

    // A header that does not tell the length, or one that promises more than the pipe holds.
    const std::string whole = contentOf("in.wav");
    const auto withSizes = [&](const std::string& riff, const std::string& data) {
        return std::string(whole).replace(4, 4, riff).replace(whole.find("data") + 4, 4, data);
    };
    const std::string none(4, '\0'), all(4, '\xff'), most("\0\xf0\xff\x7f", 4);
    for (const std::string& sizes :
         {withSizes(none, none), withSizes(all, none), withSizes(all, all), withSizes(most, most)}) {
        std::ofstream("x.wav") << sizes;
        EXPECT_EQ(shell("cat x.wav | $W render - -o out.wav --on-off off && $W render x.wav -o file.wav "
                        "--on-off off"),
                  0);
        EXPECT_EQ(contentOf("err"), "");
        EXPECT_EQ(read("out.wav"), read("in.wav"));
        EXPECT_EQ(read("file.wav"), read("in.wav"));
    }
    // Block codecs and FLAC lose up to a block where they are cut.
    write("in.adpcm", noise(30000, 0.1), 1, SF_FORMAT_WAV | SF_FORMAT_IMA_ADPCM);
    const std::string cases[] = {"in.wav", "in.adpcm", "once.flac"};
    for (const std::string& file : cases) {
        const std::size_t expected = read(file.c_str()).size() / 2;
        ASSERT_EQ(shell("head -c $(($(stat -c %s " + file + ") / 2)) " + file +
                        " | $W render - -o out.wav --gain -20"),
                  0);
        EXPECT_EQ(contentOf("err"), "warning: standard input ends before the length in its header\n");
        EXPECT_NEAR(static_cast<double>(read("out.wav").size()), static_cast<double>(expected), 4200.0)
            << file;
    }
    expectFailure(1, "cat in.wav | $W render - --format caf | cat; exit ${PIPESTATUS[1]}",
                  "cannot stream caf");
    expectFailure(1, "TMPDIR=/nowhere; export TMPDIR; cat in.adpcm | $W render - -o out.wav", "set TMPDIR");
}

TEST_F(Render, CarriesMetadataAsFarAsTheContainersCan)
{
    SF_BROADCAST_INFO broadcast{};
    broadcast.version = 1;
    broadcast.time_reference_high = 1;
    broadcast.time_reference_low = 0xfffffff0u;
    SF_CUES cues{};
    cues.cue_count = 1;
    cues.cue_points[0] = {1, 100, 0x61746164, 0, 0, 100, {}};
    SF_INSTRUMENT loops{};
    loops.loop_count = 1;
    loops.loops[0] = {SF_LOOP_FORWARD, 10, 50, 0};
    int layout[6] = {SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_RIGHT,     SF_CHANNEL_MAP_CENTER,
                     SF_CHANNEL_MAP_LFE,  SF_CHANNEL_MAP_REAR_LEFT, SF_CHANNEL_MAP_REAR_RIGHT};
    {
        SndfileHandle sound("in.wav", SFM_WRITE, SF_FORMAT_WAVEX | SF_FORMAT_PCM_16, 6, 44100);
        sound.setString(SF_STR_TITLE, "Caf\xe9");
        sound.command(SFC_SET_BROADCAST_INFO, &broadcast, sizeof broadcast);
        sound.command(SFC_SET_CUE, &cues, sizeof cues);
        sound.command(SFC_SET_INSTRUMENT, &loops, sizeof loops);
        sound.command(SFC_SET_CHANNEL_MAP_INFO, layout, sizeof layout);
        sound.write(noise(60000, 0.1).data(), 60000);
    }
    // clang-format off
    for (const auto& [output, text, place, mark, loop, time, lost] : {
             std::tuple("out.wav", true, true, true, true, true, ""),
             {"out.aiff", true, true, true, false, false, "left out the broadcast extension, loops\n"},
             {"out.caf", true, true, false, false, false, "left out the broadcast extension, cue points, loops\n"},
             {"out.flac", true, false, false, false, false, "left out the broadcast extension, cue points, loops\n"},
             {"out.au", false, false, false, false, false,
              "left out titles, the channel layout, the broadcast extension, cue points, loops\n"}}) {
        // clang-format on
        SCOPED_TRACE(output);
        ASSERT_EQ(run(std::string("render in.wav --verbose --on-off off -o ") + output), 0)
            << contentOf("err");
        const std::string printed = contentOf("out");
        EXPECT_EQ(printed.find(*lost == '\0' ? "left out" : lost) != std::string::npos, *lost != '\0')
            << printed;
        EXPECT_NE(printed.find("blocks of 64, on-off off, sense 0.84"), std::string::npos) << printed;
        SndfileHandle sound(output);
        EXPECT_STREQ(sound.getString(SF_STR_TITLE), text ? "Caf\xc3\xa9" : nullptr);
        int found[6] = {};
        sound.command(SFC_GET_CHANNEL_MAP_INFO, found, sizeof found);
        EXPECT_EQ(std::equal(found, found + 6, layout), place);
        cues.cue_points[0].sample_offset = loops.loops[0].end = 0;
        sound.command(SFC_GET_CUE, &cues, sizeof cues);
        EXPECT_EQ(cues.cue_points[0].sample_offset == 100, mark);
        sound.command(SFC_GET_INSTRUMENT, &loops, sizeof loops);
        EXPECT_EQ(loops.loops[0].end == 50, loop);
        EXPECT_EQ(sound.command(SFC_GET_BROADCAST_INFO, &broadcast, sizeof broadcast) == SF_TRUE, time);
        EXPECT_EQ(read(output), read("in.wav"));
    }
    ASSERT_EQ(run("render in.wav -o out.wav --start 0.1"), 0);
    SndfileHandle("out.wav").command(SFC_GET_BROADCAST_INFO, &broadcast, sizeof broadcast);
    EXPECT_EQ(broadcast.time_reference_high, 2u);  // 4410 frames later
    EXPECT_EQ(broadcast.time_reference_low, 4410u - 16u);
}

TEST_F(Render, RendersManyFilesAndSkipsThoseThatFail)
{
    for (const char* const name : {"a.wav", "b.wav", "c.wav"})
        write(name, noise(2000, 0.1), 1, k16Bits);
    std::ofstream("bad.wav") << "this is no sound";
    EXPECT_EQ(run("render a.wav bad.wav b.wav c.wav --output-dir done --format flac"), 1);
    EXPECT_EQ(contentOf("err"), "error: cannot read bad.wav as audio: Format not recognised\n"
                                "error: 1 of 4 files were not rendered\n");
    for (const char* const name : {"done/a.flac", "done/b.flac", "done/c.flac"})
        EXPECT_EQ(read(name, SF_FORMAT_FLAC | SF_FORMAT_PCM_16).size(), 2000u);
    EXPECT_FALSE(fs::exists("done/bad.flac"));
}

TEST_F(Render, FailsWithOneLineAndLeavesNothingBehind)
{
    write("in.wav", noise(10000), 1, k16Bits);
    write("in.flac", noise(10000), 1, SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
    std::ofstream("text.wav") << "this is no sound";
    std::ofstream("empty.wav");
    fs::create_directory("folder.wav");
    const std::string original = contentOf("in.wav");
    std::ofstream("moves.json") << R"({"reso": {"50%": 1}})";
    expectFailures("render-failures.txt");
    EXPECT_EQ(contentOf("in.wav"), original);

    for (const auto& [name, format] : {std::pair("cut.wav", SF_FORMAT_WAV),
                                       {"cut.aiff", SF_FORMAT_AIFF},
                                       {"cut.au", SF_FORMAT_AU},
                                       {"cut.caf", SF_FORMAT_CAF},
                                       {"cut.w64", SF_FORMAT_W64},
                                       {"cut.flac", SF_FORMAT_FLAC}}) {
        write(name, noise(10000), 1, format | SF_FORMAT_PCM_16);
        fs::resize_file(name, fs::file_size(name) / 2);
        expectFailure(1, std::string("$W render -o out.wav ") + name, "ends before the length in its header");
    }
}

TEST_F(Render, CleansUpWhenItIsInterruptedOrTheDiskIsFull)
{
    write("in.wav", noise(20000), 1, k16Bits);
    for (const char* const format : {"wav", "wav --dither", "wav/double"})
        expectFailure(1, std::string("ulimit -f 8; $W render in.wav -o out.wav --format ") + format,
                      "File too large");
    for (const char* const arguments :
         {"render in.wav -o -", "render in.wav --gain -20", "preset", "info --json", "--help"})
        expectFailure(1, std::string("$W ") + arguments + " >/dev/full", "No space left");
    for (const char* const arguments : {"render in.wav -o -", "info --json", "preset"}) {
        EXPECT_EQ(shell(std::string("$W ") + arguments + " | true; exit ${PIPESTATUS[0]}"), 0);
        EXPECT_EQ(contentOf("err"), "") << arguments;
    }
    // Half a file in a pipe whose other end stays open: the program waits for the rest.
    const std::string wait = "rm -f pipe; mkfifo pipe; exec 3<>pipe; head -c 20000 in.wav >&3; ";
    for (const auto& [signal, status] : {std::pair("INT", 130), {"TERM", 143}, {"HUP", 129}, {"QUIT", 131}}) {
        EXPECT_EQ(shell(wait + "timeout --preserve-status -s " + signal +
                        " 0.5 $W render pipe -o out.wav; exit $?"),
                  status);
        expectOutputUntouched();
    }
    EXPECT_EQ(shell(wait + "trap '' HUP; $W render pipe -o done.wav 3>&- & sleep 0.3; kill -HUP $!; tail -c "
                           "+20001 in.wav >&3; exec 3>&-; wait $!"),
              0)
        << contentOf("err");
    EXPECT_EQ(read("done.wav").size(), 20000u);
}

TEST_F(Render, ReplacesOutputsAsTheirOwnersExpect)
{
    write("in.wav", noise(1000, 0.1), 1, k16Bits);
    ASSERT_EQ(shell("umask 027; $W render in.wav -o new.wav; echo old >old.wav; chmod 604 old.wav; ln -s "
                    "old.wav link.wav; "
                    "ln -s ../${PWD##*/}/target.wav dangling.wav; $W render in.wav -o link.wav; $W render "
                    "in.wav -o dangling.wav; "
                    "stat -c '%n %a %F' new.wav old.wav link.wav target.wav dangling.wav"),
              0);
    const std::string listing = contentOf("out");
    EXPECT_EQ(listing.substr(listing.find("new.wav 6")),
              "new.wav 640 regular file\nold.wav 604 regular file\nlink.wav 777 symbolic link\n"
              "target.wav 640 regular file\ndangling.wav 777 symbolic link\n");
    EXPECT_EQ(contentOf("old.wav"), contentOf("new.wav"));
    EXPECT_EQ(contentOf("target.wav"), contentOf("new.wav"));
    // Root may write anything.
    expectFailure(1,
                  "chmod 777 .; chmod 444 out.wav; exec $([ $(id -u) != 0 ] || echo setpriv --reuid=65534 "
                  "--clear-groups) "
                  "$W render in.wav -o out.wav",
                  "Permission denied");
}
