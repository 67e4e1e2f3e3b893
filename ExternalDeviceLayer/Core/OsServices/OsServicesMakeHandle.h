// How class OsServices creates and destroys the objects behind its handles.
#ifndef OS_SERVICES_MAKE_HANDLE_H
#define OS_SERVICES_MAKE_HANDLE_H

#include <new>

#include "QelTypes.h"

// Allocates a block for the handle and calls fCreate to create the object in it. On failure, of the allocation or of
// fCreate, frees the block, sets the handle to null and returns FALSE.
template <class THandle, class TCreate> KBOOL32 MakeHandle(THandle& rhHandle, KUINT32 uiSizeInBytes, TCreate fCreate)
{
    auto* const pui8Block = new (std::nothrow) KUINT8[uiSizeInBytes];
    rhHandle              = reinterpret_cast<THandle>(pui8Block);
    if (pui8Block != nullptr && fCreate(rhHandle))
        return TRUE;

    delete[] pui8Block;
    rhHandle = nullptr;
    return FALSE;
}

// Calls fDestroy to destroy the object, then frees its block. If fDestroy fails, keeps the block and returns FALSE.
template <class THandle, class TDestroy> KBOOL32 UnmakeHandle(THandle hHandle, TDestroy fDestroy)
{
    if (!fDestroy(hHandle))
        return FALSE;

    delete[] reinterpret_cast<KUINT8*>(hHandle);
    return TRUE;
}

#endif
