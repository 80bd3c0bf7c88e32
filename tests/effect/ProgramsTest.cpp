#include "tests/support/TestHost.h"

#include <gtest/gtest.h>

TEST(Programs, StartAlikeAndNumbered)
{
    const Plugin plugin;
    for (VstInt32 program = 15; program >= 0; --program) {
        plugin.setProgram(program);
        EXPECT_EQ(plugin.text(effGetProgramName), "Init " + std::to_string(program + 1));
        EXPECT_EQ(plugin.text(effGetProgramNameIndexed, program), "Init");
        EXPECT_EQ(plugin.get(1), 0.84210527f);
    }
    for (const VstIntPtr program :
         {VstIntPtr{-1}, VstIntPtr{16}, (VstIntPtr{1} << (sizeof(VstIntPtr) * 8 - 2)) + 5})
        plugin.setProgram(program);
    for (const VstInt32 program : {-1, 16}) {
        plugin.call<void>(slot::setProgram, program);  // past the dispatcher
        EXPECT_EQ(plugin.text(effGetProgramNameIndexed, program), "untouched");
    }
    EXPECT_EQ(plugin.dispatch(effGetProgram), 0);
}

TEST(Programs, KeepTwentyThreeCharactersOfAName)
{
    const Plugin plugin;
    plugin.setProgram(15);  // the last record: a byte too many is out of bounds
    for (const std::string name : {"Lead", "init", "Init ", "Init 2", ""}) {
        plugin.rename(name);
        EXPECT_EQ(plugin.text(effGetProgramName), name);
        EXPECT_EQ(plugin.text(effGetProgramNameIndexed, 15), name);
    }
    plugin.rename("Init");
    EXPECT_EQ(plugin.text(effGetProgramName), "Init 16");
    plugin.rename(std::string(23, 'n') + "beyond");
    EXPECT_EQ(plugin.text(effGetProgramName), std::string(23, 'n'));
    EXPECT_EQ(plugin.text(effGetProgramNameIndexed, 14), "Init");  // the neighbour
    EXPECT_EQ(plugin.get(0), 1.0f);
}
