// The life of a CLAP instance, made of bytes, beside the bundle.

#include "tests/adapters/ClapLife.h"

#include <fuzzer/FuzzedDataProvider.h>

#undef NDEBUG  // what a host relies on is asserted in every build
#include <cassert>

extern "C" const clap::Entry clap_entry;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider bytes(data, size);
    const auto choose = [&](std::uint32_t n) {
        return bytes.ConsumeIntegralInRange<std::uint32_t>(0, n - 1);
    };
    ClapLife life(clap_entry, getinterface, choose);
    while (bytes.remaining_bytes() > 0)
        assert(life.step() == nullptr);
    return 0;
}
