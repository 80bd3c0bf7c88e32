#include "host/AudioEffectX.h"

#include <algorithm>
#include <limits>
#include <new>

namespace
{

void release(VstSpeakerArrangement** arrangement)
{
    delete[] reinterpret_cast<char*>(*arrangement);
    *arrangement = nullptr;
}

}  // namespace

// Arrangements have any number of speakers, so they are allocated and freed as byte arrays.
bool AudioEffectX::allocateArrangement(VstSpeakerArrangement** arrangement, VstInt32 nbChannels)
{
    constexpr std::size_t kHeader = offsetof(VstSpeakerArrangement, speakers);
    constexpr std::size_t kMaxChannels =
        (std::numeric_limits<std::size_t>::max() - kHeader) / sizeof(VstSpeakerProperties);

    release(arrangement);
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
    release(arrangement);
    return true;
}

bool AudioEffectX::copySpeaker(VstSpeakerProperties* to, VstSpeakerProperties* from)
{
    if (to == nullptr || from == nullptr)
        return false;
    const VstSpeakerProperties source = *from;  // a copy, since to may be from
    *to = source;
    char* const last = to->name + kVstMaxNameLen - 1;
    std::fill(std::find(to->name, last, '\0'), last + 1, '\0');
    return true;
}

bool AudioEffectX::matchArrangement(VstSpeakerArrangement** to, VstSpeakerArrangement* from)
{
    if (from == nullptr)
        return false;
    if (!deallocateArrangement(to) || !allocateArrangement(to, from->numChannels))
        return false;
    (*to)->type = from->type;
    VstSpeakerProperties* const target = (*to)->speakers;  // numChannels of them, also if more than 8
    VstSpeakerProperties* const source = from->speakers;
    for (VstInt32 channel = 0; channel < from->numChannels; ++channel) {
        if (!copySpeaker(target + channel, source + channel))
            return false;
    }
    return true;
}
