#pragma once

#include <gtest/gtest.h>

#include <sndfile.hh>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

// The program, run in an empty folder of its own.
class ProgramTest : public testing::Test
{
protected:
    ProgramTest() : folder(std::filesystem::temp_directory_path() / ("wail-test-" + std::to_string(getpid())))
    {
        std::filesystem::create_directory(folder);
        std::filesystem::current_path(folder);
    }
    ~ProgramTest() override
    {
        std::filesystem::current_path("/");
        std::filesystem::remove_all(folder);
    }

    // Runs a shell command, in which $W is the program, and answers its exit status; what it says is in the
    // files "out" and "err".
    static int shell(const std::string& command)
    {
        const std::string whole = "W='" WAIL_PROGRAM "'; { " + command + "; } >out 2>err";
        return WEXITSTATUS(std::system(whole.c_str()));
    }
    static int run(const std::string& arguments) { return shell("$W " + arguments); }

    static std::string contentOf(const std::string& file)
    {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    // One line on standard error, what stood in out.wav still there, and nothing half-written.
    static void expectFailure(int status, const std::string& command)
    {
        SCOPED_TRACE(command);
        std::ofstream("out.wav") << "precious";
        EXPECT_EQ(shell(command), status);
        const std::string message = contentOf("err");
        EXPECT_EQ(message.rfind("error: ", 0), 0u) << message;
        EXPECT_EQ(std::count(message.begin(), message.end(), '\n'), 1) << message;
        expectOutputUntouched();
    }
    static void expectOutputUntouched()
    {
        EXPECT_EQ(contentOf("out.wav"), "precious");
        for (const auto& entry : std::filesystem::directory_iterator("."))
            EXPECT_NE(entry.path().filename().string().front(), '.') << entry.path();
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

    std::filesystem::path folder;
};
