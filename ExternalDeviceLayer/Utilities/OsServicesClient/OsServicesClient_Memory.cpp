#include <cstdlib>

#include "OsServicesClient_Linux.h"
#include "QelTools.h"
#include "QelVxd.h"

void* OsServices_PagedMemory_Alloc(KUINTPTR uiSizeInBytes)
{
    return std::malloc(uiSizeInBytes);
}

void OsServices_PagedMemory_Free(void* pvBuffer)
{
    std::free(pvBuffer);
}

void* OsServices_NonPagedMemory_Alloc(KUINTPTR, HNonPagedMem*)
{
    return nullptr;
}

KUINT64 OsServices_NonPagedMemory_GetPhysicalAddress(HNonPagedMem)
{
    return 0;
}

void OsServices_NonPagedMemory_Free(HNonPagedMem) {}

void* OsServices_IoMap(KUINT64 uiPhysicalAddress, KUINT32 uiSize, KBOOL32 bIsCacheable)
{
    constexpr KUINT32 uiUncached = 0;
    constexpr KUINT32 uiCached   = 1;

    MEMHANDLE hMemory = bIsCacheable ? memMap64(uiPhysicalAddress, uiSize, uiCached) : 0;
    if (hMemory == 0)
        hMemory = memMap64(uiPhysicalAddress, uiSize, uiUncached);
    return reinterpret_cast<void*>(hMemory);
}

void OsServices_IoUnMap(void* pvMappedAddress, KUINT32)
{
    memUnmap(reinterpret_cast<MEMHANDLE>(pvMappedAddress));
}

KBOOL32 OsServices_CopyFromUser(void* pvSource, void* pvDest, KUINT uiNbBytes)
{
    QelTools_memcpy(pvDest, pvSource, uiNbBytes);
    return TRUE;
}

KBOOL32 OsServices_CopyToUser(void* pvSource, void* pvDest, KUINT uiNbBytes)
{
    QelTools_memcpy(pvDest, pvSource, uiNbBytes);
    return TRUE;
}
