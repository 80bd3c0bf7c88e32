#include "host/AudioEffectX.h"

#include "host/CopyText.h"

#include <algorithm>
#include <limits>
#include <new>

// An arrangement is made and released as a byte array: its length follows from its channels.
bool AudioEffectX::allocateArrangement(VstSpeakerArrangement** arrangement, VstInt32 nbChannels)
{
    constexpr std::size_t kHeader = offsetof(VstSpeakerArrangement, speakers);
    constexpr std::size_t kMaxChannels =
        (std::numeric_limits<std::size_t>::max() - kHeader) / sizeof(VstSpeakerProperties);

    deallocateArrangement(arrangement);
    if (nbChannels < 0 || static_cast<std::size_t>(nbChannels) > kMaxChannels)
        return false;
    const std::size_t size = kHeader + static_cast<std::size_t>(nbChannels) * sizeof(VstSpeakerProperties);
    char* const bytes = new (std::nothrow) char[size]();
    if (bytes == nullptr)
        return false;
    *arrangement = reinterpret_cast<VstSpeakerArrangement*>(bytes);
    (*arrangement)->numChannels = nbChannels;
    return true;
}

bool AudioEffectX::deallocateArrangement(VstSpeakerArrangement** arrangement)
{
    delete[] reinterpret_cast<char*>(*arrangement);
    *arrangement = nullptr;
    return true;
}

bool AudioEffectX::copySpeaker(VstSpeakerProperties* to, VstSpeakerProperties* from)
{
    if (to == nullptr || from == nullptr)
        return false;
    copyText(to->name, from->name, kVstMaxNameLen - 1);
    to->type = from->type;
    to->azimuth = from->azimuth;
    to->elevation = from->elevation;
    to->radius = from->radius;
    to->reserved = from->reserved;
    std::copy(std::begin(from->future), std::end(from->future), to->future);
    return true;
}

bool AudioEffectX::matchArrangement(VstSpeakerArrangement** to, VstSpeakerArrangement* from)
{
    if (from == nullptr)
        return false;
    if (!deallocateArrangement(to) || !allocateArrangement(to, from->numChannels))
        return false;
    (*to)->type = from->type;
    VstSpeakerProperties* const target = (*to)->speakers;  // as many as numChannels says, beyond 8 too
    VstSpeakerProperties* const source = from->speakers;
    for (VstInt32 channel = 0; channel < from->numChannels; ++channel) {
        if (!copySpeaker(target + channel, source + channel))
            return false;
    }
    return true;
}
