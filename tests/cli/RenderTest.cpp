#include "tests/cli/ProgramTest.h"
#include "tests/support/Signals.h"
#include "tests/support/TestHost.h"

#include <limits>

namespace
{

namespace fs = std::filesystem;

using Render = ProgramTest;

// As integers of these bits hold the samples; 0 bits: as 32-bit floating point does.
std::vector<double> rounded(std::vector<double> samples, int bits)
{
    const double scale = std::exp2(bits - 1);
    for (double& sample : samples)
        sample = bits > 0 ? std::clamp(std::nearbyint(sample * scale), -scale, scale - 1.0) / scale
                          : static_cast<double>(static_cast<float>(sample));
    return samples;
}

}  // namespace

TEST_F(Render, GivesEveryChannelAnInstanceWhoseParametersMoveWithTheBlocks)
{
    const std::vector<double> input = strokes(2 * 5000, 3000);
    write("in.wav", input, 2, kDouble);
    std::ofstream("moves.json") << R"({"Sense": {"0": 0.25, "100%": 0.75}, "on-off": true, "Reso": 0.875,
                                       "invert": {"0s": "off", "0.05s": 1, "4000": false}})";
    // The input's frames from `first` on, then silence.
    for (const auto& [options, first, frames, total] :
         {std::tuple("--tail 0.1", 0, 5000, 9410), {"--start 0.05 --duration 0.05", 2205, 2205, 2205}}) {
        run(std::string("$W render in.wav -o out.wav --block 480 --automation moves.json --range 1 ") +
            options);
        const std::vector<double> output = read("out.wav", kDouble);
        ASSERT_EQ(output.size(), 2u * static_cast<unsigned>(total));
        for (std::size_t channel = 0; channel < 2; ++channel) {
            std::vector<double> samples(static_cast<std::size_t>(total)), rendered;
            for (int i = 0; i < frames; ++i)
                samples[static_cast<std::size_t>(i)] =
                    input[static_cast<std::size_t>(2 * (first + i)) + channel];
            for (std::size_t i = channel; i < output.size(); i += 2)
                rendered.push_back(output[i]);
            const Plugin plugin;
            plugin.setRate(44100.0f);
            plugin.set(2, 0.875f);
            plugin.set(3, 1.0f);
            for (int n = 0; n < total; n += 480) {
                const int time = first + n;
                plugin.set(1, static_cast<float>(std::min(0.75, 0.25 + 0.5 * (time / 5000.0))));
                plugin.set(5, time >= 2205 && time < 4000 ? 1.0f : 0.0f);
                if (n == 0)
                    plugin.process(nullptr, 0);  // a rendering begins without a glide
                plugin.process(samples.data() + n, std::min(480, total - n));
            }
            EXPECT_EQ(rendered, samples) << options;
        }
    }
}

