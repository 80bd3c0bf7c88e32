#include "cli/PresetFiles.h"

#include "cli/Error.h"
#include "cli/OutputFile.h"

#include <cerrno>
#include <cstring>
#include <fstream>

namespace
{

constexpr std::size_t kLargestFile = 1 << 20;  // bytes; far more than any bank of this plug-in

template <typename Parse>
auto readFile(const std::filesystem::path& file, const ProgramFileOwner& owner, Parse parse,
              const char* otherOption)
{
    std::ifstream stream(file, std::ios::binary);
    if (!stream)
        throw Error("cannot open " + file.string() + ": " + std::strerror(errno));
    std::vector<char> bytes(kLargestFile);
    stream.read(bytes.data(), std::ssize(bytes));
    bytes.resize(static_cast<std::size_t>(stream.gcount()));
    try {
        return parse(bytes, owner);
    } catch (const WrongKindOfFile& error) {
        throw Error("cannot use " + file.string() + ": " + error.what() + "; use " + otherOption);
    } catch (const ProgramFileError& error) {
        throw Error("cannot use " + file.string() + ": " + error.what());
    }
}

}  // namespace

ProgramFile readProgramFile(const std::filesystem::path& file, const ProgramFileOwner& owner)
{
    return readFile(file, owner, parseProgramFile, "--bank");
}

BankFile readBankFile(const std::filesystem::path& file, const ProgramFileOwner& owner)
{
    return readFile(file, owner, parseBankFile, "--preset");
}

void writeFile(const std::filesystem::path& file, std::span<const char> bytes)
{
    OutputFile output(file);
    output.write(bytes.data(), bytes.size());
    output.keep();
}
