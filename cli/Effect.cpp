#include "cli/Effect.h"

#include "cli/Error.h"
#include "host/K_TypeIF.h"
#include "host/Opcodes.h"

#include <dlfcn.h>

#include <memory>

#ifdef __APPLE__
#include <mach-o/dyld.h>
#endif

namespace
{

constexpr VstIntPtr kInterfaceVersion = 2400;

// This host offers no services beyond telling its version.
VstIntPtr answerEffect(AEffect* /*effect*/, VstInt32 opcode, VstInt32 /*index*/, VstIntPtr /*value*/,
                       void* /*ptr*/, float /*opt*/)
{
    return opcode == audioMasterVersion ? kInterfaceVersion : 0;
}

}  // namespace

std::filesystem::path Bundle::standardFile()
{
#ifdef __APPLE__
    char path[4096];
    std::uint32_t size = sizeof path;
    const std::filesystem::path program = _NSGetExecutablePath(path, &size) == 0 ? path : "wail";
    return program.parent_path() / "Wail.bundle/Contents/MacOS/Wail";
#else
    return std::filesystem::read_symlink("/proc/self/exe").parent_path() / "Wail.so";
#endif
}

Bundle::Bundle(const std::filesystem::path& file)
{
    void* const library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr)
        throw Error(std::string("cannot load the plug-in: ") + dlerror());
    getinterface = reinterpret_cast<EntryPoint>(dlsym(library, "getinterface"));
    if (getinterface == nullptr)
        throw Error(file.string() + " is no plug-in of the kind this program hosts: it has no getinterface");
}

Effect::Effect(const Bundle& bundle, double sampleRate, VstInt32 blockSize)
{
    const std::unique_ptr<K_TypeIF> interface(bundle.getinterface(answerEffect));
    if (interface == nullptr)
        throw Error("the plug-in cannot make an effect; is there memory left?");
    record = interface->aeffect;
    record->dispatcher(record, effOpen, 0, 0, nullptr, 0.0f);
    record->dispatcher(record, effSetSampleRate, 0, 0, nullptr, static_cast<float>(sampleRate));
    record->dispatcher(record, effSetBlockSize, 0, blockSize, nullptr, 0.0f);
    record->dispatcher(record, effMainsChanged, 0, 1, nullptr, 0.0f);
}

Effect::~Effect()
{
    record->dispatcher(record, effMainsChanged, 0, 0, nullptr, 0.0f);
    record->dispatcher(record, effClose, 0, 0, nullptr, 0.0f);
}
