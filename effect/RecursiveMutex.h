#pragma once

#if defined(__wasm__)

// WebAssembly runs the effect on one thread, so there is nothing to wait for.
class RecursiveMutex
{
public:
    void lock() noexcept {}
    void unlock() noexcept {}
};

#else

#include <pthread.h>

#include <system_error>

// A POSIX mutex that its owner may lock again.
class RecursiveMutex
{
public:
    RecursiveMutex()
    {
        pthread_mutexattr_t attributes;
        check(pthread_mutexattr_init(&attributes));
        pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
        const int error = pthread_mutex_init(&mutex, &attributes);
        pthread_mutexattr_destroy(&attributes);
        check(error);
    }
    RecursiveMutex(const RecursiveMutex&) = delete;
    RecursiveMutex& operator=(const RecursiveMutex&) = delete;
    ~RecursiveMutex() { pthread_mutex_destroy(&mutex); }

    void lock() noexcept { pthread_mutex_lock(&mutex); }
    void unlock() noexcept { pthread_mutex_unlock(&mutex); }

private:
    static void check(int error)
    {
        if (error != 0)
            throw std::system_error(error, std::generic_category(), "cannot make a mutex");
    }

    pthread_mutex_t mutex;
};

#endif

// Holds the mutex to the end of the scope.
class ScopedLock
{
public:
    explicit ScopedLock(RecursiveMutex& held) noexcept : mutex(held) { mutex.lock(); }
    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;
    ~ScopedLock() { mutex.unlock(); }

private:
    RecursiveMutex& mutex;
};
