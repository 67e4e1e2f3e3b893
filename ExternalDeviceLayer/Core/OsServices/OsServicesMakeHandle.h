// The one way in which class OsServices makes and unmakes the objects behind its handles.
#ifndef OS_SERVICES_MAKE_HANDLE_H
#define OS_SERVICES_MAKE_HANDLE_H

#include <new>

#include "QelTypes.h"

// Allocates a block of that size and has fnCreate make an object in it; TRUE when it did. On every failure, the heap's
// among them, no block is left and the handle is null.
template <typename Handle, typename FnCreate> KBOOL32 MakeHandle(Handle& rhHandle, KUINT32 uiSizeInBytes, FnCreate fnCreate)
{
    auto* const pBlock = new (std::nothrow) KUINT8[uiSizeInBytes];
    rhHandle           = reinterpret_cast<Handle>(pBlock);
    if (pBlock != nullptr && fnCreate(rhHandle))
        return TRUE;

    delete[] pBlock;
    rhHandle = nullptr;
    return FALSE;
}

// Has fnDestroy unmake the object, and frees the block when it did: an object that cannot be unmade keeps its block.
template <typename Handle, typename FnDestroy> KBOOL32 UnmakeHandle(Handle hHandle, FnDestroy fnDestroy)
{
    if (!fnDestroy(hHandle))
        return FALSE;

    delete[] reinterpret_cast<KUINT8*>(hHandle);
    return TRUE;
}

#endif
