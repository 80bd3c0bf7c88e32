#include "tests/support/Player.h"
#include "tests/support/Signals.h"

#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <cstdlib>
#include <filesystem>

namespace
{

// The modules lie in the folder that the variable WAIL_MODULES names, or where they were built.
std::string pathOf(const std::string& module)
{
    const char* const folder = std::getenv("WAIL_MODULES");
    return (std::filesystem::path(folder == nullptr ? WAIL_MODULES : folder) / module).string();
}

// A thread as a host may set it up, which all that the plug-in calculates may depend on.
struct ThreadState {
    std::uint16_t x87 = 0x37f;   // control word
    std::uint32_t sse = 0x1f80;  // MXCSR
    std::uint64_t stack = 0;     // bytes, a multiple of 16, by which calls find it below a multiple of 64

    static ThreadState read()
    {
        ThreadState state;
        asm volatile("fnstcw %0" : "=m"(state.x87));
        state.sse = _mm_getcsr();
        return state;
    }
    void set() const
    {
        asm volatile("fnclex\n\tfldcw %0" ::"m"(x87));
        _mm_setcsr(sse);
    }
};

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

// A second of strokes and then silence, with a parameter moved before each block.
struct Performance {
    explicit Performance(const ThreadState& threadState) : state(threadState) { samples.resize(96000); }

    // The plug-in is all that calculates while the thread is in the state.
    void play()
    {
        const ThreadState before = ThreadState::read();
        state.set();
        {
            const Plugin plugin(make);
            plugin.setRate(48000.0f);
            for (std::size_t block = 0; block < 960; ++block) {
                plugin.set(static_cast<VstInt32>(1 + block % 6), static_cast<float>(block % 11) / 10.0f);
                double* channel = samples.data() + 100 * block;
                isKept = processAt(state.stack, plugin.record, &channel, 100) && isKept;
            }
        }
        const ThreadState after = ThreadState::read();
        std::uint16_t x87Status = 0;
        asm volatile("fnstsw %0" : "=m"(x87Status));
        before.set();
        EXPECT_EQ(after.x87, state.x87);
        EXPECT_EQ(after.sse | 0x3f, state.sse | 0x3f);  // set-up may raise flags
        EXPECT_EQ(x87Status & 0x3f, 0);
        EXPECT_TRUE(isKept);
    }

    const ThreadState state;
    const EntryPoint make = entryPoint("getinterface", loadLibrary(pathOf("Wail.dll")));
    std::vector<double> samples = strokes(48000, 6000);
    bool isKept = true;  // what the registers hold for the caller
};

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
    for (const std::string module : {"Wail.dll", "WailVST.dll", "wail.clap"}) {
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

// Windows starts threads with x87 arithmetic in 53 bits; some hosts work in 24, some have exceptions unmasked, and
// some give their threads little stack.
TEST(WindowsThreads, SoundAlikeAndStayAsHostsSetThemUp)
{
    Performance usual({});
    usual.play();
    for (const double sample : usual.samples)
        ASSERT_TRUE(std::isnormal(sample) || sample == 0.0);
    for (const ThreadState state : {ThreadState{0x37f, 0x1f80, 0},
                                    {0x27f, 0x1f80, 16},
                                    {0x07f, 0x1f80, 32},
                                    {0x1372, 0x1900, 48},
                                    {0x37f, 0x9fc0, 0}}) {
        SCOPED_TRACE(testing::Message() << std::hex << state.x87 << ' ' << state.sse << ' ' << state.stack);
        Performance performance(state);
        const auto play = [](void* pointer) -> DWORD {
            static_cast<Performance*>(pointer)->play();
            return 0;
        };
        const HANDLE thread =
            CreateThread(nullptr, 65536, play, &performance, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
        ASSERT_NE(thread, nullptr);
        WaitForSingleObject(thread, INFINITE);
        CloseHandle(thread);
        EXPECT_EQ(performance.samples, usual.samples);
    }
}
