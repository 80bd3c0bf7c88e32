#include "host/K_TypeIF.h"

#include "host/Opcodes.h"
#include "host/PluginFactory.h"

#include <memory>
#include <new>

namespace
{

K_TypeIF* makeInterface(audioMasterCallback audioMaster) noexcept
{
    if (audioMaster == nullptr)
        return nullptr;
    std::unique_ptr<K_TypeIF> interface(new (std::nothrow) K_TypeIF);
    if (interface == nullptr)
        return nullptr;
    try {
        if (audioMaster(nullptr, audioMasterVersion, 0, 0, nullptr, 0.0f) == 0)
            return nullptr;
        AudioEffect* const effect = createPluginFilter(audioMaster);
        if (effect == nullptr)
            return nullptr;
        // By the record's own pointer to the object: what the host will call has been reached once.
        auto* const object = static_cast<AudioEffect*>(effect->getAeffect()->object);
        interface->aeffect = object->getAeffect();
    } catch (...) {
        return nullptr;
    }
    return interface.release();
}

}  // namespace

K_TypeIF* getinterface(audioMasterCallback audioMaster)
{
    return makeInterface(audioMaster);
}

K_TypeIF* KTypeIF(audioMasterCallback audioMaster)
{
    return makeInterface(audioMaster);
}
