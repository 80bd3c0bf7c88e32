#include "tests/support/Player.h"
#include "tests/support/Signals.h"

#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <array>
#include <cstdlib>
#include <filesystem>

namespace
{

constexpr std::array kModules{"Wail.dll", "WailVST.dll", "wail.clap"};

// The modules lie in the folder that the variable WAIL_MODULES names, or where they were built.
std::string pathOf(const std::string& module)
{
    const char* const folder = std::getenv("WAIL_MODULES");
    return (std::filesystem::path(folder == nullptr ? WAIL_MODULES : folder) / module).string();
}

Plugin makePlugin()
{
    return Plugin(entryPoint("getinterface", loadLibrary(pathOf("Wail.dll"))));
}

// What arithmetic depends on, as a thread of a host may have it.
struct FloatingPointState {
    std::uint16_t x87;  // control word
    std::uint32_t sse;  // MXCSR

    static FloatingPointState read()
    {
        FloatingPointState state{};
        asm volatile("fnstcw %0" : "=m"(state.x87));
        state.sse = _mm_getcsr();
        return state;
    }
    void set() const
    {
        asm volatile("fnclex\n\tfldcw %0" ::"m"(x87));
        _mm_setcsr(sse);
    }
    bool operator==(const FloatingPointState&) const = default;
};

std::uint16_t x87Exceptions()
{
    std::uint16_t status = 0;
    asm volatile("fnstsw %0" : "=m"(status));
    return status & 0x3f;
}

// A second of strokes and then silence, with a parameter moved before each block. The plug-in is all that
// calculates after the floating-point state is set.
std::vector<double> playInState(const FloatingPointState& state)
{
    std::vector<double> samples = strokes(48000, 6000);
    samples.resize(96000);
    Random random{std::mt19937(2)};
    std::vector<float> values(samples.size() / 100);
    for (float& value : values)
        value = random.share();
    const FloatingPointState before = FloatingPointState::read();
    state.set();
    {
        const Plugin plugin = makePlugin();
        plugin.setRate(48000.0f);
        for (std::size_t block = 0; block < values.size(); ++block) {
            plugin.set(static_cast<VstInt32>(1 + block % 6), values[block]);
            plugin.process(samples.data() + 100 * block, 100);
        }
    }
    const FloatingPointState after = FloatingPointState::read();
    const std::uint16_t exceptions = x87Exceptions();
    before.set();
    EXPECT_EQ(after.x87, state.x87);
    EXPECT_EQ(after.sse | 0x3f, state.sse | 0x3f);  // set-up may raise flags
    EXPECT_EQ(exceptions, 0);
    return samples;
}

// Calls process with a stack that lies offset bytes, a multiple of 16, below a multiple of 64. Returns whether
// the registers that belong to the caller have kept their values.
bool processAt(std::uint64_t offset, AEffect* effect, double** channels, VstInt32 frames)
{
    const auto process = effect->processDoubleReplacing;
    double** inputs = channels;
    register double** outputs asm("r8") = channels;
    register std::uint64_t count asm("r9") = static_cast<std::uint64_t>(frames);
    int kept = 0;
    asm volatile("mov %%rsp, %%rbx\n\t"
                 "and $-64, %%rsp\n\t"
                 "sub %[offset], %%rsp\n\t"
                 "sub $64, %%rsp\n\t"  // the callee may write to the first 32
                 "pcmpeqd %%xmm6, %%xmm6\n\t"
                 "movdqa %%xmm6, %%xmm15\n\t"
                 "call *%[process]\n\t"
                 "mov %%rbx, %%rsp\n\t"
                 "pand %%xmm15, %%xmm6\n\t"
                 "pmovmskb %%xmm6, %[kept]\n\t"
                 : [kept] "=&S"(kept), "+c"(effect), "+d"(inputs), "+r"(outputs), "+r"(count)
                 : [offset] "r"(offset), [process] "r"(process)
                 : "rax", "rbx", "r10", "r11", "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6",
                   "xmm15", "memory", "cc");
    return kept == 0xffff;
}

}  // namespace

TEST(WindowsModules, LeaveNothingBehindWhenTheyAreUnloaded)
{
    const auto used = [] {
        DWORD handles = 0;
        GetProcessHandleCount(GetCurrentProcess(), &handles);
        const DWORD slot = TlsAlloc();  // the first free one
        TlsFree(slot);
        return std::pair(handles, slot);
    };
    for (const std::string module : kModules) {
        SCOPED_TRACE(module);
        const std::string copy =
            testing::TempDir() + "Again" + std::to_string(GetCurrentProcessId()) + module;
        std::filesystem::copy_file(pathOf(module), copy);
        std::pair<DWORD, DWORD> before;
        for (int life = 0; life < 100; ++life) {
            if (life == 1)
                before = used();  // the first life leaves what the system makes once
            void* const library = loadLibrary(copy);
            {
                const auto player = makePlayer(library);
                player->setRate(48000.0f);
                std::vector<double> samples = noise(480);
                player->process(samples.data(), 480);
            }
            ASSERT_TRUE(unloadLibrary(library));
            ASSERT_EQ(GetModuleHandleA(copy.c_str()), nullptr);
        }
        EXPECT_EQ(used(), before);
        std::filesystem::remove(copy);
    }
}

// Windows starts threads with x87 arithmetic in 53 bits, some hosts work in 24, and some have exceptions unmasked.
TEST(WindowsThreads, SoundAlikeInEveryFloatingPointStateAndKeepIt)
{
    const std::vector<double> expected = playInState({0x37f, 0x1f80});
    for (const FloatingPointState state :
         {FloatingPointState{0x27f, 0x1f80}, {0x07f, 0x1f80}, {0x1372, 0x1900}, {0x37f, 0x9fc0}}) {
        SCOPED_TRACE(testing::Message() << std::hex << state.x87 << ' ' << state.sse);
        EXPECT_EQ(playInState(state), expected);
    }
    for (const double sample : expected)
        ASSERT_TRUE(std::isnormal(sample) || sample == 0.0);
}

TEST(WindowsThreads, ProcessOnAThreadWithLittleStack)
{
    std::vector<double> expected = strokes(48000, 6000), samples = expected;
    const Plugin usual = makePlugin(), plugin = makePlugin();
    usual.setRate(48000.0f);
    usual.process(expected, 64);
    plugin.setRate(48000.0f);
    std::pair arguments{&plugin, &samples};
    const auto work = [](void* pointer) -> DWORD {
        const auto& [effect, signal] = *static_cast<decltype(arguments)*>(pointer);
        effect->process(*signal, 64);
        return 0;
    };
    const HANDLE thread =
        CreateThread(nullptr, 65536, work, &arguments, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
    ASSERT_NE(thread, nullptr);
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
    EXPECT_EQ(samples, expected);
}

TEST(WindowsThreads, ProcessWithTheStackAlignedAsHostsAlignIt)
{
    const Plugin usual = makePlugin();
    usual.setRate(48000.0f);
    std::vector<double> expected = noise(256);
    usual.process(expected);
    for (const std::uint64_t offset : {0, 16, 32, 48}) {
        SCOPED_TRACE(offset);
        const Plugin plugin = makePlugin();
        plugin.setRate(48000.0f);
        std::vector<double> samples = noise(256);
        double* channel = samples.data();
        EXPECT_TRUE(processAt(offset, plugin.record, &channel, 256));
        EXPECT_EQ(samples, expected);
    }
}
