#include "cli/engine/HostedEffect.h"

#include "cli/Error.h"
#include "cli/engine/Places.h"
#include "effect/SampleRates.h"
#include "host/K_TypeIF.h"
#include "host/VstRecords.h"

#include <dlfcn.h>

#include <array>
#include <cstdlib>
#include <memory>

namespace
{

namespace fs = std::filesystem;

constexpr std::size_t kTextBytes = 256;  // more than any text of the interface

// This host offers no services; it only reports its version.
VstIntPtr hostCallback(AEffect* /*effect*/, VstInt32 opcode, VstInt32 /*index*/, VstIntPtr /*value*/,
                       void* /*ptr*/, float /*opt*/)
{
    return opcode == audioMasterVersion ? kVstVersion : 0;
}

fs::path chooseBundle()
{
    const char* const chosen = std::getenv("WAIL_BUNDLE");
    return chosen != nullptr && *chosen != '\0' ? fs::path(chosen) : findBundle();
}

}  // namespace

Bundle::Bundle() : path(chooseBundle())
{
    // dlopen would look for a name without a folder among the system's libraries.
    void* const library = dlopen(fs::absolute(path).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr)
        throw Error("cannot load the plug-in: {}", dlerror());
    getinterface = reinterpret_cast<EntryPoint>(dlsym(library, "getinterface"));
    if (getinterface == nullptr)
        throw Error("{} is not a Wail bundle: it has no getinterface; check WAIL_BUNDLE", path.string());
}

HostedEffect::HostedEffect(const Bundle& bundle)
{
    const std::unique_ptr<K_TypeIF> interface(bundle.getinterface(hostCallback));
    if (interface == nullptr)
        throw Error("the plug-in cannot make an effect; check that memory is left");
    record = interface->aeffect;
    dispatch(effOpen);
    if (record->numParams != std::ssize(kParameters)) {
        dispatch(effClose);
        throw Error("{} is another plug-in: it does not have the parameters of Wail; check WAIL_BUNDLE",
                    bundle.file().string());
    }
}

HostedEffect::~HostedEffect()
{
    dispatch(effMainsChanged, 0, 0);
    dispatch(effClose);
}

void HostedEffect::start(double sampleRate, VstInt32 blockSize)
{
    if (!(sampleRate >= kMinSampleRate && sampleRate <= kMaxSampleRate))
        throw Error("the plug-in works from 62.5 Hz to 3.072 MHz, not at {} Hz; convert the file first",
                    sampleRate);
    dispatch(effSetBlockSize, 0, blockSize);
    dispatch(effSetSampleRate, 0, 0, nullptr, static_cast<float>(sampleRate));
    dispatch(effMainsChanged, 0, 1);
    double none = 0.0;
    process(&none, 0);  // an empty block takes values without a glide
}

void HostedEffect::setParameters(const ParameterValues& values)
{
    for (const auto& [index, value] : values)
        record->setParameter(record, index, value);
}

ProgramFile HostedEffect::program() const
{
    ProgramFile program;
    program.uniqueID = record->uniqueID;
    program.version = record->version;
    program.setName(text(effGetProgramName));
    for (VstInt32 index = 0; index < record->numParams; ++index)
        program.values.push_back(parameter(index));
    return program;
}

ProgramFileOwner HostedEffect::fileOwner() const
{
    return {record->uniqueID, record->numParams, record->numPrograms};
}

std::string HostedEffect::text(VstInt32 opcode, VstInt32 index) const
{
    std::array<char, kTextBytes> buffer{};
    dispatch(opcode, index, 0, buffer.data());
    return buffer.data();
}
