#pragma once

#include <atomic>
#include <cstddef>

// Every allocation of the process, the bundle's too, by way of the global operator new.
struct Allocations {
    static inline std::atomic<std::size_t> count = 0;
    static inline std::atomic<std::ptrdiff_t> live = 0;  // made and not released yet
    static inline std::atomic<std::ptrdiff_t> left =
        -1;  // how many succeed before all fail; below 0: all succeed
};
