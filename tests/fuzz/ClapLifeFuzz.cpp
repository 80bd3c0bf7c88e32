// The life of a CLAP instance, made of bytes: activations, blocks of both precisions with events, flushes, states,
// presets, texts and resets in any order. Every buffer is exactly as long as the block, so that the address
// sanitizer sees each byte beyond.

#include "tests/adapters/ClapHost.h"
#include "tests/support/Signals.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <array>

#undef NDEBUG  // what a host relies on is asserted in every build
#include <cassert>

extern "C" const clap::Entry clap_entry;

namespace
{

double number(FuzzedDataProvider& in)
{
    constexpr std::array kSpecial{0.0, 1.0, 0.5, -1.0, 1e-310, 1e300, double{INFINITY}, double{NAN}};
    const auto byte = in.ConsumeIntegral<std::uint8_t>();
    return byte < 64 ? kSpecial[byte % kSpecial.size()] : byte / 255.0;
}

ClapEvents events(FuzzedDataProvider& in)
{
    ClapEvents list(in.ConsumeIntegralInRange(0, 6));
    for (clap::ParamEvent& event : list) {
        event = valueEvent(in.ConsumeIntegralInRange(0, 8), number(in), in.ConsumeIntegralInRange(0, 300));
        event.header.type = in.ConsumeIntegralInRange<std::uint16_t>(4, 7);
        event.header.size -= in.ConsumeIntegralInRange(0, 15) == 0;
    }
    return list;  // not sorted: some hosts err
}

template <typename Sample>
void process(ClapInstance& instance, FuzzedDataProvider& in)
{
    const std::size_t frames = in.ConsumeIntegralInRange(0, 255) * (in.ConsumeBool() ? 1 : 20);
    const std::vector<double> source = noise(frames, number(in), in.ConsumeIntegral<std::uint8_t>());
    const std::vector<Sample> input(source.begin(), source.end());
    std::vector<Sample> output = input;
    const Sample* const from = in.ConsumeBool() ? input.data() : output.data();
    const clap::ProcessStatus status = instance.process(from, output.data(), frames, events(in));
    if (status == clap::kProcessError)  // not active, or no buffers
        return;
    assert(status == clap::kProcessContinue || status == clap::kProcessSleep);
    for (const Sample sample : output) {
        assert(std::isnormal(sample) || sample == 0);
        assert(instance.constantMask == 0 || sample == output[0]);
        assert(status == clap::kProcessContinue || std::abs(sample) <= 1e-3);
    }
}

void step(ClapInstance& instance, FuzzedDataProvider& in)
{
    constexpr std::array kRates{62.5, 1234.5678, 48000.0, 192000.0, 0.0, double{NAN}};
    constexpr std::array kPresets{"gentle-sweep", "howling-comb", "no such preset"};
    switch (in.ConsumeIntegralInRange(0, 15)) {
    case 0: instance.activate(in.PickValueInArray(kRates)); break;
    case 1: instance.deactivate(); break;
    case 2: instance.plugin->reset(instance.plugin); break;
    case 3: instance.flush(events(in)); break;
    case 4: instance.loadPreset(in.PickValueInArray(kPresets)); break;
    case 5: assert(instance.load(instance.save())); break;
    case 6: instance.load("WAIL\1" + in.ConsumeRandomLengthString(70)); break;
    case 7:
        instance.valueOf(in.ConsumeIntegralInRange(0, 8), in.ConsumeRandomLengthString(40).c_str());
        break;
    case 8: {
        const clap::Id id = in.ConsumeIntegralInRange(0, 6);
        const std::string text = instance.textOf(id, in.ConsumeProbability<double>());
        assert(instance.textOf(id, instance.valueOf(id, text.c_str())) == text);
        break;
    }
    default: in.ConsumeBool() ? process<double>(instance, in) : process<float>(instance, in);
    }
    for (clap::Id id = 0; id < 7; ++id)
        assert(instance.value(id) >= 0.0 && instance.value(id) <= 1.0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider bytes(data, size);
    ClapInstance instance(clap_entry);
    instance.activate(48000.0);
    while (bytes.remaining_bytes() > 0)
        step(instance, bytes);
    return 0;
}
