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

// The bundle glides from 0 through its first block, unless that is empty. As with some hosts, nobody switches the
// VST 2.4 effect on or sends it a block size.
TEST_F(Adapters, SoundAsTheBundleFromTheFirstSampleOnAndAllocateNothing)
{
    Random random{std::mt19937(7)};
    const std::vector<double> source = strokes(1 << 16, 6000);
    const Plugin bundle;
    bundle.setRate(48000.0f);
    vst24.setRate(48000.0f);
    const auto lv2 = instance();
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
    std::map<std::string, std::array<float, 7>> programs, expected;
    for (VstInt32 program = 0; program < 16; ++program) {
        vst24.dispatch(effSetProgram, 0, program);
        const std::string name = vst24.text(effGetProgramName);
        EXPECT_EQ(vst24.text(effGetProgramNameIndexed, program), name);
        for (VstInt32 index = 0; index < 7; ++index)
            programs[name][static_cast<std::size_t>(index)] = vst24.get(index);
    }
    for (const char* const name : {"Init 11", "Init 12", "Init 13", "Init 14", "Init 15", "Init 16"})
        expected[name] = {1.0f, 0.84210527f, 0.8f, 0.444f, 1.0f, 0.0f, 1.0f};

    LV2_URID_Map map{nullptr, [](void*, const char* uri) {
                         static std::map<std::string, LV2_URID> ids;
                         return ids.try_emplace(uri, ids.size() + 1).first->second;
                     }};
    using Ports = std::map<std::string, float>;
    const auto take = [](const char* symbol, void* ports, const void* value, std::uint32_t, std::uint32_t) {
        (*static_cast<Ports*>(ports))[symbol] = *static_cast<const float*>(value);
    };
    for (const auto& [id, preset] : shippedPresets()) {
        SCOPED_TRACE(id);
        const auto& [name, values] = preset;
        expected[name] = values;
        const auto uri = node("urn:korva:wail:" + id);
        lilv_world_load_resource(world.get(), uri.get());
        const std::shared_ptr<LilvState> state(lilv_state_new_from_world(world.get(), &map, uri.get()),
                                               lilv_state_free);
        ASSERT_NE(state, nullptr);
        EXPECT_EQ(lilv_state_get_label(state.get()), name);
        Ports ports;
        lilv_state_emit_port_values(state.get(), take, &ports);
        EXPECT_EQ(ports, (Ports{{"sense", values[1]},
                                {"reso", values[2]},
                                {"range", values[3]},
                                {"balance", values[4]},
                                {"invert", values[5]},
                                {"envelope", values[6]}}));
    }
    EXPECT_EQ(programs, expected);
}

// Also in double precision: a constant input with Balance at 0 and the effect switched on again.
TEST_F(Adapters, Vst24StartsAtItsSettingsWheneverItIsSwitchedOn)
{
    vst24.record->processReplacing(vst24.record, nullptr, nullptr, 0);  // without a sample rate
    vst24.record->processDoubleReplacing(vst24.record, nullptr, nullptr, 0);
    vst24.setRate(48000.0f);
    for (const float balance : {0.0f, 1.0f}) {
        vst24.dispatch(effMainsChanged, 0, 1);
        vst24.set(4, balance);
        std::vector<double> block(20, 0.5);
        vst24.process(block);
        EXPECT_EQ(block, std::vector(20, 0.5));  // too short for the comb to add anything
        vst24.dispatch(effMainsChanged, 0, 0);
    }
}

// Though nothing is connected but the audio, and it was never activated.
TEST_F(Adapters, Lv2ForgetsEverythingWhenItIsActivated)
{
    const std::vector<double> signal = noise(2000);
    const auto lv2 = instance();
    std::vector<float> first(signal.begin(), signal.end()), second = first;
    lilv_instance_run(lv2.get(), 2000);
    run(lv2.get(), first.data(), first.data(), 2000);
    EXPECT_NE(first, second);
    lilv_instance_activate(lv2.get());
    run(lv2.get(), second.data(), second.data(), 2000);
    EXPECT_EQ(first, second);
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
    const std::string core = "http://lv2plug.in/ns/lv2core#", props = "http://lv2plug.in/ns/ext/port-props#";
    float minima[10], maxima[10], defaults[10];
    ASSERT_EQ(lilv_plugin_get_num_ports(plugin()), 10u);
    lilv_plugin_get_port_ranges_float(plugin(), minima, maxima, defaults);
    std::ostringstream listed, expected;
    listed.precision(9);
    for (unsigned index = 0; index < 10; ++index) {
        const LilvPort* const port = lilv_plugin_get_port_by_index(plugin(), index);
        const std::shared_ptr<LilvNode> name(lilv_port_get_name(plugin(), port), lilv_node_free);
        const std::shared_ptr<LilvScalePoints> points(lilv_port_get_scale_points(plugin(), port),
                                                      lilv_scale_points_free);
        listed << lilv_node_as_string(name.get()) << ' ' << defaults[index] << " in " << minima[index]
               << " to " << maxima[index] << ", " << lilv_scale_points_size(points.get()) << " points";
        for (const std::string& property : {core + "toggled", props + "hasStrictBounds"})
            listed << (lilv_port_has_property(plugin(), port, node(property).get()) ? ", " + property : "");
        listed << '\n';
    }
    expected << std::ifstream(WAIL_TESTS "/lv2-ports.txt").rdbuf();
    EXPECT_EQ(listed.str(), expected.str());
    const auto control = node(core + "InputPort");
    EXPECT_EQ(lilv_plugin_get_port_by_designation(plugin(), control.get(), node(core + "enabled").get()),
              lilv_plugin_get_port_by_index(plugin(), 0));
}
