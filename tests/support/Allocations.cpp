#include "tests/support/Allocations.h"

#include <cstdlib>
#include <cstring>
#include <new>

// All forms, since a sanitizer's runtime would supply those that are missing.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    ++Allocations::count;
    if (Allocations::left == 0)
        return nullptr;
    if (Allocations::left > 0)
        --Allocations::left;
    void* const memory = std::malloc(size == 0 ? 1 : size);
    if (memory != nullptr)
        std::memset(memory, 0xA5, size);
    Allocations::live += memory != nullptr;
    return memory;
}

void* operator new(std::size_t size)
{
    void* const memory = operator new(size, std::nothrow);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

void operator delete(void* memory) noexcept
{
    Allocations::live -= memory != nullptr;
    std::free(memory);
}

// clang-format off
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept { return operator new(size, tag); }
void* operator new[](std::size_t size) { return operator new(size); }
void operator delete(void* memory, std::size_t) noexcept { operator delete(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { operator delete(memory); }
void operator delete[](void* memory) noexcept { operator delete(memory); }
void operator delete[](void* memory, std::size_t) noexcept { operator delete(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { operator delete(memory); }
// clang-format on
