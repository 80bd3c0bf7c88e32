#pragma once

#include "host/AEffect.h"
#include "host/Export.h"

// What an entry point returns: the address of a new effect's record. Hosts depend on its layout, table
// pointer and then aeffect, and delete it through its virtual destructor. That does not delete the effect,
// and effClose, which deletes the effect, does not delete this.
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

// The bundle's entry points. Both create a new, independent effect, which calls its host through audioMaster.
// They return null if audioMaster is null, throws or answers 0 to audioMasterVersion, and if there is no
// memory. They never throw.
WAIL_EXPORT K_TypeIF* getinterface(audioMasterCallback audioMaster);
WAIL_EXPORT K_TypeIF* KTypeIF(audioMasterCallback audioMaster);
