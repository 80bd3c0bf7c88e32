#include "cli/engine/Places.h"

#include "cli/Error.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>

namespace
{

namespace fs = std::filesystem;

constexpr std::size_t kLargestSettings = 1 << 26;  // bytes; against devices without end

// The first of the paths, relative to the program, that exists; empty if none does.
fs::path firstExisting(std::initializer_list<const char*> paths)
{
    const fs::path folder = fs::read_symlink("/proc/self/exe").parent_path();
    std::error_code ignored;
    for (const char* const path : paths)
        if (fs::exists(folder / path, ignored))
            return (folder / path).lexically_normal();
    return {};
}

}  // namespace

// The build defines the installed paths, relative to the installed program.
fs::path findBundle()
{
    fs::path bundle = firstExisting({"Wail.so", WAIL_INSTALLED_BUNDLE});
    if (bundle.empty())
        throw Error(
            "cannot find the plug-in beside this program or where it is installed; set WAIL_BUNDLE to its "
            "file");
    return bundle;
}

fs::path findPreset(const std::string& nameOrFile)
{
    std::error_code ignored;
    const bool isFolder = fs::is_directory(nameOrFile, ignored);
    if (!isFolder && fs::exists(nameOrFile, ignored))
        return nameOrFile;
    const std::vector<std::string> names = presetNames();
    if (std::ranges::find(names, nameOrFile) != names.end())
        return firstExisting({"presets", WAIL_INSTALLED_PRESETS}) / (nameOrFile + ".fxp");
    if (isFolder)
        throw Error("cannot use {}: it is a folder", nameOrFile);
    throw Error("no preset or file '{}'; wail preset lists the presets", nameOrFile);
}

std::vector<std::string> presetNames()
{
    std::vector<std::string> names;
    std::error_code ignored;
    for (const auto& entry :
         fs::directory_iterator(firstExisting({"presets", WAIL_INSTALLED_PRESETS}), ignored))
        if (entry.path().extension() == ".fxp")
            names.push_back(entry.path().stem().string());
    std::ranges::sort(names);
    return names;
}

std::string readSettingsFile(const fs::path& file)
{
    std::error_code ignored;
    if (fs::is_directory(file, ignored))
        throw Error("cannot use {}: it is a folder", file.string());
    std::ifstream stream(file, std::ios::binary);
    if (!stream)
        throw Error("cannot open {}: {}", file.string(),
                    errno == ENOENT ? "no such file" : std::strerror(errno));
    std::string content;
    std::array<char, 1 << 14> part;
    while (content.size() < kLargestSettings && stream.read(part.data(), part.size()).gcount() > 0)
        content.append(part.data(), static_cast<std::size_t>(stream.gcount()));
    if (content.empty())
        throw Error("cannot use {}: it is empty", file.string());
    return content;
}
