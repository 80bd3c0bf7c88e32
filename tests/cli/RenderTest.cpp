#include "tests/support/Signals.h"
#include "tests/support/TestHost.h"

#include <gtest/gtest.h>

#include <sndfile.hh>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>

namespace
{

namespace fs = std::filesystem;

class Render : public testing::Test
{
protected:
    Render() : folder(fs::temp_directory_path() / ("wail-test-" + std::to_string(getpid())))
    {
        fs::create_directory(folder);
        fs::current_path(folder);
    }
    ~Render() override
    {
        fs::current_path("/");
        fs::remove_all(folder);
    }

    // Runs the program and answers its exit status; what it says is in the files "out" and "err".
    static int run(const std::string& arguments)
    {
        return WEXITSTATUS(std::system((WAIL_PROGRAM " " + arguments + " >out 2>err").c_str()));
    }

    static std::string contentOf(const char* file)
    {
        std::ifstream stream(file);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    // 44.1 kHz.
    static void write(const char* file, const std::vector<double>& samples, int channels, int format)
    {
        SndfileHandle(file, SFM_WRITE, format, channels, 44100)
            .write(samples.data(), static_cast<sf_count_t>(samples.size()));
    }

    static std::vector<double> read(const char* file, int format)
    {
        SndfileHandle sound(file);
        EXPECT_EQ(sound.format(), format);
        EXPECT_EQ(sound.samplerate(), 44100);
        std::vector<double> samples(static_cast<std::size_t>(sound.frames() * sound.channels()));
        sound.read(samples.data(), static_cast<sf_count_t>(samples.size()));
        return samples;
    }

    fs::path folder;
};

}  // namespace

TEST_F(Render, GivesEveryChannelAnInstanceOfItsOwn)
{
    const std::vector<double> input = strokes(2 * 5000, 3000);
    write("in.wav", input, 2, SF_FORMAT_WAV | SF_FORMAT_DOUBLE);
    ASSERT_EQ(run("render in.wav -o out.wav --block 480 --sense 0.25 --invert on"), 0) << contentOf("err");

    const std::vector<double> output = read("out.wav", SF_FORMAT_WAV | SF_FORMAT_DOUBLE);
    ASSERT_EQ(output.size(), input.size());
    for (std::size_t channel = 0; channel < 2; ++channel) {
        const Plugin plugin;
        plugin.setRate(44100.0f);
        plugin.set(1, 0.25f);
        plugin.set(5, 1.0f);
        std::vector<double> samples;
        for (std::size_t i = channel; i < input.size(); i += 2)
            samples.push_back(input[i]);
        for (int n = 0; n < 5000; n += 480)
            plugin.process(samples.data() + n, std::min(480, 5000 - n));
        for (std::size_t i = 0; i < samples.size(); ++i)
            ASSERT_EQ(output[2 * i + channel], samples[i]) << i;
    }
}

TEST_F(Render, LimitsIntegerFormatsAndSaysSo)
{
    write("in.wav", noise(20000), 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    ASSERT_EQ(run("render in.wav -o out.flac --range 0"), 0) << contentOf("err");
    EXPECT_NE(contentOf("err").find("samples clipped at full scale"), std::string::npos);
    const std::vector<double> output = read("out.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
    for (std::size_t i = 1; i < output.size(); ++i)  // a sample that wrapped round would jump by almost 2
        ASSERT_LT(std::abs(output[i] - output[i - 1]), 2.0);
    EXPECT_GT(*std::max_element(output.begin(), output.end()), 0.9999);
}

TEST_F(Render, FailsWithOneLineAndLeavesNothingBehind)
{
    write("in.wav", noise(100), 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    std::ofstream("text.wav") << "this is no sound";
    std::ofstream("empty.wav");
    std::ofstream("out.wav") << "precious";
    fs::create_directory("folder.wav");
    const std::string original = contentOf("in.wav");
    const std::map<int, std::vector<const char*>> cases{
        {1,
         {"missing.wav -o out.wav", "text.wav -o out.wav", "empty.wav -o out.wav", "in.wav -o in.wav",
          "in.wav -o ./../$(basename $PWD)/in.wav", "in.wav -o nowhere/out.wav", "in.wav -o folder.wav",
          "in.wav -o out.unknown"}},
        {2,
         {"", "in.wav -o out.wav --sense abc", "in.wav -o out.wav --sense 1.5",
          "in.wav -o out.wav --sense nan", "in.wav -o out.wav --invert 1", "in.wav -o out.wav --block 0",
          "in.wav -o out.wav --unknown"}}};
    for (const auto& [status, commands] : cases) {
        for (const std::string arguments : commands) {
            SCOPED_TRACE(arguments);
            EXPECT_EQ(run("render " + arguments), status);
            const std::string message = contentOf("err");
            EXPECT_EQ(message.rfind("error: ", 0), 0u) << message;
            EXPECT_EQ(std::count(message.begin(), message.end(), '\n'), 1) << message;
            EXPECT_EQ(contentOf("out.wav"), "precious");
            EXPECT_EQ(contentOf("in.wav"), original);
        }
    }
    EXPECT_EQ(std::distance(fs::directory_iterator("."), {}), 7);  // the four files, the folder, out and err
    EXPECT_EQ(run("render --help"), 0);
    EXPECT_NE(contentOf("out").find("--sense"), std::string::npos);
}
