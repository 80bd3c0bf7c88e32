// render_session OUT: renders one fixed session of a busy host through the bundle of this build and writes
// its samples, as they lie in memory, to OUT.
// render_session A B LIMIT: says how far two such files lie apart; exit status 1 beyond LIMIT, in full scale.

#include "tests/support/Signals.h"
#include "tests/support/TestHost.h"

#include <algorithm>
#include <fstream>
#include <iostream>
#include <iterator>

namespace
{

// Every machine has the same input and the same moves of the host: nothing but exactly rounded arithmetic
// makes them. The seed is one whose settings meet the mathematics libraries where they differ.
std::vector<double> renderSession()
{
    const Plugin plugin;
    Chance chance{std::mt19937(43)};
    std::vector<double> session;
    for (const float rate : {22050.0f, 44100.0f, 48000.0f, 96000.0f, 192000.0f}) {
        plugin.setRate(rate);
        std::vector<double> samples = noise(1 << 17);
        double level = 1.0;
        for (double& sample : samples) {
            sample *= level;
            level = chance.oneIn(8192) ? 1.0 : level * 0.999;
        }
        for (std::size_t at = 0; at < samples.size();) {
            const auto index = static_cast<VstInt32>(chance.random() % 7);
            const float value = chance.share();
            plugin.set(index, index % 5 == 0 ? static_cast<float>(value > 0.5f) : value);
            if (chance.oneIn(50))
                plugin.dispatch(effSetProgram, 0, static_cast<VstIntPtr>(chance.random() % 16));
            const std::size_t length = std::min<std::size_t>(chance.random() % 128, samples.size() - at);
            plugin.process(samples.data() + at, static_cast<VstInt32>(length));
            at += length;
        }
        session.insert(session.end(), samples.begin(), samples.end());
    }
    return session;
}

std::vector<double> load(const char* path)
{
    std::ifstream file(path, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    const auto* const samples = reinterpret_cast<const double*>(bytes.data());
    return {samples, samples + bytes.size() / sizeof(double)};
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc == 2) {
        const std::vector<double> session = renderSession();
        std::ofstream file(argv[1], std::ios::binary);
        file.write(reinterpret_cast<const char*>(session.data()),
                   static_cast<std::streamsize>(session.size() * sizeof(double)));
        return file.flush() ? 0 : 1;
    }
    if (argc != 4)
        return 2;
    const std::vector<double> one = load(argv[1]);
    const std::vector<double> other = load(argv[2]);
    double peak = 0.0;
    double apart = one.empty() || one.size() != other.size() ? INFINITY : 0.0;
    std::size_t differing = 0;
    for (std::size_t i = 0; i < std::min(one.size(), other.size()); ++i) {
        peak = std::max(peak, std::fabs(one[i]));
        differing += one[i] != other[i];
        apart = std::max(apart, std::isfinite(one[i] - other[i]) ? std::fabs(one[i] - other[i]) : INFINITY);
    }
    std::cout << differing << " of " << one.size() << " samples differ, by at most " << apart << "; peak "
              << peak << '\n';
    return apart <= std::stod(argv[3]) ? 0 : 1;
}
