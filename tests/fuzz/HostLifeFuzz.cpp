// A host's life, made of bytes: it makes up to three effects, asks them whatever the bytes say, and checks
// after every step that they hold what was set, and in every block that the output is sound. Every buffer is
// exactly as long as the interface allows it to be used, so that the address sanitizer sees each byte beyond.

#include "host/VstRecords.h"
#include "tests/support/Signals.h"
#include "tests/support/TestHost.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <memory>
#include <set>

#undef NDEBUG  // what a host relies on is asserted in every build
#include <cassert>

namespace
{

// Operations of the table by where they take a pointer, counted from their first argument.
const std::set<int> kPointerFirst{21,  22,  59,  60,  68,  78,  81,  83,  84,  87,  98,  108, 109,
                                  110, 115, 116, 117, 120, 121, 122, 144, 145, 147, 152, 160};
const std::set<int> kPointerSecond{52, 66, 67, 68, 101, 102, 103, 105};
const std::set<int> kPointerThird{86, 97};
// The destructors, processing, and what other steps call.
const std::set<int> kNotByItself{0,  1,  2,  7,  9,  10, 11, 13, 16, 17, 18,  19,  20,  39,  40,
                                 41, 42, 43, 44, 53, 56, 69, 93, 94, 95, 111, 112, 113, 114, 161};

class Life
{
public:
    Life(AEffect* record, FuzzedDataProvider& bytes) : plugin(record), in(bytes)
    {
        values.fill({1.0f, 0.84210527f, 0.8f, 0.444f, 1.0f, 0.0f, 1.0f});
        names.fill("Init");
    }
    ~Life() { plugin.call<bool>(112, &arrangement); }

    // False at its end.
    bool step()
    {
        const int kind = in.ConsumeIntegralInRange(0, 63);
        constexpr std::array<void (Life::*)(), 16> kSteps{
            &Life::setRate,      &Life::setProgram,   &Life::rename,       &Life::askText,
            &Life::request,      &Life::callSlot,     &Life::arrange,      &Life::setParameter,
            &Life::setParameter, &Life::setParameter, &Life::setParameter, &Life::process,
            &Life::process,      &Life::process,      &Life::process,      &Life::process};
        (this->*kSteps[kind % 16])();
        return kind != 63;
    }

    void checkState() const
    {
        const VstIntPtr program = plugin.dispatch(effGetProgram);
        assert(program >= 0 && program < 16);
        for (VstInt32 i = 0; i < 7; ++i)
            assert(bitsOf(plugin.get(i)) == bitsOf(values[program][i]));
        for (VstInt32 i = 0; i < 16; ++i) {
            char name[kVstMaxProgNameLen];
            plugin.dispatch(effGetProgramNameIndexed, i, 0, name);
            assert(names[i] == name);
        }
    }

private:
    // Mostly one byte's worth of what is likely to matter, now and then anything.
    VstInt32 index()
    {
        const auto byte = in.ConsumeIntegral<std::uint8_t>();
        return byte < 248 ? byte % 8 : in.ConsumeIntegral<VstInt32>();
    }
    float number()
    {
        constexpr std::array kSpecial{0.0f, 1.0f, 0.5f, -1.0f, 1e-40f, 1e6f, INFINITY, NAN};
        const auto byte = in.ConsumeIntegral<std::uint8_t>();
        return byte < 240 ? kSpecial[byte % kSpecial.size()]
                          : std::bit_cast<float>(in.ConsumeIntegral<std::uint32_t>());
    }

    // Of any length at the price of a few bytes.
    std::string text()
    {
        const std::string start = in.ConsumeBytesAsString(in.ConsumeIntegralInRange(0, 5)).c_str();
        return start + std::string(in.ConsumeIntegral<std::uint8_t>() % 64 * 8, 'x');
    }

    void setRate()
    {
        constexpr float kRates[] = {22050.0f, 48000.0f, 192000.0f, 62.5f, 3072000.0f};
        const float rate = in.ConsumeBool() ? in.PickValueInArray(kRates) : number();
        plugin.setRate(rate);
        hasRate = hasRate || (rate >= 62.5f && rate <= 3072000.0f);
    }

    void setProgram() { plugin.dispatch(effSetProgram, 0, index()); }

    void rename()
    {
        const std::string name = text();
        names[plugin.dispatch(effGetProgram)] = name.substr(0, 23);
        plugin.rename(name);
    }

    void setParameter()
    {
        const VstInt32 i = index();
        const float value = number();
        in.ConsumeBool() ? plugin.set(i, value) : plugin.call<void>(13, i, value);
        if (i >= 0 && i < 7)
            values[plugin.dispatch(effGetProgram)][i] = value;
    }

