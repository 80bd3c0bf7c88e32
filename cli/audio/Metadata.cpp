#include "cli/audio/Metadata.h"

#include "cli/Text.h"
#include "cli/audio/AudioFormat.h"

#include <algorithm>

namespace
{

using BroadcastExtension = SF_BROADCAST_INFO_VAR(1 << 13);  // with room for a long coding history

// Reads one item from a sound with libsndfile's command; returns false if it has none.
template <typename Item>
bool get(SNDFILE* sound, int command, Item& item)
{
    return sf_command(sound, command, &item, sizeof item) == SF_TRUE;
}

template <typename Item>
bool set(SNDFILE* sound, int command, Item& item)
{
    return sf_command(sound, command, &item, sizeof item) == SF_TRUE;
}

// Returns false if a text was lost.
bool copyTexts(SNDFILE* from, SNDFILE* to)
{
    bool complete = true;
    for (int text = SF_STR_FIRST; text <= SF_STR_LAST; ++text)
        if (const char* const content = sf_get_string(from, text);
            content != nullptr && text != SF_STR_SOFTWARE)
            complete = sf_set_string(to, text, toUtf8(content).c_str()) == 0 && complete;
    return complete;
}

void shift(BroadcastExtension& broadcast, std::int64_t frames)
{
    const std::uint64_t start =
        (std::uint64_t{broadcast.time_reference_high} << 32 | broadcast.time_reference_low) +
        static_cast<std::uint64_t>(frames);
    broadcast.time_reference_low = static_cast<std::uint32_t>(start);
    broadcast.time_reference_high = static_cast<std::uint32_t>(start >> 32);
}

}  // namespace

std::vector<int> channelLayout(SNDFILE* sound, int channels)
{
    std::vector<int> layout(static_cast<std::size_t>(channels));
    const auto bytes = static_cast<int>(layout.size() * sizeof(int));
    const bool known = sf_command(sound, SFC_GET_CHANNEL_MAP_INFO, layout.data(), bytes) == SF_TRUE;
    // libsndfile does not fill in every layout that it finds.
    const bool valid = known && std::ranges::all_of(layout, [](int place) {
                           return place > SF_CHANNEL_MAP_INVALID && place < SF_CHANNEL_MAP_MAX;
                       });
    return valid ? layout : std::vector<int>();
}

std::vector<std::string> copyMetadata(SNDFILE* from, const MetadataTarget& to)
{
    std::vector<std::string> lost;
    if (!copyTexts(from, to.sound))
        lost.emplace_back("titles");

    const int container = containerOf(to.info.format);
    std::vector<int> layout = channelLayout(from, to.info.channels);
    const auto bytes = static_cast<int>(layout.size() * sizeof(int));
    const bool isImplied = layout.size() < 3 || container == SF_FORMAT_FLAC;
    if (!layout.empty() && sf_command(to.sound, SFC_SET_CHANNEL_MAP_INFO, layout.data(), bytes) != SF_TRUE &&
        !isImplied)
        lost.emplace_back("the channel layout");

    BroadcastExtension broadcast{};
    if (get(from, SFC_GET_BROADCAST_INFO, broadcast)) {
        shift(broadcast, to.firstFrame);
        if (!set(to.sound, SFC_SET_BROADCAST_INFO, broadcast))
            lost.emplace_back("the broadcast extension");
    }

    // For these libsndfile reports success although most containers lose them.
    const bool holdsLoops = container == SF_FORMAT_WAV || container == SF_FORMAT_WAVEX;
    const bool holdsCues = holdsLoops || container == SF_FORMAT_AIFF;
    SF_CUES cues{};
    if (get(from, SFC_GET_CUE, cues) && (to.isExcerpt || !holdsCues || !set(to.sound, SFC_SET_CUE, cues)))
        lost.emplace_back("cue points");
    SF_INSTRUMENT loops{};
    if (get(from, SFC_GET_INSTRUMENT, loops) &&
        (to.isExcerpt || !holdsLoops || !set(to.sound, SFC_SET_INSTRUMENT, loops)))
        lost.emplace_back("loops");
    return lost;
}
