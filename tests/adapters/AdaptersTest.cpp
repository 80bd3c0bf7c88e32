#include "tests/support/Allocations.h"
#include "tests/support/ShippedPresets.h"
#include "tests/support/Signals.h"
#include "tests/support/TestHost.h"

#include <gtest/gtest.h>
#include <lilv/lilv.h>

#include <cfloat>
#include <sstream>

namespace
{

// The main function of the built VST 2.4 module. Returns null if it refuses the host.
AEffect* (*const makeVst24)(audioMasterCallback) =
    reinterpret_cast<AEffect* (*)(audioMasterCallback)>(findSymbol(loadLibrary(WAIL_VST24), "VSTPluginMain"));

const std::string kCore = "http://lv2plug.in/ns/lv2core#";

// A host of the built LV2 bundle alone, and an effect of the built VST 2.4 module. The bundle's ports: the parameters
// by their indices, then input, output and sweep.
class Adapters : public testing::Test
{
protected:
    Adapters() { lilv_world_load_bundle(world.get(), node("file://" WAIL_LV2 "/").get()); }

    std::shared_ptr<LilvNode> node(const std::string& uri) const
    {
        return {lilv_new_uri(world.get(), uri.c_str()), lilv_node_free};
    }
    const LilvPlugin* plugin() const
    {
        return lilv_plugins_get_by_uri(lilv_world_get_all_plugins(world.get()), node("urn:korva:wail").get());
    }
    // What the bundle says of a subject, each followed by a blank.
    std::string said(const LilvNode* subject, const std::string& predicate) const
    {
        std::string texts;
        LilvNodes* const objects =
            lilv_world_find_nodes(world.get(), subject, node(predicate).get(), nullptr);
        LILV_FOREACH (nodes, i, objects)
            texts += lilv_node_as_string(lilv_nodes_get(objects, i)) + std::string(" ");
        lilv_nodes_free(objects);
        return texts;
    }
    std::shared_ptr<LilvInstance> instance(double rate = 48000.0) const  // null if the plug-in refuses
    {
        LilvInstance* const made = lilv_plugin_instantiate(plugin(), rate, nullptr);
        return made == nullptr ? nullptr : std::shared_ptr<LilvInstance>(made, lilv_instance_free);
    }
    static void run(LilvInstance* instance, const float* input, float* output, std::size_t frames)
    {
        lilv_instance_connect_port(instance, 7, const_cast<float*>(input));
        lilv_instance_connect_port(instance, 8, output);
        lilv_instance_run(instance, static_cast<std::uint32_t>(frames));
    }

