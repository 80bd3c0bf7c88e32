#pragma once

#include <stdexcept>
#include <string>

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#undef interface  // by which some of its headers mean struct
#else
#include <dlfcn.h>
#endif

// Shared libraries as a host loads them, on each system. Loading throws std::runtime_error if it fails; a symbol
// that does not exist is null; unloading returns whether it succeeded.

#ifdef _WIN32
inline void* loadLibrary(const std::string& path)
{
    void* const library = LoadLibraryA(path.c_str());
    if (library == nullptr)
        throw std::runtime_error("cannot load " + path + ": error " + std::to_string(GetLastError()));
    return library;
}
inline void* findSymbol(void* library, const char* name)
{
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
}
inline bool unloadLibrary(void* library)
{
    return FreeLibrary(static_cast<HMODULE>(library)) != 0;
}
#else
inline void* loadLibrary(const std::string& path)
{
    void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr)
        throw std::runtime_error(dlerror());
    return library;
}
inline void* findSymbol(void* library, const char* name)
{
    return dlsym(library, name);
}
inline bool unloadLibrary(void* library)
{
    return dlclose(library) == 0;
}
#endif
