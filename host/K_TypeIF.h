#pragma once

#include "host/AEffect.h"

// What an entry point gives to the host: the address of a new effect's record. Hosts read it in place, as
// the table pointer and then aeffect, and delete it through its virtual destructor. Its life and the
// effect's do not depend on each other: the effect ends with effClose.
class K_TypeIF
{
public:
    K_TypeIF() = default;
    K_TypeIF(const K_TypeIF&) = delete;
    K_TypeIF& operator=(const K_TypeIF&) = delete;
    virtual ~K_TypeIF() = default;

    AEffect* aeffect = nullptr;
};
static_assert(sizeof(K_TypeIF) == 2 * sizeof(void*));

// Both entry points do the same: they make a new, independent effect for the host behind audioMaster.
// Null when the callback is null or answers 0 to audioMasterVersion, when it throws, or when the effect
// cannot be made. No exception leaves them. The bundle exports these two symbols and no other.
extern "C" [[gnu::visibility("default")]] K_TypeIF* getinterface(audioMasterCallback audioMaster);
extern "C" [[gnu::visibility("default")]] K_TypeIF* KTypeIF(audioMasterCallback audioMaster);
