#include "effect/Wail.h"

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
    EXPECT_EQ(slotsOf(&X::close, &X::processReplacing, &X::processDoubleReplacing, &X::setParameter,
                      &X::getParameter, &X::getSampleRate, &X::__processDeprecated, &X::__getVuDeprecated,
                      &X::offlineGetNumPasses, &X::offlineGetNumMetaPasses, &X::__getNumCategoriesDeprecated,
                      &X::__copyProgramDeprecated, &X::__inputConnectedDeprecated,
                      &X::__outputConnectedDeprecated, &X::__reportCurrentPositionDeprecated,
                      &X::__reportDestinationBufferDeprecated, &X::__getErrorTextDeprecated,
                      &X::__getIconDeprecated, &X::__setViewPositionDeprecated, &X::__fxIdleDeprecated,
                      &X::__keysRequiredDeprecated, &K_TypeBase::getParameterDisplayOf, &Wail::setInvert),
              (std::vector<std::size_t>{4,   9,   10,  11,  12,  32,  44,  45,  123, 124, 129, 130,
                                        134, 135, 139, 140, 147, 148, 149, 150, 151, 161, 164}));
}
