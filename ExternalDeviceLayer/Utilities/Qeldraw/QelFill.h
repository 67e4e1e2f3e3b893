// Fills rows of pixels with one value, as fast as memory takes them.
#ifndef QEL_FILL_H
#define QEL_FILL_H

#ifdef __x86_64__
#include <emmintrin.h>
#endif

#include "QelTypes.h"

// The size of the largest cache of this processor, or an ordinary one where it does not say.
KUINT64 QelLargestCacheInBytes();

// A count that the compiler knows becomes a few wide stores, wherever pBegin lies.
template <KUINT32 uiCount, typename T> inline void QelFillBlock(T* pBegin, T uiValue)
{
    for (KUINT32 i = 0; i < uiCount; ++i)
    {
        pBegin[i] = uiValue;
    }
}

// Whole blocks from pBegin on. Returns where they end, less than one before pEnd.
template <KUINT32 uiCount, typename T> inline T* QelFillBlocks(T* pBegin, const T* pEnd, T uiValue)
{
    for (; pEnd - pBegin >= static_cast<KINT64>(uiCount); pBegin += uiCount)
    {
        QelFillBlock<uiCount>(pBegin, uiValue);
    }
    return pBegin;
}

#ifdef __x86_64__
// Past the caches, which spares the memory reading each line before it is overwritten. A fence makes the run visible to
// others.
template <typename T> inline void QelFillPastCaches(T* pBegin, T* pEnd, T uiValue)
{
    constexpr KUINT32 uiLineInBytes = 64;
    constexpr KINT64  iLine         = uiLineInBytes / sizeof(T);

    const auto oVector =
        sizeof(T) == 2 ? _mm_set1_epi16(static_cast<short>(uiValue)) : _mm_set1_epi32(static_cast<int>(uiValue));
    while (pBegin != pEnd && reinterpret_cast<KUINTPTR>(pBegin) % uiLineInBytes != 0)
    {
        *pBegin++ = uiValue;
    }
    for (; pEnd - pBegin >= iLine; pBegin += iLine)
    {
        auto* const pVector = reinterpret_cast<__m128i*>(pBegin);
        _mm_stream_si128(pVector, oVector);
        _mm_stream_si128(pVector + 1, oVector);
        _mm_stream_si128(pVector + 2, oVector);
        _mm_stream_si128(pVector + 3, oVector);
    }
    while (pBegin != pEnd)
    {
        *pBegin++ = uiValue;
    }
}

// As memset writes long runs: the processor knows beforehand that it overwrites whole lines.
template <typename T> inline void QelFillByString(T* pBegin, const T* pEnd, T uiValue)
{
    auto uiCount = static_cast<KUINT64>(pEnd - pBegin);
    if constexpr (sizeof(T) == 2)
        asm volatile("rep stosw" : "+D"(pBegin), "+c"(uiCount) : "a"(uiValue) : "memory");
    else
        asm volatile("rep stosl" : "+D"(pBegin), "+c"(uiCount) : "a"(uiValue) : "memory");
}
#endif

// The first uiColumns pixels of uiRows rows, of which each begins uiPitch pixels behind the one before. How a run is written
// best depends on its length, and is chosen once for all rows.
template <typename T> inline void QelFillRows(T* pFirst, KUINT64 uiPitch, KUINT32 uiColumns, KUINT32 uiRows, T uiValue)
{
    static_assert(sizeof(T) == 2 || sizeof(T) == 4);
    constexpr KUINT32 uiVectorInBytes  = 16;
    constexpr KUINT32 uiVector         = uiVectorInBytes / sizeof(T);
    constexpr KUINT32 uiLine           = 64 / sizeof(T);
    constexpr KUINT32 uiAlignedInBytes = 512;  // from here on alignment outweighs its cost

    const KUINT64 uiInBytes  = KUINT64{uiColumns} * sizeof(T);
    const auto    ForEachRow = [=](auto Fill) {
        T* pRow = pFirst;
        for (KUINT32 i = uiRows; i != 0; --i, pRow += uiPitch)
            Fill(pRow, pRow + uiColumns);
    };

#ifdef __x86_64__
    constexpr KUINT32 uiStringInBytes = 4096;  // and from here on the start of a string instruction
    if (uiInBytes >= uiStringInBytes)
    {
        // What is larger than the caches does not stay in them, and nobody reads the picture back.
        if (uiInBytes * uiRows > QelLargestCacheInBytes())
        {
            ForEachRow([=](T* pBegin, T* pEnd) { QelFillPastCaches(pBegin, pEnd, uiValue); });
            _mm_sfence();
            return;
        }
        ForEachRow([=](T* pBegin, T* pEnd) { QelFillByString(pBegin, pEnd, uiValue); });
        return;
    }
#endif
    if (uiInBytes >= uiAlignedInBytes)
    {
        // Wide stores that straddle cache lines cost twice: all are aligned but the first and the last, which overlap with
        // them.
        ForEachRow([=](T* pBegin, T* pEnd) {
            QelFillBlock<uiVector>(pBegin, uiValue);
            pBegin += (uiVectorInBytes - reinterpret_cast<KUINTPTR>(pBegin) % uiVectorInBytes) / sizeof(T);
            pBegin = QelFillBlocks<uiLine>(pBegin, pEnd, uiValue);
            QelFillBlocks<uiVector>(pBegin, pEnd, uiValue);
            QelFillBlock<uiVector>(pEnd - uiVector, uiValue);
        });
    }
    else if (uiColumns >= uiVector)
    {
        ForEachRow([=](T* pBegin, T* pEnd) {
            QelFillBlocks<uiVector>(pBegin, pEnd, uiValue);
            QelFillBlock<uiVector>(pEnd - uiVector, uiValue);
        });
    }
    else
    {
        ForEachRow([=](T* pBegin, T* pEnd) { QelFillBlocks<1>(pBegin, pEnd, uiValue); });
    }
}

#endif
