#include "QelFill.h"

#include <algorithm>

#ifdef __x86_64__
#include <cpuid.h>
#endif

namespace
{
constexpr KUINT64  ORDINARY_CACHE_IN_BYTES = KUINT64{8} << 20;
constexpr unsigned MAX_CACHES              = 32;  // more than any processor tells of

KUINT64 AskForLargestCache()
{
    KUINT64 uiLargest = 0;
#ifdef __x86_64__
    // Intel's and AMD's leaf of cache parameters have one layout: a sub-leaf for each cache, then one of type 0.
    for (const unsigned uiLeaf : {0x4u, 0x8000001Du})
    {
        unsigned a = 0, b = 0, c = 0, d = 0;
        for (unsigned i = 0; i < MAX_CACHES && __get_cpuid_count(uiLeaf, i, &a, &b, &c, &d) != 0 && (a & 0x1F) != 0; ++i)
        {
            const KUINT64 uiLineInBytes = (b & 0xFFF) + 1, uiPartitions = (b >> 12 & 0x3FF) + 1, uiWays = (b >> 22) + 1;
            uiLargest = std::max(uiLargest, uiWays * uiPartitions * uiLineInBytes * (KUINT64{c} + 1));
        }
    }
#endif
    return uiLargest != 0 ? uiLargest : ORDINARY_CACHE_IN_BYTES;
}
}

KUINT64 QelLargestCacheInBytes()
{
    static const KUINT64 s_uiInBytes = AskForLargestCache();
    return s_uiInBytes;
}
