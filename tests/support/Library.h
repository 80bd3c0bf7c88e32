#pragma once

#include <stdexcept>
#include <string>

// Shared libraries as a host loads them, on each system. Loading throws std::runtime_error if it fails; a symbol
// that does not exist is null; unloading returns whether it succeeded.

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#undef interface  // by which some of its headers mean struct

constexpr auto openLibrary = [](const char* path) -> void* { return LoadLibraryA(path); };
constexpr auto unloadLibrary = [](void* library) { return FreeLibrary(static_cast<HMODULE>(library)) != 0; };
constexpr auto findSymbol = [](void* library, const char* name) {
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
};
constexpr auto reasonOfFailure = [] { return "error " + std::to_string(GetLastError()); };
#else
#include <dlfcn.h>

constexpr auto openLibrary = [](const char* path) { return dlopen(path, RTLD_NOW | RTLD_LOCAL); };
constexpr auto unloadLibrary = [](void* library) { return dlclose(library) == 0; };
constexpr auto findSymbol = [](void* library, const char* name) { return dlsym(library, name); };
constexpr auto reasonOfFailure = [] { return std::string(dlerror()); };
#endif

inline void* loadLibrary(const std::string& path)
{
    void* const library = openLibrary(path.c_str());
    if (library == nullptr)
        throw std::runtime_error("cannot load " + path + ": " + reasonOfFailure());
    return library;
}
