// The one way in which class OsServices makes and unmakes the objects behind its handles.
#ifndef OS_SERVICES_MAKE_HANDLE_H
#define OS_SERVICES_MAKE_HANDLE_H

#include <new>

#include "QelTypes.h"

// Allocates a block of that size and has fCreate make an object in it; TRUE when it did. On every failure, the heap's
// among them, no block is left and the handle is null.
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

// Has fDestroy unmake the object, and frees the block when it did: an object that cannot be unmade keeps its block.
template <class THandle, class TDestroy> KBOOL32 UnmakeHandle(THandle hHandle, TDestroy fDestroy)
{
    if (!fDestroy(hHandle))
        return FALSE;

    delete[] reinterpret_cast<KUINT8*>(hHandle);
    return TRUE;
}

#endif
