#ifndef QEL_MFC_TYPES_PLEX_H
#define QEL_MFC_TYPES_PLEX_H

#include "QelTypes.h"

// The header of one raw block in a chain of such, for block allocators; the block's data follows it.
struct CKPlex
{
    CKPlex* m_poNext;

    void* GetData() { return this + 1; }

    // Puts a block for nMax elements of cbElement bytes in front of the chain. Null, and the chain is as it was, when a
    // size is 0 (reported) or there is no block to be had.
    static CKPlex* Create(CKPlex*& rpoHead, KUINT32 nMax, KUINT32 cbElement);

    // Returns this block and all that follow it.
    void FreeDataChain();
};

#endif
