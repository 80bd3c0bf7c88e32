#include "tests/adapters/ClapHost.h"
#include "tests/support/Allocations.h"
#include "tests/support/ShippedPresets.h"
#include "tests/support/Signals.h"
#include "tests/support/TestHost.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <fstream>
#include <set>
#include <thread>

namespace
{

using Values = std::array<double, 7>;  // by id
constexpr Values kDefaults{0.0, 0.84210527f, 0.8f, 0.444f, 1.0f, 0.0, 1.0f};

const clap::Entry& clapEntry()
{
    return *static_cast<const clap::Entry*>(findSymbol(loadLibrary(WAIL_CLAP), "clap_entry"));
}

bool isSwitch(clap::Id id)
{
    return id == 0 || id == 5;
}

std::string stateOf(const Values& values)
{
    return std::string("WAIL\1\0\0\0", 8) +
           std::string(reinterpret_cast<const char*>(values.data()), sizeof values);
}

// What the plug-in is to sound like: the bundle, with the values that the host's events make.
struct Model {
    void start(double newRate)
    {
        rate = newRate;
        bundle = std::make_unique<Plugin>();
        bundle->setRate(static_cast<float>(rate));
        hearAll();
        bundle->process(nullptr, 0);
    }
    void hear(clap::Id id) const
    {
        const double value = std::clamp(values[id] + modulation[id], 0.0, 1.0);
        bundle->set(static_cast<VstInt32>(id), static_cast<float>(id == 0 ? 1.0 - value : value));
    }
    void hearAll() const
    {
        for (clap::Id id = 0; id < 7; ++id)
            hear(id);
    }
    bool take(const clap::ParamEvent& event)  // false: it is not for the plug-in
    {
        const bool modulates = event.header.type == 6;
        if (event.header.space != 0 || (!modulates && event.header.type != 5) || event.param > 6 ||
            std::isnan(event.value) || (modulates && isSwitch(event.param)))
            return false;
        double& target = (modulates ? modulation : values)[event.param];
        target = modulates ? event.value : std::clamp(event.value, 0.0, 1.0);
        if (isSwitch(event.param))
            target = std::floor(target);
        return true;
    }
    void play(std::vector<double>& samples, const ClapEvents& events)
    {
        std::size_t done = 0;
        const auto playUntil = [&](std::size_t end) {
            if (end > done)
                bundle->process(samples.data() + done, static_cast<VstInt32>(end - done));
            done = std::max(done, end);
        };
        for (const clap::ParamEvent& event : events) {
            if (take(event)) {
                playUntil(std::min<std::size_t>(event.header.time, samples.size()));
                hear(event.param);
            }
        }
        playUntil(samples.size());
    }

    std::unique_ptr<Plugin> bundle;
    double rate = 0.0;
    Values values = kDefaults, modulation{};
};

ClapEvents randomEvents(Random& random, std::size_t length)
{
    ClapEvents events(random.oneIn(3) ? 0 : random.next() % 6);
    for (clap::ParamEvent& event : events) {
        const double value = random.oneIn(3) ? random.pick(std::array{-3.0, 0.5, 7.0, 1.0, 0.0, double{NAN}})
                                             : static_cast<double>(random.share());
        event = valueEvent(static_cast<clap::Id>(random.next() % 8), value,
                           static_cast<std::uint32_t>(random.next() % (length + length / 8 + 1)));
        event.header.type = random.pick(std::array<std::uint16_t, 6>{5, 5, 5, 6, 6, 7});
        event.header.space = random.oneIn(10) ? 0xB33F : 0;
    }
    std::ranges::stable_sort(events, {}, [](const auto& event) { return event.header.time; });
    return events;
}

double peakOf(const std::vector<double>& samples)
{
    return std::abs(std::ranges::max(samples, {}, [](double sample) { return std::abs(sample); }));
}

class Clap : public testing::Test
{
protected:
    // Plays a block of double or float samples, in place or apart.
    template <typename Sample>
    void compareBlock(Model& model, Random& random, const double* source)
    {
        const std::vector<Sample> input(source, source + random.pick(std::array{1, 2, 63, 256, 1024, 20000}));
        const ClapEvents events = randomEvents(random, input.size());
        std::vector<double> wide(input.begin(), input.end());
        model.play(wide, events);
        std::vector<Sample> expected;
        for (const double sample : wide) {
            const auto narrow = static_cast<Sample>(std::clamp<double>(sample, -FLT_MAX, FLT_MAX));
            const bool isZero = sizeof(Sample) == 4 && std::fpclassify(narrow) == FP_SUBNORMAL;
            expected.push_back(sizeof(Sample) == 8 ? static_cast<Sample>(sample)
                               : isZero            ? Sample{0}
                                                   : narrow);
        }
        std::vector<Sample> output = input;
        const Sample* const from = random.oneIn(2) ? output.data() : input.data();
        const std::size_t before = Allocations::count;
        EXPECT_EQ(instance.process(from, output.data(), output.size(), events), clap::kProcessContinue);
        EXPECT_EQ(Allocations::count, before);
        ASSERT_EQ(output, expected);
        EXPECT_EQ(instance.constantMask, std::set(output.begin(), output.end()).size() == 1 ? 1 : 0);
    }

