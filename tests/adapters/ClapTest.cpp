#include "tests/adapters/ClapLife.h"
#include "tests/support/Rows.h"
#include "tests/support/ShippedPresets.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <thread>

namespace
{

const clap::Entry& entry = *static_cast<const clap::Entry*>(findSymbol(loadLibrary(WAIL_CLAP), "clap_entry"));

std::string contentsOf(const std::string& file)
{
    std::ifstream stream(WAIL_TESTS "/" + file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

class Clap : public testing::Test
{
protected:
    // Returns the status of a block, whose highest magnitude is then in peak.
    clap::ProcessStatus play(std::vector<double> samples, const ClapEvents& events = {})
    {
        const auto status = instance.process(samples.data(), samples.data(), samples.size(), events);
        const auto [lowest, highest] = std::ranges::minmax(samples);
        peak = std::max(-lowest, highest);
        return status;
    }
    // Plays blocks of 512 samples of silence until the plug-in sleeps, and returns how many; at most 1000.
    int blocksUntilSleep()
    {
        int blocks = 1;
        while (play(std::vector(512, 0.0)) != clap::kProcessSleep && blocks < 1000)
            ++blocks;
        EXPECT_LE(peak, 1e-6);
        return blocks;
    }

    ClapInstance instance{entry};
    double peak = 0.0;
};

}  // namespace

TEST(ClapLife, SoundsAsTheBundleCutAtItsEvents)
{
    std::mt19937 random(11);
    ClapLife life(entry, entryPoint("getinterface"),
                  [&](std::uint32_t n) { return static_cast<std::uint32_t>(random() % n); });
    for (int step = 0; step < 1000; ++step)
        ASSERT_EQ(life.step(), nullptr) << step;
}

TEST_F(Clap, DescribesItselfAsListed)
{
    const clap::Plugin* const plugin = instance.plugin;
    EXPECT_TRUE(instance.activate(48000.0));
    std::ostringstream listed;
    listed.precision(17);
    const auto list = [&](const auto& first, const auto&... more) {
        listed << first;
        ((listed << ' ' << more), ...) << '\n';
    };
    EXPECT_EQ(plugin->descriptor->pluginVersion, std::string(WAIL_VERSION));
    const char* const* const feature = plugin->descriptor->features;
    list(plugin->descriptor->id, feature[0], feature[1], feature[2], feature[3], feature[4] == nullptr);
    const auto& params = instance.ask<clap::Params>(clap::kParams);
    list(params.count(plugin), "parameters");
    clap::ParamInfo info;
    std::memset(&info, 0x55, sizeof info);
    for (std::uint32_t i = 0; params.getInfo(plugin, i, &info); ++i)
        list(info.id, std::string(info.name) + info.module, info.flags, "is", info.defaultValue, "in",
             info.minValue, "to", info.maxValue, info.cookie == nullptr);
    const auto& ports = instance.ask<clap::AudioPorts>(clap::kAudioPorts);
    clap::AudioPortInfo port{};
    for (std::uint32_t i = 0; ports.get(plugin, i / 2, i % 2 == 0, &port); ++i)
        list(port.name, port.id, port.flags, port.channelCount, port.portType, "in place with",
             port.inPlacePair);
    const auto& controls = instance.ask<clap::RemoteControls>(clap::kRemoteControlsDraft);
    clap::RemoteControlsPage page{};
    for (std::uint32_t i = 0; controls.get(plugin, i, &page); ++i)
        std::apply(list, std::tuple_cat(std::tuple(page.name), std::to_array(page.params)));
    list("latency", instance.ask<clap::FrameCount>(clap::kLatency).get(plugin));
    EXPECT_EQ(listed.str(), contentsOf("clap-description.txt"));
}

// The table has parameters, texts and their values; -1 if there is none.
TEST_F(Clap, TurnsTextsIntoValuesAndBackExactly)
{
    for (int hundredths = 0; hundredths <= 1000; ++hundredths) {
        char text[16];
        std::snprintf(text, sizeof text, "%d.%02d", hundredths / 100, hundredths % 100);
        ASSERT_EQ(instance.valueOf(3, text), hundredths / 1000.0);
        ASSERT_EQ(instance.textOf(3, hundredths / 1000.0), text);
    }
    forEachRow("clap-texts.txt", [this](std::istream& row) {
        clap::Id id = 0;
        std::string text;
        double value = 0.0;
        row >> id >> std::quoted(text) >> value;
        EXPECT_EQ(instance.valueOf(id, text.c_str()), value);
    });
    EXPECT_EQ(instance.textOf(0, 1.0) + instance.textOf(5, 0.99) + instance.textOf(7, 0.5), "onoffnone");
    EXPECT_EQ(instance.textOf(1, 2.0) + instance.textOf(1, -1.0) + instance.textOf(1, NAN), "10.000.00none");
    EXPECT_EQ(instance.textOf(1, 0.5, 5) + instance.textOf(1, 0.5, 4), "5.00none");  // with its zero
}

TEST_F(Clap, RefusesStatesThatAreNotItsOwnAndChangesNothing)
{
    const std::string good = clapState({1.0, 0.1, 0.2, 0.3, 0.4, 1.0, 0.6});
    EXPECT_TRUE(instance.load(good));
    std::vector<std::string> bad{
        "",          good.substr(0, 8),         good.substr(0, 63),
        good + '\0', std::string(1 << 20, 'W'), clapState({0.5, 0.5, 0.5, 0.5, 0.5, 0.0, 0.5})};
    for (const double value : {-0.001, 1.001, double{NAN}})
        bad.push_back(clapState({0.0, 0.5, value, 0.5, 0.5, 0.0, 0.5}));
    for (const std::string& bytes : bad)
        EXPECT_FALSE(instance.load(bytes));
    const auto& state = instance.ask<clap::State>(clap::kState);
    static std::int64_t answer;  // of the streams below to any call
    for (const int each : {-1, 0, 100}) {
        answer = each;
        const clap::InputStream in{nullptr, [](auto...) { return answer; }};
        const clap::OutputStream out{nullptr, [](auto...) { return answer; }};
        EXPECT_FALSE(state.load(instance.plugin, &in) || state.save(instance.plugin, &out)) << answer;
    }
    EXPECT_EQ(instance.save(), good);
    EXPECT_EQ(instance.told, "rescan 1;");
}

TEST_F(Clap, ListsItsPresetsForTheHostAndLoadsThem)
{
    static std::ostringstream listed;
    listed.str("");
    clap::Indexer indexer{};
    indexer.declareLocation = [](auto*, auto* place) { return place->kind == 1 && place->path == nullptr; };
    clap::MetadataReceiver receiver{};
    receiver.addPluginId = [](auto*, auto* id) { listed << '|' << id->abi << ':' << id->id; };
    receiver.addCreator = receiver.setDescription =
        receiver.addFeature = [](auto*, auto* text) { listed << '|' << text; };
    receiver.beginPreset = [](auto*, auto* name, auto* key) {
        listed << '\n' << key << '|' << name;
        return std::ranges::count(listed.str(), '\n') < 11;  // no preset of a second round is wanted
    };
    for (const char* const id : {clap::kPresetDiscoveryFactory, clap::kPresetDiscoveryFactoryDraft}) {
        const auto& factory = *static_cast<const clap::PresetDiscoveryFactory*>(entry.getFactory(id));
        const char* const providerId = factory.descriptor(&factory, 0)->id;
        const clap::Provider* const provider = factory.create(&factory, &indexer, providerId);
        EXPECT_TRUE(provider->init(provider) &&
                    provider->getMetadata(provider, clap::kInPlugin, nullptr, &receiver));
        EXPECT_FALSE(provider->getMetadata(provider, clap::kInFile, "/tmp/wail.fxp", &receiver) ||
                     provider->getMetadata(provider, clap::kInPlugin, nullptr, nullptr) ||
                     factory.create(&factory, &indexer, "com.korva.wail") ||
                     factory.create(&factory, nullptr, providerId) || factory.descriptor(&factory, 1));
        provider->destroy(provider);
    }
    EXPECT_EQ(listed.str() + '\n', '\n' + contentsOf("clap-presets.txt"));

    std::string told;
    instance.flush({valueEvent(0, 1.0)});
    for (const auto& [id, preset] : shippedPresets()) {
        EXPECT_TRUE(instance.loadPreset(id.c_str()));
        ClapValues values{1.0};  // the bypass stays
        std::copy_n(preset.values.begin() + 1, 6, values.begin() + 1);
        EXPECT_EQ(instance.save(), clapState(values));
        told += "rescan 1;" + id + ";";
    }
    EXPECT_FALSE(instance.loadPreset("funk") || instance.loadPreset(nullptr) ||
                 instance.loadPreset("slow-tide", clap::kInFile));
    EXPECT_EQ(instance.told, told + "error;error;error;");
}

// Also at a rate where the delay is so short that sound comes back with each lap of the line.
TEST_F(Clap, RingsNoLongerThanItsTail)
{
    for (const auto& [rate, invert] :
         {std::pair(1000.0, 0.0), {1000.0, 1.0}, {48000.0, 0.0}, {48000.0, 1.0}, {192000.0, 1.0}}) {
        instance.deactivate();
        EXPECT_TRUE(instance.load(clapState({0.0, 1.0, 1.0, 1.0, 1.0, invert, 1.0})) &&
                    instance.activate(rate));
        const std::uint32_t tail = instance.ask<clap::FrameCount>(clap::kTail).get(instance.plugin);
        EXPECT_LE(tail, (rate > 3200.0 ? 0.5 : 30.0) * rate);
        std::vector<double> samples = noise(static_cast<std::size_t>(rate));
        samples.resize(samples.size() + tail);
        play(samples);
        play(std::vector(1000, 0.0));
        EXPECT_LE(peak, 3.2e-5) << rate;  // -90 dBFS
    }
}

// A block of 512 samples is 10.7 ms here: the fades of a switch take 3 blocks, the tail 33.
TEST_F(Clap, SleepsOnlyWhileNothingSoundsOrMoves)
{
    EXPECT_TRUE(instance.activate(48000.0));
    EXPECT_EQ(blocksUntilSleep(), 1);
    EXPECT_EQ(play({-1e-9}), clap::kProcessContinue);
    play(noise(48000));
    const int untilRest = blocksUntilSleep();
    EXPECT_TRUE(untilRest > 100 && untilRest < 600) << untilRest;  // the envelope falls to a third in 0.25 s
    // The envelope falls at once, and the comb rings unheard.
    play(noise(48000), {valueEvent(6, 0.0), valueEvent(2, 1.0), valueEvent(0, 1.0)});
    const int untilStill = blocksUntilSleep();
    EXPECT_TRUE(untilStill >= 33 && untilStill < untilRest) << untilStill;
    instance.flush({valueEvent(0, 0.0)});
    EXPECT_GT(blocksUntilSleep(), 3);
    EXPECT_TRUE(instance.loadPreset("howling-comb"));
    EXPECT_GT(blocksUntilSleep(), 3);
}

TEST_F(Clap, TurnsDownWhatHostsGetWrong)
{
    const clap::Plugin* const plugin = instance.plugin;
    for (const double rate : {62.49, 3072000.5, double{NAN}})
        EXPECT_FALSE(instance.activate(rate)) << rate;
    EXPECT_EQ(play({0.0}), clap::kProcessError);
    EXPECT_GE(Allocations::failEach([this] { return instance.activate(62.5); }), 1);
    EXPECT_FALSE(instance.activate(48000.0));  // it is active
    instance.deactivate();
    EXPECT_TRUE(instance.activate(3072000.0));
    double* noChannel = nullptr;
    const std::array<clap::AudioBuffer, 3> useless{
        {{}, {nullptr, nullptr, 1, 0, 0}, {nullptr, &noChannel, 1, 0, 0}}};
    EXPECT_EQ(plugin->process(plugin, nullptr), clap::kProcessError);
    for (clap::AudioBuffer buffer : useless)
        for (const auto& block : {clap::Process{}, {0, 1, nullptr, &buffer, &buffer, 1, 1, nullptr, nullptr}})
            EXPECT_EQ(plugin->process(plugin, &block), clap::kProcessError);

    const auto& params = instance.ask<clap::Params>(clap::kParams);
    const auto& state = instance.ask<clap::State>(clap::kState);
    double value = 0.0;
    EXPECT_FALSE(params.getInfo(plugin, 0, nullptr) || params.getValue(plugin, 0, nullptr) ||
                 params.getValue(plugin, 7, &value) || params.textToValue(plugin, 0, "on", nullptr) ||
                 state.load(plugin, nullptr) || state.save(plugin, nullptr));
    clap::Host foreign{};  // of version 0
    for (const char* const id :
         std::array<const char*, 5>{"", "clap.params2", "clap.plugin-factory2", "com.korva", nullptr})
        EXPECT_FALSE(entry.getFactory(id) || plugin->getExtension(plugin, id) ||
                     ClapInstance::make(entry, &instance.host, id));
    EXPECT_FALSE(ClapInstance::make(entry, nullptr) || ClapInstance::make(entry, &foreign) ||
                 ClapInstance::make(entry, &instance.host, "com.korva.wail2"));
}

// From a host that has nothing to offer, and with little memory.
TEST_F(Clap, LivesAloneAndLeavesNothing)
{
    clap::Host host{};
    host.version = {1, 0, 0};
    const auto before = Allocations::live.load();
    const auto live = [&] {
        const clap::Plugin* const alone = ClapInstance::make(entry, &host);
        if (alone == nullptr)
            return false;
        const auto& presets =
            *static_cast<const clap::PresetLoad*>(alone->getExtension(alone, clap::kPresetLoadDraft));
        EXPECT_TRUE(alone->init(alone) && presets.fromLocation(alone, clap::kInPlugin, nullptr, "slow-tide"));
        EXPECT_FALSE(presets.fromLocation(alone, clap::kInPlugin, nullptr, "?"));
        alone->reset(alone);
        alone->destroy(alone);
        return true;
    };
    EXPECT_GE(Allocations::failEach(live), 2);
    EXPECT_EQ(Allocations::live, before);
}

// For the thread sanitizer.
TEST_F(Clap, LetsTheMainThreadReadAndLoadWhileBlocksRun)
{
    EXPECT_TRUE(instance.activate(48000.0));
    std::atomic<int> blocks = 0;
    const auto playBlocks = [&] {
        while (++blocks < 500) {
            play(noise(256), {valueEvent(0, 1.0), valueEvent(3, 0.5, 128)});
            instance.flush({valueEvent(1, 0.5)});
        }
    };
    for (const std::jthread audio(playBlocks); blocks < 500;) {
        EXPECT_NE(instance.textOf(1, instance.values()[1]), "none");
        EXPECT_TRUE(instance.load(instance.save()) && instance.loadPreset("metal-box"));
    }
}
