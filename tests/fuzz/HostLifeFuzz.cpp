// A host driven by the fuzzer's bytes: it sends an effect the requests that the bytes say, and asserts that every
// block's output is finite and not subnormal. Every buffer has exactly the agreed length, so that the address sanitizer
// finds any access beyond it.

#include "host/VstRecords.h"
#include "tests/support/Signals.h"
#include "tests/support/TestHost.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <array>
#include <map>

#undef NDEBUG  // assert in every build
#include <cassert>

namespace
{

// Bytes that the effect may write for an opcode.
// clang-format off
const std::map<VstInt32, std::size_t> kRoom{
    {effGetParamLabel, 9}, {effGetParamDisplay, 9}, {effGetParamName, 9}, {effGetProgramName, 24},
    {effGetProgramNameIndexed, 24}, {effGetEffectName, 64}, {effGetVendorString, 64}, {effGetProductString, 64},
    {effGetSpeakerArrangement, sizeof(void*)}, {effGetParameterProperties, sizeof(VstParameterProperties)}};
// clang-format on

class Life
{
public:
    explicit Life(FuzzedDataProvider& bytes) : in(bytes) {}

    void step()
    {
        hostCalls.clear();
        const int kind = in.ConsumeIntegralInRange(0, 15);
        if (kind == 0) {
            const float rate = number();
            plugin.setRate(rate);
            hasRate = hasRate || (rate >= 62.5f && rate <= 3072000.0f);
        } else if (kind < 5) {
            request();
        } else if (kind < 10) {
            plugin.set(index(), number());
        } else {
            process();
        }
    }

private:
    // One byte makes a likely index or number, a few bytes make any.
    VstInt32 index()
    {
        const auto byte = in.ConsumeIntegral<std::uint8_t>();
        return byte < 248 ? byte % 8 : in.ConsumeIntegral<VstInt32>();
    }
    float number()
    {
        constexpr std::array kLikely{0.0f, 1.0f, 0.5f,     62.5f,     48000.0f, 3072000.0f,
                                     NAN,  1e6f, INFINITY, 192000.0f, -1.0f,    1e-40f};
        const auto byte = in.ConsumeIntegral<std::uint8_t>();
        return byte < 240 ? kLikely[byte % kLikely.size()]
                          : std::bit_cast<float>(in.ConsumeIntegral<std::uint32_t>());
    }

    // Any opcode but effClose, with a text of any length.
    void request()
    {
        const VstInt32 opcode =
            in.ConsumeBool() ? in.ConsumeIntegralInRange(0, 80) : in.ConsumeIntegral<VstInt32>();
        if (opcode == effClose || opcode == effSetSampleRate)
            return;
        std::vector<char> text(in.ConsumeIntegral<std::uint8_t>() % 64, 'x');
        text.push_back('\0');
        if (kRoom.contains(opcode))
            text.resize(kRoom.at(opcode));
        void* other = nullptr;
        const VstIntPtr value = opcode == effGetSpeakerArrangement ? reinterpret_cast<VstIntPtr>(&other)
                                : in.ConsumeBool()                 ? index()
                                                                   : in.ConsumeIntegral<VstIntPtr>();
        plugin.dispatch(opcode, index(), value, in.ConsumeBool() ? text.data() : nullptr, number());
    }

    void process()
    {
        const auto length = in.ConsumeIntegralInRange<std::size_t>(0, 600);
        std::vector<double> block = noise(length, number(), in.ConsumeIntegral<std::uint8_t>());
        if (length > 0 && in.ConsumeBool())
            block[index() % length] = std::bit_cast<double>(in.ConsumeIntegral<std::uint64_t>());
        const std::vector<double> original = block;
        plugin.process(block);
        for (std::size_t i = 0; i < length; ++i)
            assert(hasRate ? std::isnormal(block[i]) || block[i] == 0.0
                           : bitsOf(block[i]) == bitsOf(original[i]));
    }

    const Plugin plugin{getinterface};
    FuzzedDataProvider& in;
    bool hasRate = false;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider bytes(data, size);
    for (Life life(bytes); bytes.remaining_bytes() > 0;)
        life.step();
    return 0;
}
