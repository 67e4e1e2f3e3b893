// Large pages for large blocks of the heap.
#ifndef LARGE_PAGES_H
#define LARGE_PAGES_H

#include <sys/mman.h>

#include <cstddef>

#include "QelTypes.h"

// To come to a picture's memory page by page costs more than to write it. A block of uiBytes that is to lie on large pages
// is taken with the room that these ask for, and starts within it where PutOnLargePages says, before anybody has touched it.
// The room is never touched, so it takes no memory. Advice only: where the kernel does not take it nothing changes, and a
// block below the size of one page is left as it is.
inline constexpr std::size_t LARGE_PAGE_BYTES = std::size_t{2} << 20;

inline std::size_t RoomOnLargePages(std::size_t uiBytes)
{
    return uiBytes < LARGE_PAGE_BYTES ? uiBytes : uiBytes + LARGE_PAGE_BYTES;
}

inline KUINT8* PutOnLargePages(KUINT8* puiBlock, std::size_t uiBytes)
{
    if (uiBytes < LARGE_PAGE_BYTES)
        return puiBlock;
    puiBlock += LARGE_PAGE_BYTES - reinterpret_cast<KUINTPTR>(puiBlock) % LARGE_PAGE_BYTES;
    madvise(puiBlock, uiBytes, MADV_HUGEPAGE);
    return puiBlock;
}

#endif
