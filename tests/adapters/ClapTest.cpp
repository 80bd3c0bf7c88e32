#include "tests/adapters/ClapLife.h"
#include "tests/support/Allocations.h"
#include "tests/support/ShippedPresets.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>
#include <thread>

namespace
{

const clap::Entry& clapEntry()
{
    return *static_cast<const clap::Entry*>(findSymbol(loadLibrary(WAIL_CLAP), "clap_entry"));
}

double peakOf(const std::vector<double>& samples)
{
    return std::abs(std::ranges::max(samples, {}, [](double sample) { return std::abs(sample); }));
}

class Clap : public testing::Test
{
protected:
    // Plays blocks of 512 samples of silence until the plug-in sleeps, and returns how many; at most 1000.
    int blocksUntilSleep()
    {
        std::vector<double> samples;
        int blocks = 0;
        do
            samples.assign(512, 0.0);
        while (++blocks < 1000 &&
               instance.process(samples.data(), samples.data(), 512) != clap::kProcessSleep);
        EXPECT_LE(peakOf(samples), 1e-6);
        return blocks;
    }

    ClapInstance instance{clapEntry()};
};

}  // namespace

TEST(ClapLife, SoundsAsTheBundleCutAtItsEvents)
{
    std::mt19937 random(11);
    const auto choose = [&](std::uint32_t n) { return static_cast<std::uint32_t>(random() % n); };
    ClapLife life(clapEntry(), entryPoint("getinterface"), choose, [] { return Allocations::count.load(); });
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
    for (std::uint32_t index = 0; index <= 7; ++index) {
        clap::ParamInfo info;
        std::memset(&info, 0x55, sizeof info);
        if (params.getInfo(plugin, index, &info))
            listed << info.id << ' ' << info.module << info.name << ", flags " << info.flags << ": "
                   << info.defaultValue << " in " << info.minValue << " to " << info.maxValue
                   << (info.cookie == nullptr ? "\n" : ", with a cookie\n");
    }
    const auto& ports = instance.ask<clap::AudioPorts>(clap::kAudioPorts);
    for (const std::uint32_t place : {0, 1, 2, 3}) {
        clap::AudioPortInfo port{};
        if (ports.get(plugin, place / 2, place % 2 == 0, &port))
            listed << port.name << ' ' << port.id << ", flags " << port.flags << ", " << port.channelCount
                   << ' ' << port.portType << ", in place with " << port.inPlacePair << '\n';
    }
    clap::RemoteControlsPage page{};
    ASSERT_TRUE(instance.ask<clap::RemoteControls>(clap::kRemoteControls).get(plugin, 0, &page));
    listed << "remote controls";
    for (const clap::Id id : page.params)
        listed << ' ' << id;
    expected << std::ifstream(WAIL_TABLES "/clap-description.txt").rdbuf();
    EXPECT_EQ(listed.str() + '\n', expected.str());
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
    std::ifstream table(WAIL_TABLES "/clap-texts.txt");
    double value = 0.0;
    std::string text;
    for (clap::Id id = 0; table >> id >> std::quoted(text) >> value;)
        EXPECT_EQ(instance.valueOf(id, text.c_str()), value) << text;
    EXPECT_TRUE(table.eof());
    EXPECT_EQ(instance.textOf(0, 1.0) + instance.textOf(5, 0.0) + instance.textOf(5, 0.99), "onoffoff");
    EXPECT_EQ(instance.textOf(1, 2.0) + instance.textOf(1, -1.0) + instance.textOf(1, kClapDefaults[1]),
              "10.000.008.42");
    EXPECT_EQ(instance.textOf(1, 0.5, 5) + instance.textOf(1, 0.5, 4), "5.00none");  // with its zero
    EXPECT_EQ(instance.textOf(7, 0.5) + instance.textOf(1, NAN), "nonenone");
    EXPECT_EQ(instance.value(7), -1.0);
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
    const clap::InputStream failing{nullptr, [](auto*, void*, std::uint64_t) { return std::int64_t{-1}; }};
    const clap::OutputStream full{nullptr, [](auto*, const void*, std::uint64_t) { return std::int64_t{0}; }};
    EXPECT_FALSE(state.load(instance.plugin, &failing) || state.save(instance.plugin, &full));
    EXPECT_FALSE(state.load(instance.plugin, nullptr) || state.save(instance.plugin, nullptr));
    EXPECT_EQ(instance.save(), good);
    EXPECT_EQ(instance.host.calls, "rescan 1;");
}

TEST_F(Clap, ListsItsPresetsForTheHostAndLoadsThem)
{
    const auto& factory = *static_cast<const clap::PresetDiscoveryFactory*>(
        clapEntry().getFactory(clap::kPresetDiscoveryFactoryDraft));
    static std::string listed;
    listed.clear();
    clap::Indexer indexer{};
    indexer.declareLocation = [](auto*, auto* place) { return place->kind == 1 && place->path == nullptr; };
    clap::MetadataReceiver receiver{};
    receiver.beginPreset = [](auto*, const char* name, const char* key) {
        listed += std::string("\n") + key + "|" + name;
        return true;
    };
    receiver.addPluginId = [](auto*, auto* id) { listed += std::string("|") + id->abi + ":" + id->id; };
    receiver.addCreator = receiver.setDescription =
        receiver.addFeature = [](auto*, auto* text) { listed += std::string("|") + text; };
    const clap::Provider* const provider =
        factory.create(&factory, &indexer, factory.descriptor(&factory, 0)->id);
    EXPECT_FALSE(provider->getMetadata(provider, clap::kInFile, "/tmp/wail.fxp", &receiver));
    EXPECT_TRUE(provider->init(provider) &&
                provider->getMetadata(provider, clap::kInPlugin, nullptr, &receiver));
    provider->destroy(provider);
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
                 instance.loadPreset("slow-tide", 0));
    EXPECT_EQ(instance.host.calls, told + "error;error;error;");
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
            std::vector<double> samples = noise(static_cast<std::size_t>(rate)), rest(1000);
            samples.resize(samples.size() + tail);
            instance.process(samples.data(), samples.data(), samples.size());
            instance.process(rest.data(), rest.data(), rest.size());
            EXPECT_LE(peakOf(rest), 3.2e-5) << rate;  // -90 dBFS
        }
    }
}

