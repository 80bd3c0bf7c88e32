#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace
{

std::string outputOf(const char* command)
{
    std::string output;
    FILE* const pipe = popen(command, "r");
    for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe))
        output += static_cast<char>(c);
    return pclose(pipe) == 0 ? output : "failed";
}

}  // namespace

TEST(Bundle, ExportsItsTwoEntryPointsAndNothingElse)
{
    EXPECT_EQ(outputOf("nm -D --defined-only --format=just-symbols " WAIL_BUNDLE " | LC_ALL=C sort"),
              "KTypeIF\ngetinterface\n");
}

TEST(Bundle, NeedsTheStandardLibraryAndThreadsAlone)
{
    EXPECT_EQ(outputOf("readelf -d " WAIL_BUNDLE " | sed -n 's/.*NEEDED.*\\[\\(.*\\)\\.so.*/\\1/p' | "
                       "sed -E '/^(libstdc\\+\\+|libm|libgcc_s|libpthread|libc|ld-linux.*|lib[a-z]+san)$/d'"),
              "");
}
