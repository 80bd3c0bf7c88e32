#include "cli/engine/HostedEffect.h"

#include "cli/Error.h"
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

using EntryPoint = K_TypeIF* (*)(audioMasterCallback);

EntryPoint loadBundle()
{
    const fs::path file = bundleFile();
    void* const library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr)
        throw Error("cannot load the plug-in: {}", dlerror());
    void* const entry = dlsym(library, "getinterface");
    if (entry == nullptr)
        throw Error("{} is not a Wail bundle: it has no getinterface; check WAIL_BUNDLE", file.string());
    return reinterpret_cast<EntryPoint>(entry);
}

}  // namespace

// The build defines where the bundle is installed, relative to the installed program.
fs::path bundleFile()
{
    const char* const chosen = std::getenv("WAIL_BUNDLE");
    if (chosen != nullptr && *chosen != '\0')
        return fs::absolute(chosen);
    const fs::path folder = fs::read_symlink("/proc/self/exe").parent_path();
    for (const char* const place : {"Wail.so", WAIL_INSTALLED_BUNDLE})
        if (fs::exists(folder / place))
            return (folder / place).lexically_normal();
    throw Error(
        "cannot find the plug-in beside this program or where it is installed; set WAIL_BUNDLE to its file");
}

HostedEffect::HostedEffect()
{
    static const EntryPoint getinterface = loadBundle();
    const std::unique_ptr<K_TypeIF> interface(getinterface(hostCallback));
    if (interface == nullptr)
        throw Error("the plug-in cannot make an effect; check that memory is left");
    record = interface->aeffect;
    dispatch(effOpen);
    if (record->numParams != std::ssize(kParameterOptions)) {
        dispatch(effClose);
        throw Error("{} is another plug-in: it does not have the parameters of Wail; check WAIL_BUNDLE",
                    bundleFile().string());
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

void HostedEffect::setParameters(const ParameterSettings& values)
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

std::string HostedEffect::text(VstInt32 opcode, VstInt32 index) const
{
    std::array<char, kTextBytes> buffer{};
    dispatch(opcode, index, 0, buffer.data());
    return buffer.data();
}
