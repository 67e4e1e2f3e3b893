// Large pages for a picture while it is being decoded.
#ifndef LARGE_PAGES_H
#define LARGE_PAGES_H

#include <sys/mman.h>

#include "QelTypes.h"

// Reaching a picture's memory page by page costs more than writing it. A block of uiBytes takes RoomOnLargePages(uiBytes)
// from the heap, and starts within that room where PutOnLargePages says, before anybody has touched it. The rest of the room
// is never touched, so it takes no memory. All of it is advice: the kernel may refuse it, and a block that is smaller than
// one large page stays as it is.
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

// Ends the advice, before the block goes back to the heap: the kernel must not move what comes to lie there, while it is
// being shown, to large pages. Takes what PutOnLargePages gave.
inline void TakeOffLargePages(KUINT8* puiBlock, size_t uiBytes)
{
    if (uiBytes >= LARGE_PAGE_BYTES)
        madvise(puiBlock, uiBytes, MADV_NOHUGEPAGE);
}

#endif
