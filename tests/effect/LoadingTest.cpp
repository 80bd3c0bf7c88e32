#include "tests/support/Allocations.h"
#include "tests/support/Signals.h"
#include "tests/support/TestHost.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

TEST(Loading, AHundredTimesLeavesNothingBehind)
{
    const std::string copy = testing::TempDir() + "WailAgain" + std::to_string(getpid()) + ".so";
    std::filesystem::copy_file(WAIL_BUNDLE, copy);
    std::ptrdiff_t before = 0;
    for (int life = 0; life < 100; ++life) {
        if (life == 1)
            before = Allocations::live;  // what the first life made for good is not counted
        void* const bundle = loadLibrary(copy);
        {
            const Plugin plugin(entryPoint("KTypeIF", bundle));
            plugin.setRate(48000.0f);
            std::vector<double> samples = noise(480);
            plugin.process(samples);
        }
        EXPECT_TRUE(unloadLibrary(bundle));
        EXPECT_EQ(dlopen(copy.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);
        hostCalls = {};
    }
    EXPECT_EQ(Allocations::live, before);
    std::filesystem::remove(copy);
}
