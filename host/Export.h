#pragma once

// Declares a function or object that a module exports under its C name. The module's exportOnly() in CMake
// names it once more, so that nothing else is exported.
#ifdef _WIN32
#define WAIL_EXPORT extern "C" __declspec(dllexport)
#else
#define WAIL_EXPORT extern "C" __attribute__((visibility("default")))
#endif