    // A text that the effect writes, into a buffer of the length agreed for it.
    void askText()
    {
        const VstInt32 i = index();
        const VstInt32 room = in.ConsumeIntegralInRange(-2, 20);
        std::vector<char> nine(9), name(24), identity(64), any(std::max(room, 0) + 1);
        plugin.call<void>(in.ConsumeIntegralInRange(18, 20), i, nine.data());
        plugin.call<void>(161, i, number(), nine.data());
        plugin.call<void>(17, name.data());
        plugin.call<bool>(56, i, i, name.data());
        plugin.call<bool>(in.ConsumeIntegralInRange(93, 95), identity.data());
        plugin.call<void>(in.ConsumeIntegralInRange(39, 42), number(), any.data(), room);
        plugin.call<void>(43, i, any.data(), room);
        const auto properties = std::make_unique<VstParameterProperties>();
        plugin.call<bool>(53, i, properties.get());
    }

    // Any opcode but those that have a step of their own or end the effect.
    void request()
    {
        const VstInt32 opcode =
            in.ConsumeBool() ? in.ConsumeIntegralInRange(0, 80) : in.ConsumeIntegral<VstInt32>();
        if (opcode == effClose || opcode == effSetProgramName || opcode == effSetSampleRate)
            return;
        std::string input = text();
        input.resize(512);  // more than any request writes
        void* slots[] = {&slots, &slots};
        const bool pointers = opcode == effGetSpeakerArrangement;
        const VstIntPtr value =
            pointers ? reinterpret_cast<VstIntPtr>(&slots[0]) : in.ConsumeIntegral<VstIntPtr>();
        void* const given = pointers ? static_cast<void*>(&slots[1]) : input.data();
        plugin.dispatch(opcode, index(), value, in.ConsumeBool() ? given : nullptr, number());
    }

    // All arguments travel in registers of their own, so one signature reaches every operation.
    void callSlot()
    {
        const int slot = in.ConsumeIntegralInRange(0, 164);
        if (kNotByItself.contains(slot) || (slot == 164 && !hasRate))  // the sweep needs a rate
            return;
        hostAnswer = in.ConsumeIntegral<VstIntPtr>();
        std::string buffer = text();
        buffer.resize(512);
        const auto argument = [&](const std::set<int>& pointers) -> VstIntPtr {
            return pointers.contains(slot) ? reinterpret_cast<VstIntPtr>(buffer.data()) : in.ConsumeBool();
        };
        const VstIntPtr first = argument(kPointerFirst), second = argument(kPointerSecond);
        plugin.call<VstIntPtr>(slot, first, second, argument(kPointerThird), VstIntPtr{0}, number());
    }

    void arrange()
    {
        VstSpeakerArrangement* other = nullptr;
        plugin.call<bool>(111, &arrangement, in.ConsumeIntegralInRange(-3, 300));
        if (arrangement != nullptr)
            std::memset(arrangement->speakers, in.ConsumeIntegral<std::uint8_t>(),
                        112 * arrangement->numChannels);
        plugin.call<bool>(114, &other, arrangement);
        plugin.call<bool>(112, &other);
    }

    void process()
    {
        const VstInt32 frames =
            in.ConsumeIntegralInRange(-1, 254) * (in.ConsumeIntegralInRange(0, 15) == 0 ? 20 : 1);
        const std::size_t length = std::max(frames, 0);
        const double level = in.ConsumeBool() ? 1.0 : number();
        std::vector<double> input = noise(length, level, in.ConsumeIntegral<std::uint8_t>());
        std::vector<double> output(length);
        if (length > 0 && in.ConsumeBool())
            input[in.ConsumeIntegralInRange<std::size_t>(0, length - 1)] =
                std::bit_cast<double>(in.ConsumeIntegral<std::uint64_t>());
        const std::vector<double> original = input;
        double* from = input.data();
        double* to = in.ConsumeBool() ? output.data() : input.data();
        plugin.record->processDoubleReplacing(plugin.record, &from, &to, frames);
        for (std::size_t i = 0; i < length; ++i) {
            assert(hasRate ? std::isnormal(to[i]) || to[i] == 0.0 : bitsOf(to[i]) == bitsOf(original[i]));
            assert(to == from || bitsOf(from[i]) == bitsOf(original[i]));
        }
    }

    const Plugin plugin;
    FuzzedDataProvider& in;
    std::array<std::array<float, 7>, 16> values;
    std::array<std::string, 16> names;
    VstSpeakerArrangement* arrangement = nullptr;
    bool hasRate = false;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider bytes(data, size);
    std::array<std::unique_ptr<Life>, 3> lives;
    while (bytes.remaining_bytes() > 0) {
        std::unique_ptr<Life>& life = lives[std::max(0, bytes.ConsumeIntegralInRange(-9, 2))];
        hostCalls.clear();
        if (life == nullptr) {
            hostAnswer = bytes.ConsumeBool() ? 1 : bytes.ConsumeIntegral<VstIntPtr>();
            const std::unique_ptr<K_TypeIF> interface(getinterface(hostCallback));
            assert((interface == nullptr) == (hostAnswer == 0));
            if (interface != nullptr)
                life = std::make_unique<Life>(interface->aeffect, bytes);
        } else if (!life->step()) {
            life.reset();
        }
        for (const auto& each : lives) {
            if (each != nullptr)
                each->checkState();
        }
    }
    return 0;
}
