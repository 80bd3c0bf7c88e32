#pragma once

#include <atomic>
#include <cstddef>
#include <limits>

// Every allocation of the process, the bundle's too, through the global operator new. Fresh memory holds 0xA5.
struct Allocations {
#ifdef _WIN32
    static constexpr bool seeModules = false;  // whose operator new is their own
#else
    static constexpr bool seeModules = true;
#endif
    static inline std::atomic<std::size_t> count = 0;
    static inline std::atomic<std::ptrdiff_t> live = 0;  // allocated and not freed yet
    static inline std::atomic<std::ptrdiff_t> left =
        -1;  // how many succeed before all fail; below 0: all succeed

    // Calls make, which returns whether it succeeded, with memory for no allocation, for one, and so on until it
    // succeeds. Returns how often it failed; where the modules' allocations cannot be seen, just calls make and
    // returns the largest number.
    static int failEach(const auto& make)
    {
        if (!seeModules)
            return make() ? std::numeric_limits<int>::max() : 0;
        for (int failures = 0;; ++failures) {
            left = failures;
            const bool isMade = make();
            left = -1;
            if (isMade)
                return failures;
        }
    }
};
