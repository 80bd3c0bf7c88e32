#include "cli/audio/Metadata.h"

#include "cli/Text.h"
#include "cli/audio/AudioFormat.h"

#include <algorithm>
#include <array>

namespace
{

using BroadcastExtension = SF_BROADCAST_INFO_VAR(1 << 13);  // with room for a long coding history

// libsndfile's commands for items of a sound; they return false if the sound has, or takes, none.
template <typename Item>
bool command(SNDFILE* sound, int number, Item& item)
{
    return sf_command(sound, number, &item, sizeof item) == SF_TRUE;
}

// Returns false if a text was lost. For AIFF libsndfile accepts all texts, but writes only these four.
bool copyTexts(SNDFILE* from, SNDFILE* to, bool isAiff)
{
    bool complete = true;
    for (int text = SF_STR_FIRST; text <= SF_STR_LAST; ++text)
        if (const char* const content = sf_get_string(from, text);
            content != nullptr && text != SF_STR_SOFTWARE) {
            const bool isKept = !isAiff || text == SF_STR_TITLE || text == SF_STR_ARTIST ||
                                text == SF_STR_COMMENT || text == SF_STR_COPYRIGHT;
            complete = sf_set_string(to, text, toUtf8(content).c_str()) == 0 && isKept && complete;
        }
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

int bytesOf(const std::vector<int>& layout)
{
    return static_cast<int>(layout.size() * sizeof(int));
}

// The layouts that FLAC prescribes for three channels and more. Source: RFC 9639, section 9.1.3.
constexpr int L = SF_CHANNEL_MAP_LEFT, R = SF_CHANNEL_MAP_RIGHT, C = SF_CHANNEL_MAP_CENTER,
              Lfe = SF_CHANNEL_MAP_LFE, BackL = SF_CHANNEL_MAP_REAR_LEFT, BackR = SF_CHANNEL_MAP_REAR_RIGHT,
              BackC = SF_CHANNEL_MAP_REAR_CENTER, SideL = SF_CHANNEL_MAP_SIDE_LEFT,
              SideR = SF_CHANNEL_MAP_SIDE_RIGHT;
const std::array<std::vector<int>, 6> kImpliedLayouts{{{L, R, C},
                                                       {L, R, BackL, BackR},
                                                       {L, R, C, BackL, BackR},
                                                       {L, R, C, Lfe, BackL, BackR},
                                                       {L, R, C, Lfe, BackC, SideL, SideR},
                                                       {L, R, C, Lfe, BackL, BackR, SideL, SideR}}};

}  // namespace

std::vector<int> channelLayout(SNDFILE* sound)
{
    SF_INFO info{};
    command(sound, SFC_GET_CURRENT_SF_INFO, info);
    std::vector<int> layout(static_cast<std::size_t>(info.channels));
    const bool known = sf_command(sound, SFC_GET_CHANNEL_MAP_INFO, layout.data(), bytesOf(layout)) == SF_TRUE;
    // libsndfile does not fill in every layout that it finds.
    if (known && std::ranges::all_of(layout, [](int place) {
            return place > SF_CHANNEL_MAP_INVALID && place < SF_CHANNEL_MAP_MAX;
        }))
        return layout;
    const int container = containerOf(info.format);
    const auto implied = std::ranges::find(kImpliedLayouts, layout.size(), &std::vector<int>::size);
    const bool isImplied = container == SF_FORMAT_FLAC || container == SF_FORMAT_OGG;
    return isImplied && implied != kImpliedLayouts.end() ? *implied : std::vector<int>();
}

std::vector<std::string> copyMetadata(SNDFILE* from, const MetadataTarget& to)
{
    std::vector<std::string> lost;
    const auto note = [&](bool copied, const char* what) {
        if (!copied)
            lost.emplace_back(what);
    };
    const int container = containerOf(to.info.format);
    note(copyTexts(from, to.sound, container == SF_FORMAT_AIFF), "titles");

    std::vector<int> layout = channelLayout(from);
    const bool isImplied = layout.size() < 3 || container == SF_FORMAT_FLAC;
    note(isImplied ||
             sf_command(to.sound, SFC_SET_CHANNEL_MAP_INFO, layout.data(), bytesOf(layout)) == SF_TRUE,
         "the channel layout");

    BroadcastExtension broadcast{};
    if (command(from, SFC_GET_BROADCAST_INFO, broadcast)) {
        shift(broadcast, to.firstFrame);
        note(command(to.sound, SFC_SET_BROADCAST_INFO, broadcast), "the broadcast extension");
    }
    // For these libsndfile reports success although most containers lose them.
    const bool holdsLoops = !to.isExcerpt && (container == SF_FORMAT_WAV || container == SF_FORMAT_WAVEX);
    const bool holdsCues = holdsLoops || (!to.isExcerpt && container == SF_FORMAT_AIFF);
    if (SF_CUES cues{}; command(from, SFC_GET_CUE, cues))
        note(holdsCues && command(to.sound, SFC_SET_CUE, cues), "cue points");
    if (SF_INSTRUMENT loops{}; command(from, SFC_GET_INSTRUMENT, loops))
        note(holdsLoops && command(to.sound, SFC_SET_INSTRUMENT, loops), "loops");
    return lost;
}
