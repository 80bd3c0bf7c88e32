#include "adapters/clap/ClapState.h"

#include <algorithm>
#include <bit>

namespace
{

constexpr std::array<unsigned char, 8> kHeader{'W', 'A', 'I', 'L', 1, 0, 0, 0};
constexpr std::size_t kValueSize = 8;
using State = std::array<unsigned char, kHeader.size() + kNumParams * kValueSize>;

}  // namespace

bool saveState(const ClapParameters::Values& values, const clap::OutputStream& stream) noexcept
{
    State state{};
    auto* byte = std::ranges::copy(kHeader, state.begin()).out;
    for (const double value : values) {
        for (std::size_t i = 0; i < kValueSize; ++i)
            *byte++ = static_cast<unsigned char>(std::bit_cast<std::uint64_t>(value) >> 8 * i);
    }
    std::size_t done = 0;
    while (done < state.size()) {
        const std::int64_t taken = stream.write(&stream, state.data() + done, state.size() - done);
        if (taken <= 0 || static_cast<std::uint64_t>(taken) > state.size() - done)
            return false;
        done += static_cast<std::size_t>(taken);
    }
    return true;
}

std::optional<ClapParameters::Values> loadState(const clap::InputStream& stream) noexcept
{
    std::array<unsigned char, State{}.size() + 1> bytes{};  // one more, which must not be there
    std::size_t size = 0;
    while (size < bytes.size()) {
        const std::int64_t given = stream.read(&stream, bytes.data() + size, bytes.size() - size);
        if (given < 0 || static_cast<std::uint64_t>(given) > bytes.size() - size)
            return std::nullopt;
        if (given == 0)
            break;
        size += static_cast<std::size_t>(given);
    }
    if (size != State{}.size() || !std::equal(kHeader.begin(), kHeader.end(), bytes.begin()))
        return std::nullopt;
    ClapParameters::Values values{};
    const unsigned char* byte = bytes.data() + kHeader.size();
    for (double& value : values) {
        std::uint64_t bits = 0;
        for (std::size_t i = 0; i < kValueSize; ++i)
            bits |= std::uint64_t{*byte++} << 8 * i;
        value = std::bit_cast<double>(bits);
    }
    return ClapParameters::areValid(values) ? std::optional(values) : std::nullopt;
}
