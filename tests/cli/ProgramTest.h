#pragma once

#include <gmock/gmock.h>

#include <sndfile.hh>
#include <sys/wait.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

using testing::HasSubstr;

inline constexpr int kDouble = SF_FORMAT_WAV | SF_FORMAT_DOUBLE;
inline constexpr int k16Bits = SF_FORMAT_WAV | SF_FORMAT_PCM_16;

// The program, run in an empty folder of its own.
class ProgramTest : public testing::Test
{
protected:
    ProgramTest()
    {
        std::string pattern = std::filesystem::temp_directory_path() / "wail-test-XXXXXX";
        folder = mkdtemp(pattern.data());
        std::filesystem::current_path(folder);
    }
    ~ProgramTest() override
    {
        std::filesystem::current_path("/");
        std::filesystem::remove_all(folder);
    }

    // Runs a bash command, in which $W is the program, and returns its exit status; its output is in the
    // files "out" and "err".
    static int shell(const std::string& command)
    {
        std::ofstream("command") << "W='" WAIL_PROGRAM "'; " << command << "\n";
        return WEXITSTATUS(std::system("bash ./command >out 2>err </dev/null"));
    }
    // Runs a command that succeeds, and returns its output.
    static std::string run(const std::string& command)
    {
        EXPECT_EQ(shell(command), 0) << command << "\n" << contentOf("err");
        return contentOf("out");
    }
    // One line on standard error, which contains the message; what stood in out.wav is still there, and
    // nothing is half-written.
    static void expectFailure(int status, const std::string& command, const std::string& message)
    {
        SCOPED_TRACE(command);
        std::ofstream("out.wav") << "precious";
        EXPECT_EQ(shell(command), status);
        const std::string error = contentOf("err");
        EXPECT_THAT(error, testing::StartsWith("error: "));
        EXPECT_THAT(error, HasSubstr(message));
        EXPECT_EQ(std::ranges::count(error, '\n'), 1) << error;
        expectOutputUntouched();
    }
    static void expectOutputUntouched()
    {
        EXPECT_EQ(contentOf("out.wav"), "precious");
        for (const auto& entry : std::filesystem::directory_iterator("."))
            EXPECT_NE(entry.path().filename().string().front(), '.') << entry.path();
    }
    // The failures in a table of this folder, whose rows are "status | command | message". setUp: runs before
    // each command.
    static void expectFailures(const std::string& table, const std::string& setUp = "")
    {
        std::ifstream rows(WAIL_TESTS "/" + table);
        EXPECT_TRUE(rows.is_open());
        for (std::string row; std::getline(rows, row);) {
            const std::size_t command = row.find(" | ") + 3, message = row.rfind(" | ") + 3;
            expectFailure(std::stoi(row), setUp + row.substr(command, message - 3 - command),
                          row.substr(message));
        }
    }

    static std::string contentOf(const std::string& file)
    {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    // 44.1 kHz.
    static SndfileHandle write(const char* file, const std::vector<double>& samples, int channels, int format)
    {
        SndfileHandle sound(file, SFM_WRITE, format, channels, 44100);
        sound.command(SFC_SET_CLIPPING, nullptr, SF_TRUE);
        sound.write(samples.data(), static_cast<sf_count_t>(samples.size()));
        return sound;
    }
    static std::vector<double> read(const std::string& file, int format = 0)
    {
        SndfileHandle sound(file);
        EXPECT_TRUE(format == 0 || sound.format() == format) << file << std::hex << sound.format();
        EXPECT_EQ(sound.samplerate(), 44100);
        std::vector<double> samples(static_cast<std::size_t>(sound.frames() * sound.channels()));
        sound.read(samples.data(), static_cast<sf_count_t>(samples.size()));
        return samples;
    }

    std::filesystem::path folder;
};
