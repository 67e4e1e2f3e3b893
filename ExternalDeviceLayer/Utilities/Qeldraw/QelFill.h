// Fills runs of pixels with one value, as fast as memory takes them.
#ifndef QEL_FILL_H
#define QEL_FILL_H

#include <limits>

#include "QelTools.h"
#include "QelTypes.h"

// Whole blocks of uiBlock pixels from pBegin on. A block's count is known to the compiler, which makes a few wide stores of
// it. Returns where the blocks end, less than one before pEnd.
template <KUINT32 uiBlock, typename T>
inline T* QelFillBlocks(T* pBegin, const T* pEnd, T uiValue)
{
    for (; pEnd - pBegin >= static_cast<KINT64>(uiBlock); pBegin += uiBlock)
    {
        for (KUINT32 i = 0; i < uiBlock; ++i)
        {
            pBegin[i] = uiValue;
        }
    }
    return pBegin;
}

template <typename T>
inline void QelFill(T* pBegin, KUINT32 uiCount, T uiValue)
{
    constexpr KUINT32 uiVectorInBytes = 16;
    constexpr KUINT32 uiLineInBytes   = 64;
    constexpr KUINT32 uiLongInBytes   = 4096;  // from here on the C library's knowledge of the machine outweighs its call

    const KUINT64 uiInBytes = KUINT64{uiCount} * sizeof(T);
    const auto    uiRepeated = static_cast<T>((uiValue & 0xFFu) * (std::numeric_limits<T>::max() / 0xFFu));
    if (uiValue == uiRepeated && uiInBytes >= uiLongInBytes && uiInBytes <= std::numeric_limits<KUINT32>::max())
    {
        QelTools_memset(pBegin, static_cast<KINT32>(uiValue & 0xFFu), static_cast<KUINT32>(uiInBytes));
        return;
    }

    // Wide stores that straddle cache lines cost twice: single pixels go ahead until the rest is aligned.
    const T* const pEnd = pBegin + uiCount;
    while (pBegin != pEnd && reinterpret_cast<KUINTPTR>(pBegin) % uiVectorInBytes != 0)
    {
        *pBegin++ = uiValue;
    }
    pBegin = QelFillBlocks<uiLineInBytes / sizeof(T)>(pBegin, pEnd, uiValue);
    pBegin = QelFillBlocks<uiVectorInBytes / sizeof(T)>(pBegin, pEnd, uiValue);
    while (pBegin != pEnd)
    {
        *pBegin++ = uiValue;
    }
}

#endif
