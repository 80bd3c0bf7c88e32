// The effect for a page in a browser: plain functions around it, exported from a WebAssembly module. One
// thread per module instance. An invalid argument calls fail(message), which the page supplies and which
// throws.

#include "effect/Wail.h"
#include "host/VstRecords.h"
#include "presets/ProgramFile.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <exception>

#define EXPORT(name) extern "C" __attribute__((export_name(#name)))

extern "C" {

// Supplied by the page: throws there, with the message.
[[noreturn, clang::import_module("page"), clang::import_name("fail")]] void fail(const char* message);

// This module has no exceptions of its own: a throw ends the call, and what was on the stack is not
// destroyed. So what can throw runs in a module instance of its own.
void* __cxa_allocate_exception(std::size_t size)
{
    return std::malloc(size);
}

[[noreturn]] void __cxa_throw(void* exception, void* /*type*/, void (* /*destroy*/)(void*))
{
    fail(static_cast<const std::exception*>(exception)->what());
}
}

namespace
{

constexpr int kLongestLiveBlock = 128;  // frames, as browsers cut sound

// Live, digital silence is this, far below what a float output can show: the states of the effect then
// never reach the subnormal numbers, on which processors are slow and which WebAssembly cannot flush. A
// square wave, because the detector stops a constant. Any float but 0 plus this is that float, to the bit.
constexpr double kFloor = 1e-150;

// One channel of sound.
struct Channel {
    Channel() : effect(nullptr) {}

    Wail effect;
    double floor = kFloor;
    std::array<double, kLongestLiveBlock> block{};
};

struct Program {
    std::array<float, kNumParams> values;
    std::array<char, ProgramFile::kNameBytes> name;
};

char text[ProgramFile::kNameBytes];  // the last answer, zero-terminated
Program program;                     // what was read, or is to be written
std::vector<char> file;              // what was written

// An effect to ask for texts and identity.
Wail& reference()
{
    static Wail effect(nullptr);
    return effect;
}

ProgramFileOwner owner()
{
    return {reference().getAeffect()->uniqueID, kNumParams, kNumPrograms};
}

}  // namespace

// Memory for size bytes, until release().
EXPORT(allocate) void* allocate(std::size_t size)
{
    return std::malloc(size);
}

EXPORT(release) void release(void* memory)
{
    std::free(memory);
}

// sampleRate: Hz. Returns null if the effect does not take it.
EXPORT(makeChannel) Channel* makeChannel(float sampleRate)
{
    if (!(sampleRate >= static_cast<float>(kMinSampleRate) &&
          sampleRate <= static_cast<float>(kMaxSampleRate)))
        return nullptr;
    auto* const channel = new Channel;
    channel->effect.setSampleRate(sampleRate);
    return channel;
}

EXPORT(freeChannel) void freeChannel(Channel* channel)
{
    delete channel;
}

// The next block glides there.
EXPORT(setParameter) void setParameter(Channel* channel, int index, float value)
{
    channel->effect.setParameter(index, value);
}

// An empty block: values set before are there at once.
EXPORT(settle) void settle(Channel* channel)
{
    channel->effect.processDoubleReplacing(nullptr, nullptr, 0);
}

// frames samples in place.
EXPORT(process) void process(Channel* channel, double* samples, int frames)
{
    channel->effect.processDoubleReplacing(&samples, &samples, frames);
}

// The same for frames floats as they are played, frames at most 128: as fast in silence as in sound. Returns
// the highest magnitude of the input.
EXPORT(processLive) float processLive(Channel* channel, float* samples, int frames)
{
    const int count = std::min(frames, kLongestLiveBlock);
    channel->floor = -channel->floor;
    double* const block = channel->block.data();
    std::uint32_t peak = 0;  // bits, in whose order magnitudes are; compilers compare four at once
    for (int i = 0; i < count; ++i)
        peak = std::max(peak, std::bit_cast<std::uint32_t>(samples[i]) & 0x7fffffffu);
    for (int i = 0; i < count; ++i)
        block[i] = samples[i] + channel->floor;
    process(channel, block, count);
    for (int i = 0; i < count; ++i)
        samples[i] = static_cast<float>(block[i]);
    return std::bit_cast<float>(peak);
}

// How far the teeth are swept, 0 .. 1, at the end of the last block.
EXPORT(sweep) float sweep(const Channel* channel)
{
    return channel->effect.sweep();
}

// The delay of the comb there, in seconds.
EXPORT(delay) double delay(const Channel* channel)
{
    return channel->effect.delay();
}

// Name, text of a value and default of a parameter, each as the effect has it.
EXPORT(parameterName) const char* parameterName(int index)
{
    return kParameters[static_cast<std::size_t>(index)].name;
}

EXPORT(parameterText) const char* parameterText(int index, float value)
{
    reference().getParameterDisplayOf(index, value, text);
    return text;
}

EXPORT(parameterInitial) float parameterInitial(int index)
{
    return kParameters[static_cast<std::size_t>(index)].initial;
}

EXPORT(parameterIsSwitch) bool parameterIsSwitch(int index)
{
    return kParameters[static_cast<std::size_t>(index)].isSwitch;
}

// Seven floats and 28 bytes of name: what readProgram() read, and what writeProgram() writes.
EXPORT(programData) Program* programData()
{
    return &program;
}

// Fails if the bytes are not a program file (.fxp) of this effect.
EXPORT(readProgram) void readProgram(const char* bytes, std::size_t size)
{
    const ProgramFile read = parseProgramFile({bytes, size}, owner());
    std::copy_n(read.values.begin(), kNumParams, program.values.begin());
    program.name = read.nameBytes;
}

// Returns the bytes of the program file, writtenSize() of them.
EXPORT(writeProgram) const char* writeProgram()
{
    ProgramFile written;
    written.uniqueID = reference().getAeffect()->uniqueID;
    written.version = reference().getAeffect()->version;
    written.nameBytes = program.name;
    written.values.assign(program.values.begin(), program.values.end());
    file = bytesOf(written);
    return file.data();
}

EXPORT(writtenSize) std::size_t writtenSize()
{
    return file.size();
}
