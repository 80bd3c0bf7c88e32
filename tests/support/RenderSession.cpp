// render_session [--module MODULE] FILE: renders a fixed session of a busy host through the bundle of this build, or
// through MODULE, which may have the entry point of any plug-in interface, and writes the samples to FILE, in the
// machine's byte order.
// render_session [--module MODULE] FILE LIMIT: renders it and prints by how much it differs from the session in FILE.
// Exit status 1 if a sample differs by more than LIMIT, in full scale, and 2 if FILE holds no session.

#include "tests/support/Player.h"
#include "tests/support/Signals.h"

#include <algorithm>
#include <fstream>
#include <iostream>

namespace
{

// The input and the host's calls are the same on every machine: only exactly rounded arithmetic makes them. With this
// seed, the mathematics libraries of the supported machines return different results for some settings.
std::vector<double> renderSession(const Plugin& player)
{
    Random random{std::mt19937(43)};
    std::vector<double> session;
    for (const float rate : {22050.0f, 44100.0f, 48000.0f, 96000.0f, 192000.0f}) {
        player.setRate(rate);
        std::vector<double> samples = noise(1 << 17);
        double level = 1.0;
        for (double& sample : samples) {
            sample *= level;
            level = random.oneIn(8192) ? 1.0 : level * 0.999;
        }
        for (std::size_t at = 0; at < samples.size();) {
            const auto index = static_cast<VstInt32>(random.next() % 7);
            const float value = random.share();
            player.set(index, index % 5 == 0 ? static_cast<float>(value > 0.5f) : value);
            if (random.oneIn(50))
                player.setProgram(random.next() % 16);
            const std::size_t length = std::min<std::size_t>(random.next() % 128, samples.size() - at);
            player.process(samples.data() + at, static_cast<VstInt32>(length));
            at += length;
        }
        session.insert(session.end(), samples.begin(), samples.end());
    }
    return session;
}

}  // namespace

int main(int argc, char** argv)
{
    std::vector<std::string> arguments(argv + 1, argv + argc);
    std::string module = WAIL_BUNDLE;
    if (arguments.size() > 2 && arguments[0] == "--module") {
        module = arguments[1];
        arguments.erase(arguments.begin(), arguments.begin() + 2);
    }
    const std::vector<double> session = renderSession(*makePlayer(loadLibrary(module)));
    const auto size = static_cast<std::streamsize>(session.size() * sizeof(double));
    std::fstream file(arguments.at(0),
                      std::ios::binary | (arguments.size() == 1 ? std::ios::out : std::ios::in));
    if (arguments.size() == 1) {
        file.write(reinterpret_cast<const char*>(session.data()), size);
        return file.flush() ? 0 : 1;
    }
    std::vector<double> other(session.size());
    if (!file.read(reinterpret_cast<char*>(other.data()), size) || file.peek() != EOF)
        return 2;
    double apart = 0.0;
    std::size_t differing = 0;
    for (std::size_t i = 0; i < session.size(); ++i) {
        const double distance = std::fabs(session[i] - other[i]);
        differing += session[i] != other[i];
        apart = std::max(apart, std::isfinite(distance) ? distance : INFINITY);
    }
    std::cout << differing << " of " << session.size() << " samples differ, by at most " << apart << '\n';
    return apart <= std::stod(arguments[1]) ? 0 : 1;
}
