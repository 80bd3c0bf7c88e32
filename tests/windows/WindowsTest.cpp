#include "tests/support/Player.h"
#include "tests/support/Signals.h"

#include <gtest/gtest.h>
#include <malloc.h>
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

// How a host may set up the thread that calls the plug-in, and how the plug-in leaves it.
struct ThreadState {
    std::uint16_t x87 = 0x37f;   // control word
    std::uint32_t sse = 0x1f80;  // MXCSR

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

// A second of strokes and then silence through a plug-in of its own, with a parameter moved before each block, all in
// a thread with little stack, of which each block finds another multiple of 16 bytes in use.
class Performance
{
public:
    explicit Performance(const ThreadState& threadState) : state(threadState)
    {
        samples.resize(96000);
        const auto play = [](void* self) -> DWORD { return static_cast<Performance*>(self)->play(), 0; };
        const HANDLE thread =
            CreateThread(nullptr, 65536, play, this, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
        WaitForSingleObject(thread, INFINITE);
        CloseHandle(thread);
    }

    std::vector<double> samples = strokes(48000, 6000);

private:
    void play()
    {
        const ThreadState before = ThreadState::read();
        state.set();
        {
            const Plugin plugin(make);
            plugin.setRate(48000.0f);
            for (std::size_t block = 0; block < 960; ++block) {
                plugin.set(static_cast<VstInt32>(1 + block % 6), static_cast<float>(block % 11) / 10.0f);
                playBlock(plugin, block);
            }
        }
        const ThreadState after = ThreadState::read();
        std::uint16_t x87Status = 0;
        asm volatile("fnstsw %0" : "=m"(x87Status));
        before.set();
        EXPECT_EQ(after.x87, state.x87);
        EXPECT_EQ(after.sse | 0x3f, state.sse | 0x3f);  // set-up may raise flags
        EXPECT_EQ(x87Status & 0x3f, 0);
    }
    // Xmm6 to xmm15 belong to the caller.
    __attribute__((noinline)) void playBlock(const Plugin& plugin, std::size_t block)
    {
        volatile char* const used = static_cast<char*>(_alloca(16 * (block % 4)));
        (void)used;
        int kept = 0;
        asm volatile("pcmpeqd %%xmm6, %%xmm6\n\tmovdqa %%xmm6, %%xmm15" ::: "xmm6", "xmm15");
        plugin.process(samples.data() + 100 * block, 100);
        asm volatile("pand %%xmm15, %%xmm6\n\tpmovmskb %%xmm6, %0" : "=r"(kept)::"xmm6", "xmm15");
        EXPECT_EQ(kept, 0xffff);
    }

    const ThreadState state;
    const EntryPoint make = entryPoint("getinterface", loadLibrary(pathOf("Wail.dll")));
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
        const std::string copy =  // that nobody else has loaded
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

// Windows starts threads with x87 arithmetic in 53 bits; some hosts work in 24, and some have exceptions unmasked.
TEST(WindowsThreads, SoundAlikeAndStayAsHostsSetThemUp)
{
    const Performance usual({});
    for (const double sample : usual.samples)
        ASSERT_TRUE(std::isnormal(sample) || sample == 0.0);
    for (const ThreadState state :
         {ThreadState{0x27f, 0x1f80}, {0x07f, 0x1f80}, {0x1372, 0x1900}, {0x37f, 0x9fc0}}) {
        SCOPED_TRACE(testing::Message() << std::hex << state.x87 << ' ' << state.sse);
        EXPECT_EQ(Performance(state).samples, usual.samples);
    }
}