TEST_F(Render, WritesTheFormatOfTheInputUnlessToldOtherwise)
{
    constexpr int wav = SF_FORMAT_WAV, wavex = SF_FORMAT_WAVEX, aiff = SF_FORMAT_AIFF, flac = SF_FORMAT_FLAC,
                  u8 = SF_FORMAT_PCM_U8, p16 = SF_FORMAT_PCM_16, p24 = SF_FORMAT_PCM_24,
                  p32 = SF_FORMAT_PCM_32, f32 = SF_FORMAT_FLOAT, ogg = SF_FORMAT_OGG | SF_FORMAT_VORBIS;
    // clang-format off
    for (const auto& [input, inputFormat, options, output, outputFormat, bits] : {
             std::tuple("in.WAV", wav | p16, "", "in-wail.WAV", wav | p16, 16),
             {"in.wav", wav | p24, "", "in-wail.wav", wav | p24, 24},
             {"in.wav", wav | u8, "", "in-wail.wav", wav | u8, 8},
             {"in.wav", wavex | f32, "", "in-wail.wav", wavex | f32, 0},
             {"in.rf64", SF_FORMAT_RF64 | p32, "", "in-wail.wav", wavex | p32, 32},
             {"in.aif", aiff | p16, "", "in-wail.aif", aiff | p16, 16},
             {"in.wav", wav | f32, "-o out.flac", "out.flac", flac | p24, 24},
             {"in.wav", wav | p32, "-o out.flac", "out.flac", flac | p24, 24},
             {"in.wav", kDouble, "--format pcm24 -o out.wav", "out.wav", wav | p24, 24},
             {"in.wav", wav | p16, "--format AIFF/pcm8", "in-wail.aiff", aiff | SF_FORMAT_PCM_S8, 8},
             {"in.wav", kDouble, "--format caf/float", "in-wail.caf", SF_FORMAT_CAF | f32, 0},
             {"in.flac", flac | p16, "-o out.w64", "out.w64", SF_FORMAT_W64 | p16, 16},
             {"in.au", SF_FORMAT_AU | p16, "", "in-wail.au", SF_FORMAT_AU | p16, 16},
             {"in.ogg", ogg, "", "in-wail.flac", flac | p24, 24},
             {"in.ogg", ogg, "-o out.wav", "out.wav", wav | p24, 24},
             {"in.wav", wav | SF_FORMAT_IMA_ADPCM, "", "in-wail.flac", flac | p24, 24}}) {
        // clang-format on
        SCOPED_TRACE(std::string(input) + " " + options + " " + output);
        // Beyond full scale, which floating point keeps and integers do not.
        const bool isFloat = inputFormat == kDouble || (inputFormat & SF_FORMAT_SUBMASK) == f32;
        write(input, noise(4000, isFloat ? 1.5 : 0.9), 2, inputFormat);
        run(std::string("$W render --on-off off ") + input + " " + options);
        EXPECT_EQ(read(output, outputFormat), rounded(read(input), bits));
    }
}

