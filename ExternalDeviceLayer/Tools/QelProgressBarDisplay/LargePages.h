// Large pages for a picture while it is being decoded.
#ifndef LARGE_PAGES_H
#define LARGE_PAGES_H

#include <sys/mman.h>

#include "QelTypes.h"

// Reaching a picture's memory page by page costs more than writing it. For a block of uiBytes, allocate
// RoomOnLargePages(uiBytes), pass it to PutOnLargePages before the first write, and use the address that it returns. The
// rest of the room is never touched, so it takes no memory. This only advises the kernel. A block that is smaller than one
// large page stays as it is.
inline constexpr size_t LARGE_PAGE_BYTES = size_t{2} << 20;

inline size_t RoomOnLargePages(size_t uiBytes)
{
    return uiBytes < LARGE_PAGE_BYTES ? uiBytes : uiBytes + LARGE_PAGE_BYTES;
}

inline KUINT8* PutOnLargePages(KUINT8* puiBlock, size_t uiBytes)
{
    if (uiBytes < LARGE_PAGE_BYTES)
        return puiBlock;
    puiBlock += LARGE_PAGE_BYTES - reinterpret_cast<KUINTPTR>(puiBlock) % LARGE_PAGE_BYTES;
    madvise(puiBlock, uiBytes, MADV_HUGEPAGE);
    return puiBlock;
}

// Ends the advice, before the block goes back to the heap. The kernel must not later move other data at this address, such
// as a picture that is being shown. Takes what PutOnLargePages returned.
inline void TakeOffLargePages(KUINT8* puiBlock, size_t uiBytes)
{
    if (uiBytes >= LARGE_PAGE_BYTES)
        madvise(puiBlock, uiBytes, MADV_NOHUGEPAGE);
}

#endif