// A block of 512 samples is 10.7 ms here: the fades of a switch take 3 blocks, the tail 33.
TEST_F(Clap, SleepsOnlyWhileNothingSoundsOrMoves)
{
    EXPECT_TRUE(instance.activate(48000.0));
    EXPECT_EQ(blocksUntilSleep(), 1);
    std::vector<double> samples = noise(48000);
    EXPECT_EQ(instance.process(samples.data(), samples.data(), 48000), clap::kProcessContinue);
    const int untilRest = blocksUntilSleep();
    EXPECT_TRUE(untilRest > 100 && untilRest < 600) << untilRest;  // the envelope falls to a third in 0.25 s
    samples = noise(48000);
    // The envelope falls at once, and the comb rings unheard.
    instance.process(samples.data(), samples.data(), 48000,
                     {valueEvent(6, 0.0), valueEvent(2, 1.0), valueEvent(0, 1.0)});
    const int untilStill = blocksUntilSleep();
    EXPECT_TRUE(untilStill >= 33 && untilStill < untilRest) << untilStill;
    EXPECT_EQ(instance.constantMask, 1u);

    samples.assign(512, 0.0);
    EXPECT_EQ(instance.process(samples.data(), samples.data(), 512, {valueEvent(0, 0.0)}),
              clap::kProcessContinue);
    EXPECT_GT(blocksUntilSleep(), 3);
    EXPECT_TRUE(instance.loadPreset("howling-comb"));
    EXPECT_EQ(instance.host.calls, "rescan 1;process;howling-comb;");  // woken, it takes the values
    EXPECT_GT(blocksUntilSleep(), 3);
}

TEST_F(Clap, TurnsDownWhatHostsGetWrong)
{
    double sample = 0.0;
    for (const double rate : {62.49, 3072000.5, double{NAN}})
        EXPECT_FALSE(instance.activate(rate)) << rate;
    EXPECT_EQ(instance.process(&sample, &sample, 1), clap::kProcessError);
    EXPECT_GE(Allocations::failEach([this] { return instance.activate(62.5); }), 1);
    EXPECT_FALSE(instance.activate(48000.0));  // it is active
    instance.deactivate();
    EXPECT_TRUE(instance.activate(3072000.0));
    double* noChannel = nullptr;
    const std::array<clap::AudioBuffer, 3> useless{
        {{}, {nullptr, nullptr, 1, 0, 0}, {nullptr, &noChannel, 1, 0, 0}}};
    for (clap::AudioBuffer buffer : useless) {
        for (const auto& block : {clap::Process{}, {0, 1, nullptr, &buffer, &buffer, 1, 1, nullptr, nullptr}})
            EXPECT_EQ(instance.plugin->process(instance.plugin, &block), clap::kProcessError);
    }

    const clap::Entry& entry = clapEntry();
    for (const char* const id :
         std::array<const char*, 4>{"", "clap.params2", "clap.plugin-factory2", nullptr}) {
        EXPECT_EQ(entry.getFactory(id), nullptr);
        EXPECT_EQ(instance.plugin->getExtension(instance.plugin, id), nullptr);
    }
    for (const char* const id : std::array<const char*, 3>{"com.korva.wail2", "com.korva", nullptr})
        EXPECT_EQ(ClapInstance::make(entry, instance.host.record, id), nullptr);
    const auto before = Allocations::live.load();
    const auto makeAndEnd = [&] {
        const clap::Plugin* const made = ClapInstance::make(entry, instance.host.record);
        return made != nullptr && (made->destroy(made), true);
    };
    EXPECT_GE(Allocations::failEach(makeAndEnd), 2);
    EXPECT_EQ(Allocations::live, before);
    clap::Host foreign{};
    foreign.getExtension = [](auto*, auto*) -> const void* { return nullptr; };
    EXPECT_EQ(ClapInstance::make(entry, foreign), nullptr);
    foreign.version = {1, 0, 0};
    const clap::Plugin* const alone = ClapInstance::make(entry, foreign);
    const auto& presets =
        *static_cast<const clap::PresetLoad*>(alone->getExtension(alone, clap::kPresetLoadDraft));
    EXPECT_TRUE(alone->init(alone) && presets.fromLocation(alone, clap::kInPlugin, nullptr, "slow-tide"));
    EXPECT_FALSE(presets.fromLocation(alone, clap::kInPlugin, nullptr, "?"));
    alone->reset(alone);
    alone->destroy(alone);
}

// For the thread sanitizer.
TEST_F(Clap, LetsTheMainThreadReadAndLoadWhileBlocksRun)
{
    EXPECT_TRUE(instance.activate(48000.0));
    std::atomic<int> blocks = 0;
    std::atomic<bool> done = false;
    std::thread audio([&] {
        for (; !done; ++blocks) {
            std::vector<double> samples = noise(256);
            instance.process(samples.data(), samples.data(), 256,
                             {valueEvent(0, 1.0), valueEvent(3, 0.5, 128)});
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
