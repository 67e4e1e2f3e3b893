#include "OsServices.h"
#include "OsServicesClient_Linux.h"

void* OsServices::PagedMemory_Alloc(KUINTPTR uiSizeInBytes)
{
    return OsServices_PagedMemory_Alloc(uiSizeInBytes);
}

void OsServices::PagedMemory_Free(void* pvBuffer)
{
    OsServices_PagedMemory_Free(pvBuffer);
}

void* OsServices::NonPagedMemory_Alloc(KUINTPTR uiSizeInBytes, HNonPagedMem* phNonPagedMem)
{
    return OsServices_NonPagedMemory_Alloc(uiSizeInBytes, phNonPagedMem);
}

KUINT64 OsServices::NonPagedMemory_GetPhysicalAddress(HNonPagedMem hNonPagedMem)
{
    return OsServices_NonPagedMemory_GetPhysicalAddress(hNonPagedMem);
}

void OsServices::NonPagedMemory_Free(HNonPagedMem hNonPagedMem)
{
    OsServices_NonPagedMemory_Free(hNonPagedMem);
}

void* OsServices::IoMap(KUINT64 uiPhysicalAddress, KUINT32 uiSize, KBOOL32 bIsCacheable)
{
    return OsServices_IoMap(uiPhysicalAddress, uiSize, bIsCacheable);
}

void OsServices::IoUnMap(void* pvMappedAddress, KUINT32 uiSize)
{
    OsServices_IoUnMap(pvMappedAddress, uiSize);
}

KBOOL32 OsServices::CopyFromUser(void* pvSource, void* pvDest, KUINT uiNbBytes)
{
    return OsServices_CopyFromUser(pvSource, pvDest, uiNbBytes);
}

KBOOL32 OsServices::CopyToUser(void* pvSource, void* pvDest, KUINT uiNbBytes)
{
    return OsServices_CopyToUser(pvSource, pvDest, uiNbBytes);
}
