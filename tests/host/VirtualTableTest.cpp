#include "effect/Wail.h"
#include "tests/support/TableSlots.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>

namespace
{

// The slots of virtual operations. A pointer to one holds its offset in the table, and a bit that marks it as virtual
// in the same word or (AArch64) in the next.
template <typename... Operations>
std::vector<std::size_t> slotsOf(Operations... operations)
{
    return {(std::bit_cast<std::array<std::uintptr_t, 2>>(operations)[0] & ~std::uintptr_t{1}) /
            sizeof(void*)...};
}

}  // namespace

// The other tests call all other operations by their slots.
TEST(VirtualTable, HoldsInTheirSlotsTheOperationsThatOtherTestsDoNotReach)
{
    using X = AudioEffectX;
    // clang-format off
    const std::vector<std::size_t> slots{
        slot::close, slot::processReplacing, slot::processDoubleReplacing, slot::setParameter,
        slot::getParameter, slot::getSampleRate, slot::process, slot::getVu, slot::offlineGetNumPasses,
        slot::offlineGetNumMetaPasses, slot::getNumCategories, slot::copyProgram, slot::inputConnected,
        slot::outputConnected, slot::reportCurrentPosition, slot::reportDestinationBuffer, slot::getErrorText,
        slot::getIcon, slot::setViewPosition, slot::fxIdle, slot::keysRequired, slot::getParameterDisplayOf,
        slot::setInvert};
    // clang-format on
    EXPECT_EQ(slotsOf(&X::close, &X::processReplacing, &X::processDoubleReplacing, &X::setParameter,
                      &X::getParameter, &X::getSampleRate, &X::__processDeprecated, &X::__getVuDeprecated,
                      &X::offlineGetNumPasses, &X::offlineGetNumMetaPasses, &X::__getNumCategoriesDeprecated,
                      &X::__copyProgramDeprecated, &X::__inputConnectedDeprecated,
                      &X::__outputConnectedDeprecated, &X::__reportCurrentPositionDeprecated,
                      &X::__reportDestinationBufferDeprecated, &X::__getErrorTextDeprecated,
                      &X::__getIconDeprecated, &X::__setViewPositionDeprecated, &X::__fxIdleDeprecated,
                      &X::__keysRequiredDeprecated, &K_TypeBase::getParameterDisplayOf, &Wail::setInvert),
              slots);
}
