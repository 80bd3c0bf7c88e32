#include "cli/Places.h"

#include "cli/Error.h"
#include "cli/Suggestion.h"

#include <algorithm>

#ifdef __APPLE__
#include <mach-o/dyld.h>
#endif

namespace
{

namespace fs = std::filesystem;

fs::path programFolder()
{
#ifdef __APPLE__
    char path[4096];
    std::uint32_t size = sizeof path;
    return fs::canonical(_NSGetExecutablePath(path, &size) == 0 ? path : "wail").parent_path();
#else
    return fs::read_symlink("/proc/self/exe").parent_path();
#endif
}

// The first of the places, seen from the program, that is there; empty where none is.
fs::path firstOf(std::initializer_list<const char*> places)
{
    const fs::path folder = programFolder();
    std::error_code ignored;
    for (const char* const place : places)
        if (fs::exists(folder / place, ignored))
            return (folder / place).lexically_normal();
    return {};
}

}  // namespace

// The build says where the installed places are, as seen from the installed program.
fs::path findBundle()
{
    fs::path bundle = firstOf({"Wail.so", "Wail.bundle/Contents/MacOS/Wail", WAIL_INSTALLED_BUNDLE});
    if (bundle.empty())
        throw Error("cannot find the plug-in beside this program or where it is installed; use --bundle");
    return bundle;
}

fs::path findPreset(const std::string& nameOrFile)
{
    std::error_code ignored;
    if (fs::exists(nameOrFile, ignored))
        return nameOrFile;
    const std::vector<std::string> names = presetNames();
    if (std::ranges::find(names, nameOrFile) != names.end())
        return firstOf({"presets", WAIL_INSTALLED_PRESETS}) / (nameOrFile + ".fxp");
    const std::string near = didYouMean(nameOrFile, names);
    throw Error("no preset or file '" + nameOrFile + "'" +
                (near.empty() ? "; wail preset lists the presets" : near));
}

std::vector<std::string> presetNames()
{
    std::vector<std::string> names;
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(firstOf({"presets", WAIL_INSTALLED_PRESETS}), ignored))
        if (entry.path().extension() == ".fxp")
            names.push_back(entry.path().stem().string());
    std::ranges::sort(names);
    return names;
}
