#include <bit>

#include "OsServicesClient_Linux.h"

namespace
{
KUINT32 s_uiOwnState = 0;

// The address of a heap block differs from run to run, in its low 32 bits too.
KUINT32 SeedFromHeap()
{
    void* const pvBlock = OsServices_PagedMemory_Alloc(1);
    const auto  uiSeed  = static_cast<KUINT32>(reinterpret_cast<KUINTPTR>(pvBlock));
    OsServices_PagedMemory_Free(pvBlock);
    return uiSeed;
}
}

KUINT32 OsServices_GetNextRandom(KUINT32* puiState)
{
    const KUINT32 uiOld = *puiState != 0 ? *puiState : SeedFromHeap();
    *puiState           = (std::rotr(uiOld, 1) ^ uiOld) + uiOld;
    return *puiState;
}

KUINT32 OsServices_GetNextRandomNonZero(KUINT32* puiState)
{
    KUINT32 uiValue = 0;
    while (uiValue == 0)
        uiValue = OsServices_GetNextRandom(puiState);
    return uiValue;
}

KUINT32 OsServices_GetRandom(void)
{
    return OsServices_GetNextRandom(&s_uiOwnState);
}

KUINT32 OsServices_GetRandomNonZero(void)
{
    return OsServices_GetNextRandomNonZero(&s_uiOwnState);
}
