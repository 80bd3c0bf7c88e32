#include "tests/support/TestHost.h"

#include <dlfcn.h>

#include <memory>
#include <stdexcept>

VstIntPtr hostCallback(AEffect* effect, VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                       float opt)
{
    hostCalls.push_back({effect, opcode, index, value, ptr, opt});
    if (hostThrows)
        throw opcode;
    return hostAnswer;
}

K_TypeIF* (*entryPoint(const char* name))(audioMasterCallback)
{
    static void* const bundle = dlopen(WAIL_BUNDLE, RTLD_NOW | RTLD_LOCAL);
    if (bundle == nullptr)
        throw std::runtime_error(dlerror());
    return reinterpret_cast<K_TypeIF* (*)(audioMasterCallback)>(dlsym(bundle, name));
}

Plugin::Plugin()
{
    const std::unique_ptr<K_TypeIF> interface(entryPoint("getinterface")(hostCallback));
    record = interface->aeffect;
}

std::string Plugin::text(VstInt32 opcode, VstInt32 index) const
{
    char buffer[64] = "untouched";
    dispatch(opcode, index, 0, buffer);
    return buffer;
}