    // Plays blocks of 512 samples of silence and returns how many it took until the plug-in slept, at most 1000.
    int blocksUntilSleep()
    {
        for (int block = 1; block < 1000; ++block) {
            std::vector<double> samples(512);
            if (instance.process(samples.data(), samples.data(), 512) == clap::kProcessSleep) {
                EXPECT_LE(peakOf(samples), 1e-6);
                return block;
            }
        }
        return 1000;
    }

    ClapInstance instance{clapEntry()};
};

}  // namespace

// What is set while it is inactive, or before a reset, is there at once; all else glides.
TEST_F(Clap, SoundsAsTheBundleCutAtItsEvents)
{
    Random random{std::mt19937(11)};
    const std::vector<double> source = strokes(1 << 16, 6000);
    const auto presets = shippedPresets();
    Model model;
    for (int step = 0; step < 800 && !HasFailure(); ++step) {
        SCOPED_TRACE(step);
        const auto kind = step == 0 ? 0 : random.next() % 40;
        const ClapEvents events = randomEvents(random, 100);
        const auto flush = [&](auto hear) {
            instance.flush(events);
            for (const clap::ParamEvent& event : events) {
                if (model.take(event))
                    hear(event.param);
            }
        };
        if (kind <= 1) {  // a new rate, or the same again
            const double rate = random.pick(std::array{22050.0, 1234.5678, 48000.0, 192000.0});
            instance.deactivate();
            flush([](clap::Id) {});
            EXPECT_TRUE(instance.activate(rate) && instance.plugin->startProcessing(instance.plugin));
            model.start(rate);
        } else if (kind == 2) {
            const std::size_t before = Allocations::count;
            instance.plugin->reset(instance.plugin);
            EXPECT_EQ(Allocations::count, before);
            model.start(model.rate);
        } else if (kind == 3) {
            for (clap::Id id = 0; id < 7; ++id)
                model.values[id] = isSwitch(id) ? random.oneIn(2) : random.share();
            EXPECT_TRUE(instance.load(stateOf(model.values)));
            model.hearAll();
        } else if (kind == 4) {
            const char* const preset = random.pick(std::array{"gentle-sweep", "howling-comb", "bass-growl"});
            EXPECT_TRUE(instance.loadPreset(preset));
            std::copy_n(presets.at(preset).values.begin() + 1, 6, model.values.begin() + 1);
            model.hearAll();
        } else if (kind == 5) {
            flush([&](clap::Id id) { model.hear(id); });
        } else {
            const double* const from = source.data() + random.next() % 40000;
            random.oneIn(2) ? compareBlock<double>(model, random, from)
                            : compareBlock<float>(model, random, from);
        }
        for (clap::Id id = 0; id < 7; ++id)
            ASSERT_EQ(instance.value(id), model.values[id]) << id;
        ASSERT_EQ(instance.save(), stateOf(model.values));
    }
}

