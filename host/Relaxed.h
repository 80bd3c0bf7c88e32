#pragma once

#include <atomic>

// A number that several threads read and write without a lock: each access is a relaxed atomic load or store,
// so a value is never torn, but accesses are not ordered with respect to other memory. Lock-free, and of the
// size and alignment of T.
template <typename T>
class Relaxed
{
public:
    Relaxed() noexcept = default;
    Relaxed(T initial) noexcept : value(initial) {}
    Relaxed(const Relaxed&) = delete;
    Relaxed& operator=(const Relaxed&) = delete;

    operator T() const noexcept { return value.load(std::memory_order_relaxed); }

    Relaxed& operator=(T next) noexcept
    {
        value.store(next, std::memory_order_relaxed);
        return *this;
    }

private:
    std::atomic<T> value{};

    static_assert(sizeof(std::atomic<T>) == sizeof(T) && alignof(std::atomic<T>) == alignof(T));
    static_assert(std::atomic<T>::is_always_lock_free);
};