TEST_F(Render, SaturatesAndWarnsWithTheGainThatAvoidsIt)
{
    write("edge.wav", {32767.0 / 32768.0, -1.0}, 1, k16Bits);
    run("$W render edge.wav --on-off off");
    EXPECT_EQ(contentOf("err"), "");
    write("in.wav", noise(20000), 1, k16Bits);
    run("$W render in.wav -o full.wav --format double");
    const std::vector<double> full = read("full.wav", kDouble);
    const std::string printed = run("$W render in.wav -o out.flac"), warning = contentOf("err");
    EXPECT_EQ(read("out.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16), rounded(full, 16));
    const auto clipped =
        std::ranges::count_if(full, [](double x) { return x > 1.0 - 0x1p-16 || x < -1.0 - 0x1p-16; });
    EXPECT_THAT(warning, HasSubstr("out.flac: " + std::to_string(clipped) + " samples clipped"));
    const auto magnitude = [](double x) { return std::fabs(x); };
    char summary[99];
    std::snprintf(summary, sizeof summary, "out.flac: 0.45 s, 1 channel, 44100 Hz, peak %.1f dBFS, ",
                  20.0 * std::log10(magnitude(std::ranges::max(full, {}, magnitude))));
    EXPECT_THAT(printed, testing::StartsWith(summary));

    run("$W render in.wav -q -o out.flac $(grep -o -e '--gain [-0-9.]*' <<'END'\n" + warning + "END\n)");
    EXPECT_EQ(contentOf("out") + contentOf("err"), "");
    EXPECT_GT(std::ranges::max(read("out.flac")), 0.9);
}

TEST_F(Render, DithersWithTriangularNoiseAndWarnsOfWhatIsNotFinite)
{
    std::vector<double> input(20000, 0.25 / 32768.0);
    input[7] = std::numeric_limits<double>::quiet_NaN();
    input[9] = std::numeric_limits<double>::infinity();
    write("in.wav", input, 1, kDouble);
    run("$W render in.wav -o out.wav --on-off off --format pcm16 --dither");
    EXPECT_EQ(contentOf("err"), "warning: in.wav holds 2 samples not finite\n");
    double sum = 0.0, squares = 0.0;
    for (const double sample : read("out.wav", k16Bits)) {
        EXPECT_LE(std::fabs(sample * 32768.0), 1.0);
        sum += sample * 32768.0;
        squares += sample * 32768.0 * sample * 32768.0;
    }
    // The mean is the input's, and the variance of rounded and triangular noise together is a quarter of a
    // step's square.
    EXPECT_NEAR(sum / 20000.0, 0.25, 0.02);
    EXPECT_NEAR(squares / 20000.0 - 0.0625, 0.25, 0.02);
}

TEST_F(Render, ReadsAndWritesPipes)
{
    write("in.wav", noise(200000, 0.1), 1, k16Bits);
    run("$W render in.wav -o once.flac; $W render once.flac -o twice.wav; $W render once.flac -o - "
        ">file.flac");
    const std::vector<double> twice = read("twice.wav", k16Bits);
    EXPECT_EQ(read("file.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16), twice);
    for (const char* const pipe :
         {"cat in.wav | $W render - -o - | $W render - -q -o piped.wav",
          "cat once.flac | $W render - | $W render - -o piped.wav --on-off off",
          "cat once.flac | $W render - --format au | cat >x; $W render x -o piped.wav --on-off off",
          "cat once.flac | $W render - --format wav | cat >x; $W render x -o piped.wav --on-off off"}) {
        run(pipe);
        EXPECT_EQ(read("piped.wav"), twice) << pipe;
    }
    EXPECT_EQ(run("exec 4< <((head -c 50000 in.wav; sleep 3) | $W render -q -); timeout 2 head -c 20000 <&4 "
                  "| wc -c"),
              "20000\n")
        << "live audio waits for the end";
    const std::string header = run("$W render in.wav -o - | head -c 44");
    EXPECT_EQ(header.substr(4, 4) + header.substr(40), std::string(8, '\xff'));

    // Headers that do not tell the length, in a pipe and in a file.
    const std::string none(4, '\0'), all(4, '\xff'), most("\0\xf0\xff\x7f", 4);
    for (const auto& [riff, data] : {std::pair(none, none), {all, none}, {all, all}, {most, most}}) {
        std::string bytes = contentOf("in.wav");
        std::ofstream("x.wav") << bytes.replace(4, 4, riff).replace(bytes.find("data") + 4, 4, data);
        for (const char* const command : {"cat x.wav | $W render -", "$W render x.wav"}) {
            run(std::string(command) + " -o out.wav --on-off off");
            EXPECT_EQ(contentOf("err"), "");
            EXPECT_EQ(read("out.wav"), read("in.wav"));
        }
    }
    std::string bytes = contentOf("in.wav");
    std::ofstream("x.wav") << bytes.replace(bytes.find("data") + 4, 4, std::string("\0\0\0\xb0", 4));
    expectFailure(1, "$W render x.wav -o out.wav", "ends before the length in its header");
    // A header that promises more than the pipe holds; FLAC loses up to a block where it is cut.
    for (const std::string file : {"in.wav", "once.flac"}) {
        run("head -c $(($(stat -c %s " + file + ") / 2)) " + file + " | $W render - -o out.wav --gain -20");
        EXPECT_EQ(contentOf("err"), "warning: standard input ends before the length in its header\n");
        EXPECT_NEAR(static_cast<double>(read("out.wav").size()), 100000.0, 4200.0) << file;
    }
}

TEST_F(Render, CarriesMetadataAsFarAsTheContainersCan)
{
    SF_BROADCAST_INFO broadcast{};
    broadcast.version = 1;
    broadcast.time_reference_high = 1;
    broadcast.time_reference_low = 0xfffffff0u;
    SF_CUES cues{1, {{1, 100, 0x61746164, 0, 0, 100, {}}}};
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
    const std::string b = "the broadcast extension", c = ", cue points", l = ", loops";
    for (const auto& [options, left] : {std::pair("out.wav", std::string()),
                                        {"out.wav --start 0.1", "cue points, loops"},
                                        {"out.aiff", b + l},
                                        {"out.caf", b + c + l},
                                        {"out.flac", b + c + l},
                                        {"out.au", "titles, the channel layout, " + b + c + l}}) {
        const std::string output = std::string(options).substr(0, std::string(options).find(' '));
        const std::string printed = run(std::string("$W render in.wav --verbose --on-off off -o ") + options);
        EXPECT_THAT(printed, HasSubstr("blocks of 64, --on-off off --sense 0.84"));
        const std::string lost = left.empty() ? "in.wav: plug-in" : output + ": left out " + left + "\n";
        EXPECT_THAT(printed, HasSubstr(lost));
        const auto holds = [&left = left](const std::string& what) {
            return left.find(what) == std::string::npos;
        };
        SndfileHandle sound(output);
        EXPECT_STREQ(sound.getString(SF_STR_TITLE), holds("titles") ? "Caf\xc3\xa9" : nullptr);
        int found[6] = {};
        sound.command(SFC_GET_CHANNEL_MAP_INFO, found, sizeof found);
        EXPECT_EQ(std::ranges::equal(found, layout), holds("layout") && output != "out.flac") << output;
        cues.cue_points[0].sample_offset = loops.loops[0].end = 0;
        sound.command(SFC_GET_CUE, &cues, sizeof cues);
        EXPECT_EQ(cues.cue_points[0].sample_offset, holds("cue") ? 100u : 0u) << output;
        sound.command(SFC_GET_INSTRUMENT, &loops, sizeof loops);
        EXPECT_EQ(loops.loops[0].end, holds("loops") ? 50u : 0u) << output;
        EXPECT_EQ(sound.command(SFC_GET_BROADCAST_INFO, &broadcast, sizeof broadcast) == SF_TRUE, holds(b));
        const bool isLater = std::string(options).find("--start") != std::string::npos;  // by 4410 frames
        EXPECT_EQ(broadcast.time_reference_high, isLater ? 2u : 1u) << options;
        EXPECT_EQ(broadcast.time_reference_low, isLater ? 4410u - 16u : 0xfffffff0u) << options;
        broadcast.time_reference_high = 1;
        broadcast.time_reference_low = 0xfffffff0u;
        const std::vector<double> input = read("in.wav");
        EXPECT_EQ(read(output), std::vector(input.begin() + (isLater ? 6 * 4410 : 0), input.end()));
    }
    // The header of a pipe has them too, and what FLAC implies of its channels is not lost.
    run("$W render in.wav -o - --on-off off | $W render - -o piped.wav --on-off off; "
        "$W render out.flac -o surround.wav --on-off off");
    EXPECT_STREQ(SndfileHandle("piped.wav").getString(SF_STR_TITLE), "Caf\xc3\xa9");
    for (const char* const output : {"piped.wav", "surround.wav"}) {
        EXPECT_EQ(read(output), read("in.wav")) << output;
        int found[6] = {};
        SndfileHandle(output).command(SFC_GET_CHANNEL_MAP_INFO, found, sizeof found);
        EXPECT_TRUE(std::ranges::equal(found, layout)) << output;
    }
}

TEST_F(Render, FailsWithOneLineAndLeavesNothingBehind)
{
    write("in.wav", noise(10000, 0.1), 1, k16Bits);
    write("in.flac", noise(10000, 0.1), 1, SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
    write("in.adpcm", noise(10000, 0.1), 1, SF_FORMAT_WAV | SF_FORMAT_IMA_ADPCM);
    std::ofstream("text.wav") << "this is no sound";
    std::ofstream("empty.wav");
    fs::create_directory("folder.wav");
    const std::string original = contentOf("in.wav");
    std::ofstream("moves.json") << R"({"reso": {"50%": 1}})";
    expectFailures("failures.txt");
    EXPECT_EQ(contentOf("in.wav"), original);
    for (const auto& [name, format] : {std::pair("cut.wav", SF_FORMAT_WAV),
                                       {"cut.aiff", SF_FORMAT_AIFF},
                                       {"cut.au", SF_FORMAT_AU},
                                       {"cut.caf", SF_FORMAT_CAF},
                                       {"cut.w64", SF_FORMAT_W64},
                                       {"cut.flac", SF_FORMAT_FLAC}}) {
        write(name, noise(10000), 1, format | SF_FORMAT_PCM_16);
        fs::resize_file(name, fs::file_size(name) / 2);
        expectFailure(1, std::string("$W render -o out.wav ") + name,
                      std::string("cannot read all of ") + name);
    }

    EXPECT_EQ(shell("cp in.wav a.wav; cp in.wav b.wav; $W render a.wav text.wav b.wav --output-dir done "
                    "--format flac"),
              1);
    EXPECT_EQ(contentOf("err"),
              "error: cannot read text.wav as audio: Format not recognised; convert it to WAV or FLAC first\n"
              "error: 1 of 3 files were not rendered\n");
    EXPECT_EQ(read("done/a.flac"), read("done/b.flac"));
    EXPECT_FALSE(fs::exists("done/text.flac"));
}

TEST_F(Render, CleansUpWhenItIsInterruptedOrTheDiskIsFull)
{
    write("in.wav", noise(20000, 0.1), 1, k16Bits);
    for (const char* const format : {"wav", "wav --dither", "wav/double"})
        expectFailure(1, std::string("ulimit -f 8; $W render in.wav -o out.wav --format ") + format,
                      "File too large");
    for (const std::string arguments :
         {"render in.wav -o -", "render in.wav", "preset", "info --json", "--help"}) {
        expectFailure(1, "$W " + arguments + " >/dev/full", "No space left");
        EXPECT_EQ(shell("$W " + arguments + " 2>/dev/null | true; exit ${PIPESTATUS[0]}"), 0) << arguments;
    }
    // Half a file in a pipe whose other end stays open: the program waits for the rest.
    const std::string wait = "rm -f pipe; mkfifo pipe; exec 3<>pipe; head -c 20000 in.wav >&3; ";
    for (const auto& [signal, status] : {std::pair("INT", 130), {"TERM", 143}, {"HUP", 129}, {"QUIT", 131}}) {
        EXPECT_EQ(shell(wait + "timeout --preserve-status -s " + signal +
                        " 0.5 $W render pipe -o out.wav; exit $?"),
                  status);
        expectOutputUntouched();
    }
    run(wait + "trap '' HUP; $W render pipe -o done.wav 3>&- & sleep 0.3; kill -HUP $!; tail -c +20001 "
               "in.wav >&3; "
               "exec 3>&-; wait $!");
    EXPECT_EQ(read("done.wav").size(), 20000u);
}

TEST_F(Render, ReplacesOutputsAsTheirOwnersExpect)
{
    write("in.wav", noise(1000, 0.1), 1, k16Bits);
    EXPECT_THAT(
        run("umask 027; $W render in.wav -o new.wav; echo old >old.wav; chmod 604 old.wav; ln -s old.wav "
            "link.wav; ln -s ../${PWD##*/}/target.wav dangling.wav; $W render in.wav -o link.wav; $W "
            "render "
            "in.wav -o dangling.wav; cmp new.wav old.wav; cmp new.wav target.wav; "
            "stat -c '%n %a %F' new.wav old.wav link.wav target.wav dangling.wav"),
        testing::EndsWith("new.wav 640 regular file\nold.wav 604 regular file\nlink.wav 777 symbolic link\n"
                          "target.wav 640 regular file\ndangling.wav 777 symbolic link\n"));
    // Root may write anything.
    expectFailure(1,
                  "chmod 777 .; chmod 444 out.wav; exec $([ $(id -u) != 0 ] || echo setpriv --reuid=65534 "
                  "--clear-groups) $W render in.wav -o out.wav",
                  "Permission denied");
}