TEST_F(Clap, DescribesTheEffectAndItsParameters)
{
    const auto* const factory =
        static_cast<const clap::PluginFactory*>(clapEntry().getFactory(clap::kPluginFactory));
    const clap::Descriptor& descriptor = *factory->descriptor(factory, 0);
    EXPECT_TRUE(factory->count(factory) == 1 && factory->descriptor(factory, 1) == nullptr);
    EXPECT_EQ(instance.plugin->descriptor, &descriptor);
    EXPECT_EQ(std::string(descriptor.id) + descriptor.pluginVersion, "com.korva.wail" WAIL_VERSION);
    const std::set<std::string> features(descriptor.features, descriptor.features + 4);
    EXPECT_EQ(features, (std::set<std::string>{"audio-effect", "filter", "flanger", "mono"}));
    EXPECT_EQ(descriptor.features[4], nullptr);

    const Plugin bundle;
    ASSERT_EQ(instance.params().count(instance.plugin), 7u);
    clap::ParamInfo info{};
    EXPECT_FALSE(instance.params().getInfo(instance.plugin, 7, &info));
    for (clap::Id id = 0; id < 7; ++id) {
        std::memset(&info, 0x55, sizeof info);
        ASSERT_TRUE(instance.params().getInfo(instance.plugin, id, &info));
        EXPECT_EQ(info.name, id == 0 ? "Bypass" : bundle.text(effGetParamName, static_cast<VstInt32>(id)));
        EXPECT_EQ(info.flags, id == 0   ? 49u
                              : id == 5 ? 33u
                                        : 1056u);  // stepped, bypass, automatable, modulatable
        EXPECT_EQ(
            std::tuple(info.id, info.cookie, info.module[0], info.minValue, info.maxValue, info.defaultValue),
            std::tuple(id, nullptr, '\0', 0.0, 1.0, kDefaults[id]));
        EXPECT_EQ(instance.value(id), kDefaults[id]);
    }

    const auto& ports = instance.ask<clap::AudioPorts>(clap::kAudioPorts);
    for (const bool isInput : {true, false}) {
        clap::AudioPortInfo port{};
        ASSERT_TRUE(ports.count(instance.plugin, isInput) == 1 &&
                    ports.get(instance.plugin, 0, isInput, &port));
        EXPECT_FALSE(ports.get(instance.plugin, 1, isInput, &port));
        EXPECT_EQ(std::tuple(port.id, port.flags, port.channelCount, port.inPlacePair),
                  std::tuple(0u, 15u, 1u, 0u));
        EXPECT_EQ(std::string(port.name) + port.portType, isInput ? "Inmono" : "Outmono");
    }
    clap::RemoteControlsPage page{};
    ASSERT_TRUE(instance.ask<clap::RemoteControls>(clap::kRemoteControls).get(instance.plugin, 0, &page));
    EXPECT_EQ(std::set(page.params, page.params + 8),
              (std::set<clap::Id>{0, 1, 2, 3, 4, 5, 6, clap::kInvalidId}));
    EXPECT_EQ(instance.ask<clap::FrameCount>(clap::kLatency).get(instance.plugin), 0u);
}

TEST_F(Clap, TurnsTextsIntoValuesAndBackExactly)
{
    EXPECT_EQ(instance.text(1, kDefaults[1]), "8.42");
    for (int hundredths = 0; hundredths <= 1000; ++hundredths) {
        char text[16];
        std::snprintf(text, sizeof text, "%d.%02d", hundredths / 100, hundredths % 100);
        ASSERT_EQ(instance.typed(3, text), hundredths / 1000.0);
        ASSERT_EQ(instance.text(3, hundredths / 1000.0), text);
    }
    EXPECT_EQ(std::pair(instance.typed(1, " 8,42 "), instance.typed(1, "8.4249")), std::pair(0.842, 0.842));
    EXPECT_EQ(std::pair(instance.typed(1, "-4"), instance.typed(1, "11")), std::pair(0.0, 1.0));
    EXPECT_EQ(instance.text(1, 2.0) + instance.text(1, -1.0), "10.000.00");
    for (const clap::Id id : {0u, 5u}) {
        EXPECT_EQ(instance.text(id, 1.0) + instance.text(id, 0.0) + instance.text(id, 0.99), "onoffoff");
        EXPECT_EQ(
            std::tuple(instance.typed(id, "on"), instance.typed(id, " OFF "), instance.typed(id, "1.0")),
            std::tuple(1.0, 0.0, -1.0));
    }
    for (const char* const text :
         {"", "8.4.2", "8 4", "nan", "inf", "on", "x", "0.00000000000000000000000000000000001"})
        EXPECT_EQ(instance.typed(1, text), -1.0) << text;
    EXPECT_EQ(std::pair(instance.typed(7, "1"), instance.typed(1, nullptr)), std::pair(-1.0, -1.0));
    EXPECT_EQ(instance.text(1, 0.5, 5), "5.00");  // with its zero
    EXPECT_EQ(instance.text(1, 0.5, 4) + instance.text(7, 0.5) + instance.text(1, NAN), "nonenonenone");
}