    const Plugin vst24{makeVst24(hostCallback)};
    const std::shared_ptr<LilvWorld> world{lilv_world_new(), lilv_world_free};
};

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

// The bundle glides from 0 through its first block, unless that is empty; the adapters start at their settings whenever
// they are switched on. As with some hosts, nobody sends the VST 2.4 effect a block size, or switches it on at first.
TEST_F(Adapters, SoundAsTheBundleFromTheFirstSampleOnAndAllocateNothing)
{
    Random random{std::mt19937(7)};
    const std::vector<double> source = strokes(1 << 16, 6000);
    vst24.record->processReplacing(vst24.record, nullptr, nullptr, 0);  // without a sample rate
    vst24.setRate(48000.0f);
    const auto lv2 = instance();
    lilv_instance_run(lv2.get(), 2000);  // with nothing connected
    float controls[7];
    for (unsigned index = 0; index < 7; ++index)
        lilv_instance_connect_port(lv2.get(), index, &controls[index]);
    std::unique_ptr<const Plugin> bundle;
    for (int block = 0; block < 500; ++block) {
        const bool isStart = block == 0 || random.oneIn(40);
        if (isStart) {
            bundle = std::make_unique<const Plugin>();
            bundle->setRate(48000.0f);
            if (block > 0)
                vst24.dispatch(effMainsChanged, 0, 1);
            lilv_instance_activate(lv2.get());
        }
        for (int index = 0; index < 7; ++index) {
            const bool isSwitch = index % 5 == 0;
            if (!isStart && !random.oneIn(isSwitch ? 8 : 3))
                continue;
            if (!isStart && random.oneIn(5)) {  // leaves the last value
                vst24.set(index, NAN);
                controls[index] = NAN;
                continue;
            }
            const float value = isSwitch ? static_cast<float>(random.oneIn(2))
                                         : random.pick(std::array{0.0f, 1.0f, random.share()});
            bundle->set(index, value);
            vst24.set(index, sentFor(value, isSwitch, 0.5f, random));
            controls[index] = sentFor(value, isSwitch, FLT_TRUE_MIN, random);
            ASSERT_EQ(vst24.get(index), value);
        }
        if (isStart)
            bundle->process(nullptr, 0);
        const int length = random.pick(std::array{0, 1, 2, 63, 333, 1024, 8192, 20000});
        const auto start = source.begin() + random.next() % 40000;
        std::vector<float> input(start, start + length);
        if (random.oneIn(10))
            std::ranges::for_each(input, [](float& sample) { sample *= 1e-37f; });
        if (length > 0 && random.oneIn(20))
            input[random.next() % input.size()] = random.pick(std::array{FLT_MAX, NAN});
        std::vector<double> wide(input.begin(), input.end()), wideOfVst24 = wide;
        bundle->process(wide.data(), length);
        std::vector<float> expected(input.size());
        std::ranges::transform(wide, expected.begin(), narrowed);

        std::vector<float> ofVst24 = input, ofLv2 = input;  // every other block in place
        float* outputs[] = {ofVst24.data(), ofLv2.data()};
        float* inputs[] = {random.oneIn(2) ? outputs[0] : input.data(),
                           random.oneIn(2) ? outputs[1] : input.data()};
        const std::size_t before = Allocations::count;
        if (random.oneIn(5))  // which takes no new values
            vst24.record->processReplacing(vst24.record, inputs, outputs, -1);
        const bool isDouble = random.oneIn(3);
        if (isDouble)
            vst24.process(wideOfVst24.data(), length);
        else
            vst24.record->processReplacing(vst24.record, length == 0 ? nullptr : inputs, outputs, length);
        run(lv2.get(), inputs[1], outputs[1], input.size());
        EXPECT_EQ(Allocations::count, before);
        ASSERT_TRUE(isDouble ? wideOfVst24 == wide : ofVst24 == expected) << block;
        ASSERT_EQ(ofLv2, expected) << block;
    }
}

TEST_F(Adapters, RefuseHostsAndRatesThatCannotWorkAndLeaveNothing)
{
    EXPECT_EQ(makeVst24(nullptr), nullptr);
    EXPECT_EQ(makeVst24([](auto...) -> VstIntPtr { return 0; }), nullptr);
    EXPECT_EQ(makeVst24([](auto...) -> VstIntPtr { throw 0; }), nullptr);
    using Describe = const LV2_Descriptor* (*)(std::uint32_t);
    const auto describe =
        reinterpret_cast<Describe>(findSymbol(loadLibrary(WAIL_LV2 "/wail.so"), "lv2_descriptor"));
    EXPECT_EQ(describe(1), nullptr);
    const auto before = Allocations::live.load();
    for (const double rate : {62.4, 3072001.0, -48000.0, double{NAN}})
        EXPECT_EQ(instance(rate), nullptr) << rate;
    for (const double rate : {62.5, 3072000.0})
        EXPECT_NE(instance(rate), nullptr) << rate;
    const auto makeVst24AndEnd = [] {
        AEffect* const made = makeVst24([](auto...) -> VstIntPtr { return 1; });
        return made != nullptr && (Plugin{made}, true);  // which closes it
    };
    const auto makeLv2AndEnd = [&wail = *describe(0)] {
        LV2_Handle made = wail.instantiate(&wail, 48000.0, "", nullptr);
        return made != nullptr && (wail.cleanup(made), true);
    };
    EXPECT_GE(Allocations::failEach(makeVst24AndEnd), 2);  // the effect and its programs
    EXPECT_GE(Allocations::failEach(makeLv2AndEnd), 3);
    EXPECT_EQ(Allocations::live, before);
}

// In the VST 2.4 module numbered programs follow. In the LV2 bundle they do without "enabled", so that choosing one
// never ends a bypass.
TEST_F(Adapters, OfferTheShippedPresets)
{
    EXPECT_EQ(vst24.text(effGetProgramName), "Gentle Sweep");
    using Values = std::vector<float>;
    std::map<std::string, Values> programs, expected;
    std::map<std::string, std::map<std::string, float>> ofLv2, expectedOfLv2;
    for (VstInt32 program = 0; program < 16; ++program) {
        vst24.dispatch(effSetProgram, 0, program);
        Values& values = programs[vst24.text(effGetProgramName)];
        for (VstInt32 index = 0; index < 7; ++index)
            values.push_back(vst24.get(index));
    }
    for (const char* const number : {"11", "12", "13", "14", "15", "16"})
        expected[std::string("Init ") + number] = {1.0f, 0.84210527f, 0.8f, 0.444f, 1.0f, 0.0f, 1.0f};

    for (const auto& [id, preset] : shippedPresets()) {
        const auto& [name, values] = preset;
        expected[name].assign(values.begin(), values.end());
        expectedOfLv2[name + ' '] = {{"sense ", values[1]},  {"reso ", values[2]},
                                     {"range ", values[3]},  {"balance ", values[4]},
                                     {"invert ", values[5]}, {"envelope ", values[6]}};
        const auto uri = node("urn:korva:wail:" + id);
        lilv_world_load_resource(world.get(), uri.get());
        auto& valuesOfLv2 = ofLv2[said(uri.get(), "http://www.w3.org/2000/01/rdf-schema#label")];
        LilvNodes* const ports =
            lilv_world_find_nodes(world.get(), uri.get(), node(kCore + "port").get(), nullptr);
        LILV_FOREACH (nodes, i, ports) {
            const LilvNode* const port = lilv_nodes_get(ports, i);
            valuesOfLv2[said(port, kCore + "symbol")] =
                std::stof(said(port, "http://lv2plug.in/ns/ext/presets#value"));
        }
        lilv_nodes_free(ports);
    }
    EXPECT_EQ(programs, expected);
    EXPECT_EQ(ofLv2, expectedOfLv2);
}

// Seconds of full level sweep the teeth all the way, seconds of silence let them rest.
TEST_F(Adapters, Lv2ShowsHowFarItSweeps)
{
    const auto lv2 = instance();
    float sweep = -1.0f;
    lilv_instance_connect_port(lv2.get(), 9, &sweep);
    lilv_instance_run(lv2.get(), 0);
    EXPECT_EQ(sweep, 0.0f);
    for (const float level : {1.0f, 0.0f}) {
        std::vector<float> signal(4 * 48000);
        for (std::size_t i = 0; i < signal.size(); ++i)
            signal[i] = i % 100 < 50 ? level : -level;
        run(lv2.get(), signal.data(), signal.data(), signal.size());
        EXPECT_NEAR(sweep, level, 0.01);
    }
}

TEST_F(Adapters, Lv2DescribesItsPortsAsListed)
{
    std::ostringstream listed, expected;
    for (unsigned index = 0; index < lilv_plugin_get_num_ports(plugin()); ++index) {
        const LilvNode* const port =
            lilv_port_get_node(plugin(), lilv_plugin_get_port_by_index(plugin(), index));
        for (const char* const what :
             {"name", "symbol", "default", "minimum", "maximum", "portProperty", "designation"})
            listed << said(port, kCore + what);
        listed << std::ranges::count(said(port, kCore + "scalePoint"), ' ') << " points\n";
    }
    expected << std::ifstream(WAIL_TESTS "/lv2-ports.txt").rdbuf();
    EXPECT_EQ(listed.str(), expected.str());
}
