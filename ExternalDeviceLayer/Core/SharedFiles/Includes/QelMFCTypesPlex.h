#ifndef QEL_MFC_TYPES_PLEX_H
#define QEL_MFC_TYPES_PLEX_H

#include "QelTypes.h"

// The header of a raw block in a chain, for block allocators. The data of the block follows the header.
struct CKPlex
{
    CKPlex* m_poNext;

    void* GetData() { return this + 1; }

    // Allocates a block for nMax elements of cbElement bytes and puts it in front of the chain. Returns null and leaves the
    // chain unchanged if a size is 0, which is reported, or if the allocator returns null.
    static CKPlex* Create(CKPlex*& rpoHead, KUINT32 nMax, KUINT32 cbElement);

    // Frees this block and all blocks after it.
    void FreeDataChain();
};

#endif