TEST_F(Clap, RefusesStatesThatAreNotItsOwnAndChangesNothing)
{
    const std::string good = stateOf({1.0, 0.1, 0.2, 0.3, 0.4, 1.0, 0.6});
    EXPECT_TRUE(instance.load(good));
    std::vector<std::string> bad{"", good.substr(0, 8), good.substr(0, 63), good + '\0',
                                 std::string(1 << 20, 'W')};
    for (const std::size_t place : {0u, 3u, 4u, 7u}) {
        bad.push_back(good);
        bad.back()[place] ^= 2;
    }
    for (const double value : {-0.001, 1.001, double{NAN}, double{INFINITY}})
        bad.push_back(stateOf({0.0, 0.5, value, 0.5, 0.5, 0.0, 0.5}));
    bad.push_back(stateOf({0.5, 0.5, 0.5, 0.5, 0.5, 0.0, 0.5}));
    for (const std::string& bytes : bad)
        EXPECT_FALSE(instance.load(bytes));
    const auto& state = instance.ask<clap::State>(clap::kState);
    const clap::InputStream failing{nullptr, [](auto*, void*, std::uint64_t) { return std::int64_t{-1}; }};
    const clap::OutputStream full{nullptr, [](auto*, const void*, std::uint64_t) { return std::int64_t{0}; }};
    EXPECT_FALSE(state.load(instance.plugin, &failing) || state.save(instance.plugin, &full));
    EXPECT_FALSE(state.load(instance.plugin, nullptr) || state.save(instance.plugin, nullptr));
    EXPECT_EQ(instance.save(), good);
    EXPECT_EQ(instance.host.told, "rescan 1;");
}

TEST_F(Clap, ListsItsPresetsAndLoadsThem)
{
    using Factory = clap::PresetDiscoveryFactory;
    const auto* const factory =
        static_cast<const Factory*>(clapEntry().getFactory(clap::kPresetDiscoveryFactoryDraft));
    EXPECT_EQ(factory, clapEntry().getFactory(clap::kPresetDiscoveryFactory));
    std::vector<std::string> listed;  // all that is said of a preset
    clap::Indexer indexer{};
    indexer.declareLocation = [](auto*, auto* location) {
        return location->kind == 1 && location->path == nullptr;
    };
    clap::MetadataReceiver receiver{};
    receiver.data = &listed;
    static const auto add = [](auto* r, const char* text) {
        static_cast<decltype(listed)*>(r->data)->back() += std::string("|") + text;
    };
    receiver.beginPreset = [](auto* r, const char* name, const char* key) {
        static_cast<decltype(listed)*>(r->data)->push_back(key);
        add(r, name);
        return true;
    };
    receiver.addPluginId = [](auto* r, auto* id) { add(r, (std::string(id->abi) + ":" + id->id).c_str()); };
    receiver.addCreator = receiver.setDescription =
        receiver.addFeature = [](auto* r, auto* text) { add(r, text); };
    const clap::Provider* const provider =
        factory->create(factory, &indexer, factory->descriptor(factory, 0)->id);
    ASSERT_TRUE(provider->init(provider) &&
                provider->getMetadata(provider, clap::kInPlugin, nullptr, &receiver));
    EXPECT_FALSE(provider->getMetadata(provider, clap::kInFile, "/tmp/wail.fxp", &receiver));
    provider->destroy(provider);
    EXPECT_EQ(factory->create(factory, &indexer, "com.korva.wail.presets2"), nullptr);
    ASSERT_EQ(listed.size(), 10u);
    EXPECT_EQ(listed[4],
              "funk-quack|Funk Quack|clap:com.korva.wail|KORVA Corporation|Short quacks for clipped chords; "
              "each stroke opens and closes.|guitar|funk");

    instance.flush({valueEvent(0, 1.0)});
    for (const auto& [id, preset] : shippedPresets()) {
        EXPECT_EQ(std::ranges::count_if(
                      listed, [&](auto& line) { return line.starts_with(id + "|" + preset.name + "|"); }),
                  1);
        instance.host.told.clear();
        EXPECT_TRUE(instance.loadPreset(id.c_str()));
        Values values{1.0};  // the bypass stays
        std::copy_n(preset.values.begin() + 1, 6, values.begin() + 1);
        EXPECT_EQ(instance.save(), stateOf(values));
        EXPECT_EQ(instance.host.told, "rescan 1;" + id + ";");
    }
    const std::string before = instance.save();
    EXPECT_FALSE(instance.loadPreset("funk") || instance.loadPreset(nullptr) ||
                 instance.loadPreset("slow-tide", 0));
    EXPECT_EQ(instance.host.told, "rescan 1;talking-tabla;error;error;error;");
    EXPECT_EQ(instance.save(), before);
}

