#include "bench/Kernels.h"
#include "tests/adapters/ClapHost.h"
#include "tests/support/Signals.h"
#include "tests/support/TestHost.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <deque>
#include <map>

// Measures every kernel in one run, in many short rounds, interleaved, and prints the least time of each and the
// ratios that matter.

namespace
{

constexpr int kSignalLength = 1 << 14;  // samples; stays in the cache
constexpr int kSampleRate = 48000;      // Hz

const std::vector<double>& signal()
{
    static const std::vector<double> samples = strokes(kSignalLength, 6000);
    return samples;
}

// Runs the whole signal, block by block, in every iteration.
template <typename Process>
void measure(benchmark::State& state, int blockLength, Process process)
{
    std::vector<double> output(kSignalLength);
    benchmark::DoNotOptimize(output.data());
    for (auto _ : state) {
        for (int first = 0; first + blockLength <= kSignalLength; first += blockLength)
            process(signal().data() + first, output.data() + first, blockLength);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * (kSignalLength / blockLength) * blockLength);
}

class Effect : public Plugin
{
public:
    Effect() { setRate(kSampleRate); }
    void process(const double* input, double* output, VstInt32 frames) const
    {
        auto* in = const_cast<double*>(input);  // the interface has no const
        record->processDoubleReplacing(record, &in, &output, frames);
    }
};

template <typename Kernel>
void kernel(benchmark::State& state)
{
    Kernel subject;
    measure(state, 256, [&](auto... block) { subject.process(block...); });
}

struct Copy {
    static void process(const double* input, double* output, int frames)
    {
        std::copy_n(input, frames, output);
    }
};

void effect(benchmark::State& state)
{
    const Effect subject;
    measure(state, static_cast<int>(state.range(0)), [&](auto... block) { subject.process(block...); });
}

// The CLAP plug-in, with so many events in each block, evenly spread: as automation moves Range.
void clapEffect(benchmark::State& state)
{
    void* const library = loadLibrary(WAIL_CLAP);
    ClapInstance subject(*static_cast<const clap::Entry*>(dlsym(library, "clap_entry")));
    subject.activate(kSampleRate);
    ClapEvents events;
    for (int i = 0; i < state.range(0); ++i)
        events.push_back(valueEvent(3, 0.0, static_cast<std::uint32_t>(256L * i / state.range(0))));
    double value = 0.3;
    measure(state, 256, [&](const double* input, double* output, int frames) {
        for (clap::ParamEvent& event : events)
            event.value = value = 1.0 - value;
        subject.process(input, output, static_cast<std::size_t>(frames), events);
    });
    subject.deactivate();
}

// What a host calls before each block to move all that moves.
class FiveSettings
{
public:
    void process(const Effect& subject)
    {
        value = 1.0f - value;
        for (const VstInt32 index : {1, 2, 3, 4, 6})
            subject.set(index, value);
    }

private:
    float value = 0.3f;
};

void settings(benchmark::State& state)
{
    const Effect subject;
    FiveSettings five;
    measure(state, 256, [&](auto...) { five.process(subject); });
}

void moving(benchmark::State& state)
{
    const Effect subject;
    FiveSettings five;
    measure(state, static_cast<int>(state.range(0)), [&](auto... block) {
        five.process(subject);
        subject.process(block...);
    });
}

// A transition takes 1536 samples; it is started anew as soon as it has ended.
void transition(benchmark::State& state)
{
    const Effect subject;
    int samples = 0;
    float value = 0.0f;
    measure(state, 256, [&](auto... block) {
        if (samples % 1536 == 0)
            subject.set(5, value = 1.0f - value);
        samples += 256;
        subject.process(block...);
    });
}

// Full range and a loud input drive the delay below one sample.
void shortDelay(benchmark::State& state)
{
    const Effect subject;
    for (const VstInt32 index : {1, 3, 6})
        subject.set(index, 1.0f);
    const std::vector<double> loud = noise(kSignalLength, 4.0);
    std::vector<double> output(kSignalLength);
    for (int i = 0; i < 20; ++i)
        subject.process(loud.data(), output.data(), kSignalLength);
    measure(state, 256, [&](const double* input, double* out, int frames) {
        subject.process(loud.data() + (input - signal().data()), out, frames);
    });
}

void instances(benchmark::State& state)
{
    static std::deque<Effect> subjects(1000);  // their memory is in use, as it is in a long session
    std::vector<double> output(64);
    for (auto _ : state)
        for (const Effect& subject : subjects)
            subject.process(signal().data(), output.data(), 64);
    state.SetItemsProcessed(state.iterations() * 64 * 1000);
}

// One second of silence, the given one after the sound.
void silence(benchmark::State& state)
{
    const std::vector<double> zeros(kSampleRate);
    std::vector<double> output(kSampleRate);
    const Effect subject;
    subject.process(signal().data(), output.data(), kSignalLength);
    const auto second = [&] {
        for (int first = 0; first + 256 <= kSampleRate; first += 256)
            subject.process(zeros.data() + first, output.data() + first, 256);
    };
    for (int i = 1; i < state.range(0); ++i)
        second();
    for (auto _ : state)
        second();
    state.SetItemsProcessed(state.iterations() * (kSampleRate / 256) * 256);
}

// Keeps the least time of each benchmark.
class Least : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(const Context& /*context*/) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration)
                continue;
            const double ns = 1e9 / run.counters.at("items_per_second").value;
            const std::string name = run.run_name.function_name;
            const auto [row, isNew] = nsPerSample.try_emplace(name + "/" + run.run_name.args, ns);
            row->second = std::min(row->second, ns);
        }
    }

    double of(const std::string& name) const { return nsPerSample.at(name); }

    double silence() const
    {
        double worst = 0.0;
        for (int second = 1; second <= 60; ++second)
            worst = std::max(worst, of("silence/" + std::to_string(second)));
        return worst;
    }

