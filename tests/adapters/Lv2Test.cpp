#include "tests/adapters/Lv2Host.h"
#include "tests/support/Allocations.h"
#include "tests/support/ShippedPresets.h"
#include "tests/support/Signals.h"
#include "tests/support/TestHost.h"

TEST_F(Lv2, HasOnePluginWhoseInstancesTakeTheRatesOfTheEffectAndLeaveNothing)
{
    using Describe = const LV2_Descriptor* (*)(std::uint32_t);
    const auto describe =
        reinterpret_cast<Describe>(findSymbol(loadLibrary(WAIL_LV2 "/wail.so"), "lv2_descriptor"));
    EXPECT_EQ(describe(1), nullptr);
    const auto before = Allocations::live.load();
    for (const double rate : {62.4, 3072001.0, -48000.0, double{NAN}})
        EXPECT_EQ(instance(rate), nullptr) << rate;
    for (const double rate : {62.5, 48000.0, 3072000.0})
        EXPECT_NE(instance(rate), nullptr) << rate;
    const LV2_Descriptor& wail = *describe(0);
    const auto makeAndEnd = [&wail] {
        const LV2_Handle made = wail.instantiate(&wail, 48000.0, "", nullptr);
        return made != nullptr && (wail.cleanup(made), true);
    };
    EXPECT_GE(Allocations::failEach(makeAndEnd), 3);
    EXPECT_EQ(Allocations::live, before);
}

// Though nothing is connected but the audio, and it was never activated.
TEST_F(Lv2, ForgetsEverythingWhenItIsActivated)
{
    const std::vector<double> signal = noise(2000);
    const auto lv2 = instance(48000.0);
    std::vector<float> first(signal.begin(), signal.end()), second = first;
    lilv_instance_run(lv2.get(), 2000);
    run(lv2.get(), first.data(), first.data(), 2000);
    EXPECT_NE(first, second);
    lilv_instance_activate(lv2.get());
    run(lv2.get(), second.data(), second.data(), 2000);
    EXPECT_EQ(first, second);
}

// Seconds of full level sweep the teeth all the way, seconds of silence let them rest.
TEST_F(Lv2, ShowsHowFarItSweeps)
{
    const auto lv2 = instance(48000.0);
    float sweep = -1.0f;
    lilv_instance_connect_port(lv2.get(), kSweep, &sweep);
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

TEST_F(Lv2, DescribesItsPortsAsTheParametersAre)
{
    const Plugin effect;
    const std::string core = "http://lv2plug.in/ns/lv2core#", props = "http://lv2plug.in/ns/ext/port-props#";
    float minima[10], maxima[10], defaults[10];
    ASSERT_EQ(lilv_plugin_get_num_ports(plugin()), 10u);
    lilv_plugin_get_port_ranges_float(plugin(), minima, maxima, defaults);
    for (unsigned index = 0; index < 7; ++index) {
        SCOPED_TRACE(index);
        const LilvPort* const port = lilv_plugin_get_port_by_index(plugin(), index);
        const std::shared_ptr<LilvNode> name(lilv_port_get_name(plugin(), port), lilv_node_free);
        const std::shared_ptr<LilvScalePoints> points(lilv_port_get_scale_points(plugin(), port),
                                                      lilv_scale_points_free);
        const bool isSwitch = index == 0 || index == 5;
        EXPECT_EQ(lilv_node_as_string(name.get()),
                  effect.text(effGetParamName, static_cast<VstInt32>(index)));
        EXPECT_EQ(defaults[index], effect.get(static_cast<VstInt32>(index)));
        EXPECT_EQ(std::pair(minima[index], maxima[index]), std::pair(0.0f, 1.0f));
        EXPECT_EQ(lilv_port_has_property(plugin(), port, node(core + "toggled").get()), isSwitch);
        EXPECT_EQ(lilv_port_has_property(plugin(), port, node(props + "hasStrictBounds").get()), !isSwitch);
        EXPECT_EQ(lilv_scale_points_size(points.get()), isSwitch ? 2u : 0u);
    }
    const auto control = node(core + "InputPort");
    EXPECT_EQ(lilv_plugin_get_port_by_designation(plugin(), control.get(), node(core + "enabled").get()),
              lilv_plugin_get_port_by_index(plugin(), 0));
}

// Without "enabled", so that choosing one never ends a bypass.
TEST_F(Lv2, OffersTheShippedPresets)
{
    std::map<std::string, LV2_URID> ids;
    const auto idOf = [](void* all, const char* uri) {
        auto& known = *static_cast<std::map<std::string, LV2_URID>*>(all);
        return known.try_emplace(uri, known.size() + 1).first->second;
    };
    LV2_URID_Map map{&ids, idOf};
    const std::array symbols{"sense", "reso", "range", "balance", "invert", "envelope"};
    for (const auto& [id, preset] : shippedPresets()) {
        SCOPED_TRACE(id);
        const auto uri = node("urn:korva:wail:" + id);
        lilv_world_load_resource(world.get(), uri.get());
        const std::shared_ptr<LilvState> state(lilv_state_new_from_world(world.get(), &map, uri.get()),
                                               lilv_state_free);
        ASSERT_NE(state, nullptr);
        EXPECT_EQ(lilv_state_get_label(state.get()), preset.name);
        std::map<std::string, float> values, expected;
        const auto take = [](const char* symbol, void* all, const void* value, std::uint32_t, std::uint32_t) {
            (*static_cast<std::map<std::string, float>*>(all))[symbol] = *static_cast<const float*>(value);
        };
        lilv_state_emit_port_values(state.get(), take, &values);
        for (std::size_t i = 0; i < symbols.size(); ++i)
            expected[symbols[i]] = preset.values[i + 1];
        EXPECT_EQ(values, expected);
    }
}