// Also at a rate where the delay is so short that sound comes back with each lap of the line.
TEST_F(Clap, RingsNoLongerThanItsTail)
{
    for (const double rate : {1000.0, 48000.0, 192000.0}) {
        for (const double invert : {0.0, 1.0}) {
            instance.deactivate();
            EXPECT_TRUE(instance.load(stateOf({0.0, 1.0, 1.0, 1.0, 1.0, invert, 1.0})) &&
                        instance.activate(rate));
            const std::uint32_t tail = instance.ask<clap::FrameCount>(clap::kTail).get(instance.plugin);
            EXPECT_LE(tail, (rate > 3200.0 ? 0.5 : 30.0) * rate);
            std::vector<double> samples = noise(static_cast<std::size_t>(rate)),
                                rest(static_cast<std::size_t>(rate));
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
    const auto playNoise = [&](const ClapEvents& events = {}) {
        std::vector<double> samples = noise(48000);
        EXPECT_EQ(instance.process(samples.data(), samples.data(), 48000, events), clap::kProcessContinue);
    };
    playNoise();
    const int untilRest = blocksUntilSleep();
    EXPECT_TRUE(untilRest > 100 && untilRest < 600) << untilRest;  // the envelope falls to a third in 0.25 s
    playNoise(
        {valueEvent(6, 0.0), valueEvent(2, 1.0), valueEvent(0, 1.0)});  // it falls at once; rings unheard
    const int untilStill = blocksUntilSleep();
    EXPECT_TRUE(untilStill >= 33 && untilStill < untilRest) << untilStill;
    EXPECT_EQ(instance.constantMask, 1u);

    std::vector<double> samples(512);
    EXPECT_EQ(instance.process(samples.data(), samples.data(), 512, {valueEvent(0, 0.0)}),
              clap::kProcessContinue);
    EXPECT_GT(blocksUntilSleep(), 3);
    EXPECT_TRUE(instance.loadPreset("howling-comb"));
    EXPECT_EQ(instance.host.told, "rescan 1;process;howling-comb;");  // woken, it takes the values
    EXPECT_GT(blocksUntilSleep(), 3);
}

TEST_F(Clap, TakesTheRatesThatItHasMemoryFor)
{
    for (const double rate : {62.49, 3072000.5, -48000.0, double{NAN}, double{INFINITY}})
        EXPECT_FALSE(instance.activate(rate)) << rate;
    for (const double rate : {62.5, 3072000.0}) {
        if (Allocations::seeModules) {
            Allocations::left = 0;
            const bool activated = instance.activate(rate);
            Allocations::left = -1;
            EXPECT_FALSE(activated);
        }
        double sample = 0.0;
        EXPECT_EQ(instance.process(&sample, &sample, 1), clap::kProcessError);
        EXPECT_TRUE(instance.activate(rate)) << rate;
        EXPECT_FALSE(instance.activate(48000.0));  // it is active
        instance.deactivate();
    }
}

TEST_F(Clap, TurnsDownWhatHostsGetWrong)
{
    const clap::Entry& entry = clapEntry();
    for (const char* const id :
         std::initializer_list<const char*>{"", "clap.plugin-factory2", "clap.plugin", nullptr}) {
        EXPECT_EQ(entry.getFactory(id), nullptr);
        EXPECT_EQ(instance.plugin->getExtension(instance.plugin, id), nullptr);
    }
    for (const char* const id :
         std::initializer_list<const char*>{"", "com.korva.wail2", "com.korva", nullptr})
        EXPECT_EQ(ClapInstance::make(entry, instance.host.record, id), nullptr);
    if (Allocations::seeModules) {
        Allocations::left = 1;
        const clap::Plugin* const none = ClapInstance::make(entry, instance.host.record);
        Allocations::left = -1;
        EXPECT_EQ(none, nullptr);
    }
    clap::Host foreign{};
    foreign.version = {0, 26, 0};
    EXPECT_EQ(ClapInstance::make(entry, foreign), nullptr);
    foreign.version = {1, 0, 0};
    foreign.getExtension = [](auto*, auto*) -> const void* { return nullptr; };
    const clap::Plugin* const alone = ClapInstance::make(entry, foreign);
    const auto* const presets =
        static_cast<const clap::PresetLoad*>(alone->getExtension(alone, clap::kPresetLoadDraft));
    EXPECT_TRUE(alone->init(alone) && presets->fromLocation(alone, clap::kInPlugin, nullptr, "slow-tide"));
    EXPECT_FALSE(presets->fromLocation(alone, clap::kInPlugin, nullptr, "?"));
    alone->reset(alone);
    alone->destroy(alone);

    EXPECT_TRUE(instance.activate(48000.0));
    EXPECT_EQ(instance.plugin->process(instance.plugin, nullptr), clap::kProcessError);
    clap::Process block{};
    EXPECT_EQ(instance.plugin->process(instance.plugin, &block), clap::kProcessError);
    clap::AudioBuffer empty{};
    block.inputs = block.outputs = &empty;
    block.inputCount = block.outputCount = 1;
    EXPECT_EQ(instance.plugin->process(instance.plugin, &block), clap::kProcessError);
}

TEST(ClapLibrary, LoadsAThousandTimes)
{
    const ClapHost host;
    for (int i = 0; i < 1000; ++i) {
        void* const library = loadLibrary(WAIL_CLAP);
        const auto& entry = *static_cast<const clap::Entry*>(findSymbol(library, "clap_entry"));
        ASSERT_TRUE(entry.init(WAIL_CLAP));
        const clap::Plugin* const plugin = ClapInstance::make(entry, host.record);
        plugin->destroy(plugin);
        entry.deinit();
        ASSERT_TRUE(unloadLibrary(library));
    }
}

// For the thread sanitizer.
TEST_F(Clap, LetsTheMainThreadReadAndLoadWhileBlocksRun)
{
    EXPECT_TRUE(instance.activate(48000.0));
    std::atomic<int> blocks = 0;
    std::atomic<bool> done = false;
    std::thread audio([&] {
        Random random{std::mt19937(5)};
        for (; !done; ++blocks) {
            std::vector<double> samples = noise(256);
            instance.process(samples.data(), samples.data(), 256, randomEvents(random, 256));
            instance.flush(randomEvents(random, 256));
        }
    });
    for (int i = 0; blocks < 500; ++i) {
        for (clap::Id id = 0; id < 7; ++id)
            EXPECT_NE(instance.text(id, instance.value(id)), "none");
        EXPECT_TRUE(instance.load(instance.save()) &&
                    instance.loadPreset(i % 2 == 0 ? "metal-box" : "slow-tide"));
    }
    done = true;
    audio.join();
}
