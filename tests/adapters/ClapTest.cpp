#include "tests/adapters/ClapLife.h"
#include "tests/support/Rows.h"
#include "tests/support/ShippedPresets.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <thread>

namespace
{

const clap::Entry& entry = *static_cast<const clap::Entry*>(findSymbol(loadLibrary(WAIL_CLAP), "clap_entry"));

double peakOf(const std::vector<double>& samples)
{
    return std::abs(std::ranges::max(samples, {}, [](double sample) { return std::abs(sample); }));
}

class Clap : public testing::Test
{
protected:
    clap::ProcessStatus play(std::vector<double> samples, const ClapEvents& events = {})
    {
        const clap::ProcessStatus status =
            instance.process(samples.data(), samples.data(), samples.size(), events);
        peak = peakOf(samples);
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
    double peak = 0.0;  // of what was played last
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
    std::ostringstream listed, expected;
    listed.precision(17);
    const clap::Descriptor& descriptor = *plugin->descriptor;
    EXPECT_EQ(descriptor.pluginVersion, std::string(WAIL_VERSION));
    listed << descriptor.id;
    for (const char* const* feature = descriptor.features; *feature != nullptr; ++feature)
        listed << ' ' << *feature;
    const auto& params = instance.ask<clap::Params>(clap::kParams);
    listed << '\n' << params.count(plugin) << " parameters\n";
    clap::ParamInfo info;
    std::memset(&info, 0x55, sizeof info);
    for (std::uint32_t index = 0; params.getInfo(plugin, index, &info); ++index)
        listed << info.id << ' ' << info.module << info.name << ", flags " << info.flags << ": "
               << info.defaultValue << " in " << info.minValue << " to " << info.maxValue
               << (info.cookie == nullptr ? "\n" : ", with a cookie\n");
    const auto& ports = instance.ask<clap::AudioPorts>(clap::kAudioPorts);
    for (const bool isInput : {true, false}) {
        clap::AudioPortInfo port{};
        for (std::uint32_t index = 0; ports.get(plugin, index, isInput, &port); ++index)
            listed << port.name << ' ' << port.id << ", flags " << port.flags << ", " << port.channelCount
                   << ' ' << port.portType << ", in place with " << port.inPlacePair << '\n';
    }
    const auto& controls = instance.ask<clap::RemoteControls>(clap::kRemoteControls);
    clap::RemoteControlsPage page{};
    for (std::uint32_t index = 0; controls.get(plugin, index, &page); ++index) {
        listed << page.name << ": remote controls";
        for (const clap::Id id : page.params)
            listed << ' ' << id;
    }
    listed << "\nlatency " << instance.ask<clap::FrameCount>(clap::kLatency).get(plugin) << '\n';
    expected << std::ifstream(WAIL_TESTS "/clap-description.txt").rdbuf();
    EXPECT_EQ(listed.str(), expected.str());
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
    EXPECT_EQ(instance.textOf(0, 1.0) + instance.textOf(5, 0.0) + instance.textOf(5, 0.99), "onoffoff");
    EXPECT_EQ(instance.textOf(1, 2.0) + instance.textOf(1, -1.0) + instance.textOf(1, kClapDefaults[1]),
              "10.000.008.42");
    EXPECT_EQ(instance.textOf(1, 0.5, 5) + instance.textOf(1, 0.5, 4), "5.00none");  // with its zero
    EXPECT_EQ(instance.textOf(7, 0.5) + instance.textOf(1, NAN), "nonenone");
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
    for (const std::int64_t answer : {-1, 0, 100}) {  // to any call, however few bytes it asks for
        const clap::InputStream in{const_cast<std::int64_t*>(&answer), [](auto* self, void*, std::uint64_t) {
                                       return *static_cast<std::int64_t*>(self->context);
                                   }};
        const clap::OutputStream out{in.context, [](auto* self, const void*, std::uint64_t) {
                                         return *static_cast<std::int64_t*>(self->context);
                                     }};
        EXPECT_FALSE(state.load(instance.plugin, &in) || state.save(instance.plugin, &out)) << answer;
    }
    EXPECT_EQ(instance.save(), good);
    EXPECT_EQ(instance.told, "rescan 1;");
}

TEST_F(Clap, ListsItsPresetsForTheHostAndLoadsThem)
{
    static std::string listed;
    listed.clear();
    clap::Indexer indexer{};
    indexer.declareLocation = [](auto*, auto* place) { return place->kind == 1 && place->path == nullptr; };
    clap::MetadataReceiver receiver{};
    receiver.beginPreset = [](auto*, const char* name, const char* key) {
        listed += std::string("\n") + key + "|" + name;
        return std::ranges::count(listed, '\n') < 11;  // the first of a second round is too many
    };
    receiver.addPluginId = [](auto*, auto* id) { listed += std::string("|") + id->abi + ":" + id->id; };
    receiver.addCreator = receiver.setDescription =
        receiver.addFeature = [](auto*, auto* text) { listed += std::string("|") + text; };
    for (const char* const id : {clap::kPresetDiscoveryFactory, clap::kPresetDiscoveryFactoryDraft}) {
        const auto& factory = *static_cast<const clap::PresetDiscoveryFactory*>(entry.getFactory(id));
        EXPECT_TRUE(factory.descriptor(&factory, 1) == nullptr &&
                    factory.create(&factory, &indexer, "com.korva.wail") == nullptr);
        const char* const providerId = factory.descriptor(&factory, 0)->id;
        EXPECT_EQ(factory.create(&factory, nullptr, providerId), nullptr);
        const clap::Provider* const provider = factory.create(&factory, &indexer, providerId);
        EXPECT_FALSE(provider->getMetadata(provider, clap::kInFile, "/tmp/wail.fxp", &receiver) ||
                     provider->getMetadata(provider, clap::kInPlugin, nullptr, nullptr));
        EXPECT_TRUE(provider->init(provider) &&
                    provider->getMetadata(provider, clap::kInPlugin, nullptr, &receiver));
        provider->destroy(provider);
    }
    EXPECT_EQ(std::ranges::count(listed, '\n'), 11);  // the second round stopped as it was told to
    EXPECT_NE(
        listed.find("\nfunk-quack|Funk Quack|clap:com.korva.wail|KORVA Corporation|Short quacks for clipped "
                    "chords; each stroke opens and closes.|guitar|funk\n"),
        std::string::npos);

    std::string told;
    instance.flush({valueEvent(0, 1.0)});
    for (const auto& [id, preset] : shippedPresets()) {
        EXPECT_NE(listed.find("\n" + id + "|" + preset.name + "|clap:"), std::string::npos);
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
    for (const double rate : {1000.0, 48000.0, 192000.0}) {
        for (const double invert : {0.0, 1.0}) {
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
}

// A block of 512 samples is 10.7 ms here: the fades of a switch take 3 blocks, the tail 33.
TEST_F(Clap, SleepsOnlyWhileNothingSoundsOrMoves)
{
    EXPECT_TRUE(instance.activate(48000.0));
    EXPECT_EQ(blocksUntilSleep(), 1);
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
    for (const double rate : {62.49, 3072000.5, double{NAN}})
        EXPECT_FALSE(instance.activate(rate)) << rate;
    EXPECT_EQ(play({0.0}), clap::kProcessError);
    EXPECT_GE(Allocations::failEach([this] { return instance.activate(62.5); }), 1);
    EXPECT_FALSE(instance.activate(48000.0));  // it is active
    instance.deactivate();
    EXPECT_TRUE(instance.activate(3072000.0));
    clap::AudioBuffer none{};
    double* channel = nullptr;
    clap::AudioBuffer unset{nullptr, &channel, 1, 0, 0};
    for (auto* const buffer : {&none, &unset}) {
        const clap::Process block{0, 1, nullptr, buffer, buffer, 1, 1, nullptr, nullptr};
        EXPECT_EQ(instance.plugin->process(instance.plugin, &block), clap::kProcessError);
    }
    const clap::Process empty{};
    for (const auto* const block : {&empty, static_cast<const clap::Process*>(nullptr)})
        EXPECT_EQ(instance.plugin->process(instance.plugin, block), clap::kProcessError);

    const auto& params = instance.ask<clap::Params>(clap::kParams);
    const auto& state = instance.ask<clap::State>(clap::kState);
    double value = 0.0;
    EXPECT_FALSE(params.getInfo(instance.plugin, 0, nullptr) ||
                 params.getValue(instance.plugin, 0, nullptr) ||
                 params.getValue(instance.plugin, 7, &value) ||
                 params.textToValue(instance.plugin, 0, "on", nullptr) ||
                 state.load(instance.plugin, nullptr) || state.save(instance.plugin, nullptr));

    for (const char* const id :
         {"", "clap.params2", "clap.plugin-factory2", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(entry.getFactory(id), nullptr);
        EXPECT_EQ(instance.plugin->getExtension(instance.plugin, id), nullptr);
    }
    for (const char* const id : {"com.korva.wail2", "com.korva", static_cast<const char*>(nullptr)})
        EXPECT_EQ(ClapInstance::make(entry, &instance.host, id), nullptr);
    EXPECT_EQ(ClapInstance::make(entry, nullptr), nullptr);
    clap::Host foreign{};
    EXPECT_EQ(ClapInstance::make(entry, &foreign), nullptr);
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
    std::atomic<bool> done = false;
    std::thread audio([&] {
        for (; !done; ++blocks) {
            play(noise(256), {valueEvent(0, 1.0), valueEvent(3, 0.5, 128)});
            instance.flush({valueEvent(1, 0.5)});
        }
    });
    while (blocks < 500) {
        for (clap::Id id = 0; id < 7; ++id)
            EXPECT_NE(instance.textOf(id, instance.value(id)), "none");
        EXPECT_TRUE(instance.load(instance.save()) && instance.loadPreset("metal-box"));
    }
    done = true;
    audio.join();
}
