#include "tests/adapters/Lv2Host.h"
#include "tests/adapters/Vst24Host.h"
#include "tests/support/Allocations.h"
#include "tests/support/Signals.h"

#include <algorithm>
#include <cfloat>

namespace
{

using Adapters = Lv2;

// What a host may send to set a value of 0 .. 1: for an end anything beyond it, for a switch anything on its side.
float sentFor(float value, bool isSwitch, float threshold, Random& random)
{
    if (isSwitch)
        return value == 1.0f ? random.pick(std::array{1.0f, threshold, INFINITY})
                             : random.pick(std::array{0.0f, -1.0f, std::nextafter(threshold, -1.0f)});
    if (value == 1.0f)
        return random.pick(std::array{1.0f, 1.5f, FLT_MAX, INFINITY});
    return value == 0.0f ? random.pick(std::array{0.0f, -0.5f, -INFINITY}) : value;
}

// Rounds to nearest: to the largest float beyond the range, and to 0 if the result would be subnormal.
float narrowed(double sample)
{
    const auto single = static_cast<float>(std::clamp<double>(sample, -FLT_MAX, FLT_MAX));
    return std::fpclassify(single) == FP_SUBNORMAL ? 0.0f : single;
}

}  // namespace

// The bundle glides from 0 through its first block, unless that is empty. As with some hosts, nobody switches the
// VST 2.4 effect on or sends it a block size.
TEST_F(Adapters, SoundAsTheBundleFromTheFirstSampleOnAndAllocateNothing)
{
    Random random{std::mt19937(7)};
    const std::vector<double> source = strokes(1 << 16, 6000);
    const Plugin bundle, vst24{makeVst24(hostCallback)};
    bundle.setRate(48000.0f);
    vst24.setRate(48000.0f);
    const auto lv2 = instance(48000.0);
    float controls[7];
    for (unsigned index = 0; index < 7; ++index)
        lilv_instance_connect_port(lv2.get(), index, &controls[index]);
    lilv_instance_activate(lv2.get());
    for (int block = 0; block < 400; ++block) {
        for (int index = 0; index < 7; ++index) {
            const bool isSwitch = index == 0 || index == 5;
            if (block > 0 && !random.oneIn(isSwitch ? 8 : 3))
                continue;
            if (block > 0 && random.oneIn(5)) {  // leaves the last value
                vst24.set(index, NAN);
                controls[index] = NAN;
                continue;
            }
            const float value = isSwitch ? static_cast<float>(random.oneIn(2))
                                         : random.pick(std::array{0.0f, 1.0f, random.share()});
            bundle.set(index, value);
            vst24.set(index, sentFor(value, isSwitch, 0.5f, random));
            controls[index] = sentFor(value, isSwitch, FLT_TRUE_MIN, random);
            ASSERT_EQ(vst24.get(index), value);
        }
        if (block == 0)
            bundle.process(nullptr, 0);
        const int length = random.pick(std::array{0, 1, 2, 63, 333, 1024, 8192, 20000});
        const auto start = source.begin() + random.next() % 40000;
        std::vector<float> input(start, start + length);
        if (random.oneIn(10))
            std::ranges::for_each(input, [](float& sample) { sample *= 1e-37f; });
        if (length > 0 && random.oneIn(20))
            input[random.next() % input.size()] = random.pick(std::array{FLT_MAX, NAN});
        std::vector<double> wide(input.begin(), input.end());
        bundle.process(wide.data(), length);
        std::vector<float> expected(input.size());
        std::ranges::transform(wide, expected.begin(), narrowed);

        std::vector<float> ofVst24 = input, ofLv2 = input;  // every other block in place
        float* const outputs[] = {ofVst24.data(), ofLv2.data()};
        float* inputs[] = {random.oneIn(2) ? outputs[0] : input.data(),
                           random.oneIn(2) ? outputs[1] : input.data()};
        const std::size_t before = Allocations::count;
        if (random.oneIn(5))  // which takes no new values
            vst24.record->processReplacing(vst24.record, inputs, const_cast<float**>(outputs), -1);
        vst24.record->processReplacing(vst24.record, length == 0 ? nullptr : inputs,
                                       length == 0 ? nullptr : const_cast<float**>(outputs), length);
        run(lv2.get(), inputs[1], outputs[1], input.size());
        EXPECT_EQ(Allocations::count, before);
        ASSERT_EQ(ofVst24, expected) << block;
        ASSERT_EQ(ofLv2, expected) << block;
    }
}
