#include "presets/ProgramFile.h"
#include "tests/support/Allocations.h"
#include "tests/support/Signals.h"
#include "tests/support/TestHost.h"

#include <gtest/gtest.h>
#include <lilv/lilv.h>

#include <algorithm>
#include <cfloat>
#include <fstream>
#include <map>
#include <memory>

namespace
{

AEffect* makeVst24(audioMasterCallback callback)
{
    void* const make = dlsym(loadLibrary(WAIL_VST24), "VSTPluginMain");
    return reinterpret_cast<AEffect* (*)(audioMasterCallback)>(make)(callback);
}

// A host of the built LV2 bundle and of nothing else. Ports: the parameters, then input and output.
class Lv2 : public testing::Test
{
protected:
    Lv2() { lilv_world_load_bundle(world.get(), node("file://" WAIL_LV2 "/").get()); }

    std::shared_ptr<LilvNode> node(const std::string& uri) const
    {
        return {lilv_new_uri(world.get(), uri.c_str()), lilv_node_free};
    }
    const LilvPlugin* plugin() const
    {
        return lilv_plugins_get_by_uri(lilv_world_get_all_plugins(world.get()), node("urn:korva:wail").get());
    }
    std::shared_ptr<LilvInstance> instance(double rate) const  // null where the plug-in refuses
    {
        LilvInstance* const made = lilv_plugin_instantiate(plugin(), rate, nullptr);
        return made == nullptr ? nullptr : std::shared_ptr<LilvInstance>(made, lilv_instance_free);
    }
    static void run(LilvInstance* instance, float* input, float* output, std::size_t frames)
    {
        lilv_instance_connect_port(instance, 7, input);
        lilv_instance_connect_port(instance, 8, output);
        lilv_instance_run(instance, static_cast<std::uint32_t>(frames));
    }

    const std::shared_ptr<LilvWorld> world{lilv_world_new(), lilv_world_free};
};
using Adapters = Lv2;

}  // namespace

// The switches, which the bundle fades without a click, too. A block is cut into pieces of 8192 samples, so
// that is how the bundle gets it here. What a float cannot hold stays finite. As with some hosts, nobody
// resumes the VST 2.4 effect or tells it a block size.
TEST_F(Adapters, SoundAsTheBundleAndAllocateNothingWhateverTheHostDoes)
{
    Chance chance{std::mt19937(7)};
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
            const bool isSwitch = index % 5 == 0;
            if (block == 0 || chance.oneIn(isSwitch ? 8 : 3))
                controls[index] = isSwitch ? static_cast<float>(chance.oneIn(2)) : chance.share();
            bundle.set(index, controls[index]);
            vst24.set(index, controls[index]);
        }
        const int length = chance.pick(std::array{0, 1, 2, 63, 333, 1024, 8192, 20000});
        const auto start = source.begin() + chance.random() % 40000;
        std::vector<float> input(start, start + length);
        if (length > 0 && chance.oneIn(20))
            input[chance.random() % input.size()] = chance.pick(std::array{FLT_MAX, NAN});
        std::vector<double> wide(input.begin(), input.end());
        if (length == 0)
            bundle.process(nullptr, 0);
        bundle.process(wide, 8192);
        std::vector<float> expected;
        for (const double sample : wide)
            expected.push_back(static_cast<float>(std::clamp<double>(sample, -FLT_MAX, FLT_MAX)));

        std::vector<float> ofVst24 = input, ofLv2 = input;  // every other block in place
        float* const outputs[] = {ofVst24.data(), ofLv2.data()};
        float* const inputs[] = {chance.oneIn(2) ? outputs[0] : input.data(),
                                 chance.oneIn(2) ? outputs[1] : input.data()};
        const std::size_t before = Allocations::count;
        vst24.record->processReplacing(vst24.record, const_cast<float**>(inputs),
                                       const_cast<float**>(outputs), length);
        run(lv2.get(), inputs[1], outputs[1], input.size());
        EXPECT_EQ(Allocations::count, before);
        ASSERT_EQ(ofVst24, expected) << block;
        ASSERT_EQ(ofLv2, expected) << block;
    }
}

TEST(Vst24, GivesNoEffectWithoutAHostThatWorks)
{
    EXPECT_EQ(makeVst24(nullptr), nullptr);
    EXPECT_EQ(makeVst24([](auto...) -> VstIntPtr { return 0; }), nullptr);
    EXPECT_EQ(makeVst24([](auto...) -> VstIntPtr { throw 0; }), nullptr);
}

TEST_F(Lv2, TakesTheRatesOfTheEffectAndForgetsEverythingWhenActivated)
{
    for (const double rate : {62.4, 3072001.0, -48000.0, double{NAN}})
        EXPECT_EQ(instance(rate), nullptr) << rate;
    const std::vector<double> signal = noise(2000);
    for (const double rate : {62.5, 48000.0, 3072000.0}) {
        const auto lv2 = instance(rate);
        std::vector<float> first(signal.begin(), signal.end()), second = first;
        run(lv2.get(), first.data(), first.data(), 2000);  // even without having been activated
        lilv_instance_activate(lv2.get());
        run(lv2.get(), second.data(), second.data(), 2000);
        EXPECT_EQ(first, second) << rate;
    }
}

TEST_F(Lv2, DescribesTheParametersAndPresetsAsTheyAre)
{
    const Plugin effect;
    float minima[9], maxima[9], defaults[9];
    lilv_plugin_get_port_ranges_float(plugin(), minima, maxima, defaults);
    std::map<std::string, std::size_t> indices;
    for (int index = 0; index < 7; ++index) {
        const LilvPort* const port = lilv_plugin_get_port_by_index(plugin(), static_cast<unsigned>(index));
        const std::shared_ptr<LilvNode> name(lilv_port_get_name(plugin(), port), lilv_node_free);
        EXPECT_EQ(lilv_node_as_string(name.get()), effect.text(effGetParamName, index));
        EXPECT_EQ(defaults[index], effect.get(index));
        EXPECT_EQ(std::pair(minima[index], maxima[index]), std::pair(0.0f, 1.0f));
        indices[lilv_node_as_string(lilv_port_get_symbol(plugin(), port))] = static_cast<std::size_t>(index);
    }

    std::map<std::string, LV2_URID> ids;
    const auto idOf = [](void* all, const char* uri) {
        auto& known = *static_cast<std::map<std::string, LV2_URID>*>(all);
        return known.try_emplace(uri, known.size() + 1).first->second;
    };
    LV2_URID_Map map{&ids, idOf};
    for (const char* const id : {"gentle-sweep", "funk-quack", "howling-comb"}) {
        std::ifstream stream(std::string(WAIL_PRESETS "/") + id + ".fxp", std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
        const ProgramFile program = parseProgramFile(bytes, {effect.record->uniqueID, 7, 16});
        const auto preset = node(std::string("urn:korva:wail:") + id);
        lilv_world_load_resource(world.get(), preset.get());
        const std::shared_ptr<LilvState> state(lilv_state_new_from_world(world.get(), &map, preset.get()),
                                               lilv_state_free);
        EXPECT_EQ(lilv_state_get_label(state.get()), program.name());
        std::map<std::string, float> values;
        const auto take = [](const char* symbol, void* all, const void* value, std::uint32_t, std::uint32_t) {
            (*static_cast<std::map<std::string, float>*>(all))[symbol] = *static_cast<const float*>(value);
        };
        lilv_state_emit_port_values(state.get(), take, &values);
        for (const auto& [symbol, index] : indices)
            EXPECT_EQ(values.at(symbol), program.values[index]) << id << ' ' << symbol;
    }
}
