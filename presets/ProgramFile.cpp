#include "presets/ProgramFile.h"

#include "host/AEffect.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace
{

constexpr std::int32_t kFile = fourCharacterCode("CcnK");
constexpr std::int32_t kProgram = fourCharacterCode("FxCk");
constexpr std::int32_t kBank = fourCharacterCode("FxBk");
constexpr std::int32_t kChunkProgram = fourCharacterCode("FPCh");
constexpr std::int32_t kChunkBank = fourCharacterCode("FBCh");
constexpr const char* kWrongSize = "its size does not agree with its content";

std::int32_t numberAt(const char* bytes)
{
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i)
        value = value << 8 | static_cast<unsigned char>(bytes[i]);
    return static_cast<std::int32_t>(value);
}

// Reads bytes from front to back; missing bytes are an error.
class Reader
{
public:
    explicit Reader(std::span<const char> all) : left(all) {}

    std::span<const char> bytes(std::size_t count)
    {
        if (count > left.size())
            throw ProgramFileError("it is cut off");
        const std::span<const char> taken = left.first(count);
        left = left.subspan(count);
        return taken;
    }
    std::int32_t number() { return numberAt(bytes(4).data()); }
    template <std::size_t size>
    void fill(std::array<char, size>& field)
    {
        std::ranges::copy(bytes(size), field.begin());
    }
    void expectEnd(const char* otherwise) const
    {
        if (!left.empty())
            throw ProgramFileError(otherwise);
    }

private:
    std::span<const char> left;
};

class Writer
{
public:
    void number(std::int32_t value)
    {
        for (int shift = 24; shift >= 0; shift -= 8)
            file.push_back(static_cast<char>(static_cast<std::uint32_t>(value) >> shift));
    }
    void bytes(std::span<const char> more) { file.insert(file.end(), more.begin(), more.end()); }

    // The complete file: the content that was written, after the first two fields.
    std::vector<char> finish() const
    {
        Writer whole;
        whole.number(kFile);
        whole.number(static_cast<std::int32_t>(file.size()));
        whole.bytes(file);
        return whole.file;
    }

private:
    std::vector<char> file;
};

// The bytes that a file's size counts: all after its first two fields.
Reader openFile(Reader& reader)
{
    if (reader.number() != kFile)
        throw ProgramFileError("it is not a program or bank file");
    return Reader(reader.bytes(static_cast<std::uint32_t>(reader.number())));
}

// Reads the fields that programs and banks have in common, up to the plug-in's version.
template <typename File>
void readHeader(Reader& reader, std::int32_t kind, const ProgramFileOwner& owner, File& file)
{
    const std::int32_t found = reader.number();
    if (found == kChunkProgram || found == kChunkBank)
        throw ProgramFileError("it holds an opaque chunk instead of parameter values");
    if (found != kind && (found == kProgram || found == kBank))
        throw ProgramFileError(found == kBank ? "it is a bank, not a program"
                                              : "it is a program, not a bank");
    if (found != kind)
        throw ProgramFileError("it is not a program or bank file");
    file.format = reader.number();
    file.uniqueID = reader.number();
    if (file.uniqueID != owner.uniqueID)
        throw ProgramFileError("it is for another plug-in");
    file.version = reader.number();
}

float readValue(Reader& reader)
{
    const auto value = std::bit_cast<float>(reader.number());
    if (!(value >= 0.0f && value <= 1.0f))
        throw ProgramFileError("it holds a parameter value outside 0 to 1");
    return value;
}

ProgramFile readProgram(Reader& outer, const ProgramFileOwner& owner)
{
    Reader reader = openFile(outer);
    ProgramFile program;
    readHeader(reader, kProgram, owner, program);
    if (reader.number() != owner.numParams)
        throw ProgramFileError("its number of parameters is not " + std::to_string(owner.numParams));
    reader.fill(program.nameBytes);
    for (std::int32_t i = 0; i < owner.numParams; ++i)
        program.values.push_back(readValue(reader));
    reader.expectEnd(kWrongSize);
    return program;
}

}  // namespace

std::string ProgramFile::name() const
{
    return {nameBytes.data(), strnlen(nameBytes.data(), nameBytes.size())};
}

void ProgramFile::setName(const std::string& text)
{
    nameBytes = {};
    std::copy_n(text.data(), std::min(text.size(), kNameBytes - 1), nameBytes.data());
}

std::size_t BankFile::currentProgram() const
{
    const auto index = static_cast<std::uint32_t>(numberAt(reserved.data()));
    return format >= 2 && index < programs.size() ? index : 0;
}

ProgramFile parseProgramFile(std::span<const char> bytes, const ProgramFileOwner& owner)
{
    Reader file(bytes);
    ProgramFile program = readProgram(file, owner);
    file.expectEnd(kWrongSize);
    return program;
}

BankFile parseBankFile(std::span<const char> bytes, const ProgramFileOwner& owner)
{
    Reader file(bytes);
    Reader reader = openFile(file);
    file.expectEnd(kWrongSize);
    BankFile bank;
    readHeader(reader, kBank, owner, bank);
    const std::int32_t count = reader.number();
    if (count < 1 || count > owner.numPrograms)
        throw ProgramFileError("its number of programs is not 1 to " + std::to_string(owner.numPrograms));
    reader.fill(bank.reserved);
    for (std::int32_t i = 0; i < count; ++i)
        bank.programs.push_back(readProgram(reader, owner));
    reader.expectEnd(kWrongSize);
    return bank;
}

std::vector<char> bytesOf(const ProgramFile& program)
{
    Writer writer;
    for (const std::int32_t field : {kProgram, program.format, program.uniqueID, program.version,
                                     static_cast<std::int32_t>(program.values.size())})
        writer.number(field);
    writer.bytes(program.nameBytes);
    for (const float value : program.values)
        writer.number(std::bit_cast<std::int32_t>(value));
    return writer.finish();
}
