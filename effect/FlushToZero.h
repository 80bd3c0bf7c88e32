#pragma once

#include <cstdint>

#if defined(__SSE2__)
#include <immintrin.h>

#include <cfenv>
#elif !defined(__aarch64__) && !defined(__wasm__)
#error "FlushToZero has no variant for this processor yet"
#endif

// Flushes subnormal results to 0 on this thread until the end of the scope, so that decaying filters never
// run in slow subnormal arithmetic. Then restores the caller's floating-point state: control bits and
// exception flags. Rounding, and on x86 the treatment of subnormal inputs, stay as the caller has them;
// AArch64 has one bit for results and inputs. WebAssembly has no such mode: results stay subnormal.
class FlushToZero
{
public:
    // Writing the state costs more than reading it, so it is written only if it differs.
    FlushToZero() noexcept : saved(read())
    {
        if ((saved.control & kFlushResults) == 0)
            write({saved.control | kFlushResults, saved.flags});
    }
    FlushToZero(const FlushToZero&) = delete;
    FlushToZero& operator=(const FlushToZero&) = delete;
    ~FlushToZero()
    {
        if (!isInForce(saved))
            write(saved);
    }

private:
#if defined(__i386__)
    struct State {
        std::uint32_t control;  // MXCSR, which holds the flags of SSE arithmetic too
        std::fenv_t flags;      // of the x87 unit, which the mathematics library may use
    };
    static constexpr std::uint32_t kFlushResults = 1u << 15;  // FTZ

    static State read() noexcept
    {
        State state{_mm_getcsr(), {}};
        std::fegetenv(&state.flags);
        return state;
    }
    static void write(const State& state) noexcept
    {
        std::fesetenv(&state.flags);
        _mm_setcsr(state.control);
    }
    static bool isInForce(const State& /*state*/) noexcept
    {
        return false;  // the x87 unit's state costs as much to read as to write
    }
#elif defined(__SSE2__)
    struct State {
        std::uint32_t control;  // MXCSR, which holds the flags too
        std::uint32_t flags;
    };
    static constexpr std::uint32_t kFlushResults = 1u << 15;  // FTZ

    static State read() noexcept
    {
        return {_mm_getcsr(), 0};
    }
    static void write(State state) noexcept
    {
        _mm_setcsr(state.control);
    }
    static bool isInForce(State state) noexcept
    {
        return read().control == state.control;
    }
#elif defined(__wasm__)
    struct State {
        std::uint32_t control;
        std::uint32_t flags;
    };
    static constexpr std::uint32_t kFlushResults = 0;

    static State read() noexcept
    {
        return {0, 0};
    }
    static void write(State /*state*/) noexcept {}
    static bool isInForce(State /*state*/) noexcept
    {
        return true;
    }
#else
    struct State {
        std::uint64_t control;  // FPCR
        std::uint64_t flags;    // FPSR
    };
    static constexpr std::uint64_t kFlushResults = std::uint64_t{1} << 24;  // FZ

    static State read() noexcept
    {
        State state{};
        asm volatile("mrs %0, fpcr\n\tmrs %1, fpsr" : "=r"(state.control), "=r"(state.flags)::"memory");
        return state;
    }
    static void write(State state) noexcept
    {
        asm volatile("msr fpcr, %0\n\tmsr fpsr, %1" ::"r"(state.control), "r"(state.flags) : "memory");
    }
    static bool isInForce(State state) noexcept
    {
        const State now = read();
        return now.control == state.control && now.flags == state.flags;
    }
#endif

    const State saved;
};
