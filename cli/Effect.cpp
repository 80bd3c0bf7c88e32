#include "cli/Effect.h"

#include "cli/Error.h"
#include "cli/Places.h"
#include "host/K_TypeIF.h"
#include "host/VstRecords.h"

#include <dlfcn.h>

#include <array>
#include <cmath>
#include <memory>

namespace
{

namespace fs = std::filesystem;

constexpr double kMinSampleRate = 62.5;       // Hz: the plug-in ignores a rate beyond these
constexpr double kMaxSampleRate = 3072000.0;  // Hz
constexpr std::size_t kLongestText = 256;     // with room to spare

// This host offers no services beyond telling its version.
VstIntPtr answerEffect(AEffect* /*effect*/, VstInt32 opcode, VstInt32 /*index*/, VstIntPtr /*value*/,
                       void* /*ptr*/, float /*opt*/)
{
    return opcode == audioMasterVersion ? kVstVersion : 0;
}

}  // namespace

Bundle::Bundle(const fs::path& file) : path(file.empty() ? findBundle() : file)
{
    // A name without a folder would be looked for among the system's libraries.
    void* const library = dlopen(fs::absolute(path).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr)
        throw Error(std::string("cannot load the plug-in: ") + dlerror());
    getinterface = reinterpret_cast<EntryPoint>(dlsym(library, "getinterface"));
    if (getinterface == nullptr)
        throw Error(path.string() + " is no plug-in of the kind this program hosts: it has no getinterface");
}

Effect::Effect(const Bundle& bundle)
{
    const std::unique_ptr<K_TypeIF> interface(bundle.getinterface(answerEffect));
    if (interface == nullptr)
        throw Error("the plug-in cannot make an effect; is there memory left?");
    record = interface->aeffect;
    dispatch(effOpen);
    if (record->numParams != std::ssize(kParameters)) {
        dispatch(effClose);
        throw Error(bundle.file().string() + " is another plug-in: its parameters are not those of Wail");
    }
}

Effect::~Effect()
{
    dispatch(effMainsChanged, 0, 0);
    dispatch(effClose);
}

void Effect::start(double sampleRate, VstInt32 blockSize)
{
    if (!(sampleRate >= kMinSampleRate && sampleRate <= kMaxSampleRate))
        throw Error("the plug-in works from 62.5 Hz to 3.072 MHz, not at " +
                    std::to_string(std::lround(sampleRate)) + " Hz");
    dispatch(effSetBlockSize, 0, blockSize);
    dispatch(effSetSampleRate, 0, 0, nullptr, static_cast<float>(sampleRate));
    dispatch(effMainsChanged, 0, 1);
}

void Effect::setParameters(const ParameterValues& values)
{
    for (const auto& [index, value] : values)
        record->setParameter(record, index, value);
}

std::string Effect::settings() const
{
    std::string all;
    for (VstInt32 index = 0; index < record->numParams; ++index) {
        std::string value = text(effGetParamDisplay, index);
        value.erase(0, value.find_first_not_of(' '));  // the place of a sign
        all += (index == 0 ? "" : ", ") + text(effGetParamName, index) + " " + value;
    }
    return all;
}

void Effect::load(const ProgramFile& program)
{
    for (VstInt32 index = 0; index < std::ssize(program.values); ++index)
        record->setParameter(record, index, program.values[static_cast<std::size_t>(index)]);
    std::string name = program.name();
    dispatch(effSetProgramName, 0, 0, name.data());
}

void Effect::load(const BankFile& bank)
{
    for (VstInt32 index = 0; index < std::ssize(bank.programs); ++index) {
        setProgram(index);
        load(bank.programs[static_cast<std::size_t>(index)]);
    }
    setProgram(static_cast<VstInt32>(bank.currentProgram()));
}

ProgramFile Effect::program(VstInt32 index)
{
    const auto current = static_cast<VstInt32>(dispatch(effGetProgram));
    setProgram(index);
    ProgramFile program;
    program.uniqueID = record->uniqueID;
    program.version = record->version;
    program.setName(text(effGetProgramNameIndexed, index));
    for (VstInt32 i = 0; i < record->numParams; ++i)
        program.values.push_back(parameter(i));
    setProgram(current);
    return program;
}

BankFile Effect::bank()
{
    BankFile bank;
    bank.uniqueID = record->uniqueID;
    bank.version = record->version;
    for (VstInt32 index = 0; index < record->numPrograms; ++index)
        bank.programs.push_back(program(index));
    return bank;
}

ProgramFileOwner Effect::fileOwner() const
{
    return {record->uniqueID, record->numParams, record->numPrograms};
}

std::string Effect::text(VstInt32 opcode, VstInt32 index) const
{
    std::array<char, kLongestText> buffer{};
    dispatch(opcode, index, 0, buffer.data());
    return buffer.data();
}