private:
    std::map<std::string, double> nsPerSample;
};

void row(const char* name, double ns, const char* base = "", double baseNs = 0.0)
{
    std::printf("%-44s %7.2f", name, ns);
    if (baseNs > 0.0)
        std::printf("   %5.2f of %s", ns / baseNs, base);
    std::printf("\n");
}

}  // namespace

int main(int argc, char** argv)
{
    std::vector<char*> arguments(argv, argv + argc);
    char interleave[] = "--benchmark_enable_random_interleaving=true";
    char rounds[] = "--benchmark_repetitions=100";
    char time[] = "--benchmark_min_time=0.002";
    arguments.insert(arguments.begin() + 1, {interleave, rounds, time});
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());

    benchmark::RegisterBenchmark("copy", kernel<Copy>);
    benchmark::RegisterBenchmark("chains", kernel<FourChains>);
    benchmark::RegisterBenchmark("plain", kernel<PlainLoop>);
    benchmark::RegisterBenchmark("effect", effect)->Arg(16)->Arg(64)->Arg(256)->Arg(1024);
    benchmark::RegisterBenchmark("clap", clapEffect)->Arg(0)->Arg(8);
    benchmark::RegisterBenchmark("settings", settings);
    benchmark::RegisterBenchmark("moving", moving)->Arg(64)->Arg(256)->Arg(1024);
    benchmark::RegisterBenchmark("transition", transition);
    benchmark::RegisterBenchmark("shortDelay", shortDelay);
    benchmark::RegisterBenchmark("instances", instances)->MinTime(0.03)->Repetitions(30);
    benchmark::RegisterBenchmark("silence", silence)->DenseRange(1, 60)->Iterations(1)->Repetitions(20);

    Least least;
    benchmark::RunSpecifiedBenchmarks(&least);

    const double effect256 = least.of("effect/256");
    std::printf("%-44s %7s   ratio\n", "", "ns/sample");
    row("copy", least.of("copy/"));
    row("four chains", least.of("chains/"));
    row("plain loop", least.of("plain/"));
    row("effect, blocks of 256", effect256, "the plain loop", least.of("plain/"));
    row("", effect256, "the four chains", least.of("chains/"));
    row("effect, blocks of 1024", least.of("effect/1024"));
    row("effect, blocks of 64", least.of("effect/64"), "blocks of 1024", least.of("effect/1024"));
    row("effect, blocks of 16", least.of("effect/16"), "blocks of 1024", least.of("effect/1024"));
    row("CLAP, blocks of 256", least.of("clap/0"), "the record's", effect256);
    row("CLAP, blocks of 256, 8 events apart", least.of("clap/8"), "the record's", effect256);
    for (const int length : {64, 256, 1024}) {
        const std::string frames = std::to_string(length);
        const double resting = least.of("effect/" + frames);
        const double movingAll = least.of("moving/" + frames);
        row(("five parameters moving, blocks of " + frames).c_str(), movingAll, "resting", resting);
        row("    without the calls that set them", movingAll - least.of("settings/") * 256 / length,
            "resting", resting);
    }
    row("a switch in transition, blocks of 256", least.of("transition/"), "resting", effect256);
    row("the slowest of 60 seconds of silence", least.silence(), "sound", effect256);
    row("delay below one sample", least.of("shortDelay/"), "the usual", effect256);
    row("1000 instances, blocks of 64", least.of("instances/"), "one instance", least.of("effect/64"));
    std::printf("\ninstances on one core at 48 kHz, blocks of 64: %.0f\n",
                1e9 / kSampleRate / least.of("instances/"));
}
