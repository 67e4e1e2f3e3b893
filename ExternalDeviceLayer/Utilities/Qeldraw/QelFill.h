// Fills runs of pixels with one value, as fast as memory takes them.
#ifndef QEL_FILL_H
#define QEL_FILL_H

#include <limits>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "QelTools.h"
#include "QelTypes.h"

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

template <typename T> inline void QelFill(T* pBegin, KUINT32 uiCount, T uiValue)
{
    constexpr KUINT32 uiVectorInBytes = 16;
    constexpr KUINT32 uiVector        = uiVectorInBytes / sizeof(T);
    constexpr KUINT32 uiLine          = 64 / sizeof(T);
    constexpr KUINT32 uiLongInBytes   = 4096;  // from here on the C library's knowledge of the machine outweighs its call

    const KUINT64 uiInBytes  = KUINT64{uiCount} * sizeof(T);
    const auto    uiRepeated = static_cast<T>((uiValue & 0xFFu) * (std::numeric_limits<T>::max() / 0xFFu));
    if (uiInBytes >= uiLongInBytes && uiValue == uiRepeated && uiInBytes <= std::numeric_limits<KUINT32>::max())
    {
        QelTools_memset(pBegin, static_cast<KINT32>(uiValue & 0xFFu), static_cast<KUINT32>(uiInBytes));
        return;
    }
    if (uiCount < uiVector)
    {
        for (; uiCount != 0; --uiCount)
        {
            *pBegin++ = uiValue;
        }
        return;
    }

    // Wide stores that straddle cache lines cost twice: all are aligned but the first and the last, which overlap with them.
    T* const pEnd = pBegin + uiCount;
    QelFillBlock<uiVector>(pBegin, uiValue);
    pBegin += (uiVectorInBytes - reinterpret_cast<KUINTPTR>(pBegin) % uiVectorInBytes) / sizeof(T);
    pBegin = QelFillBlocks<uiLine>(pBegin, pEnd, uiValue);
    QelFillBlocks<uiVector>(pBegin, pEnd, uiValue);
    QelFillBlock<uiVector>(pEnd - uiVector, uiValue);
}

// An area of this size and more does not stay in the caches, and nobody reads the picture back: its rows are written past
// them, which spares the memory reading each line before it is overwritten. QelFillIsDone then makes the rows visible to
// others.
inline constexpr KUINT64 QEL_FILL_PAST_CACHES_IN_BYTES = KUINT64{8} << 20;

#ifdef __SSE2__
template <typename T> inline void QelFillPastCaches(T* pBegin, KUINT32 uiCount, T uiValue)
{
    constexpr KUINT32 uiLineInBytes = 64;
    constexpr KINT64  iLine         = uiLineInBytes / sizeof(T);

    const auto oVector =
        sizeof(T) == 2 ? _mm_set1_epi16(static_cast<short>(uiValue)) : _mm_set1_epi32(static_cast<int>(uiValue));
    T* const pEnd = pBegin + uiCount;
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

inline void QelFillIsDone()
{
    _mm_sfence();
}
#else
template <typename T> inline void QelFillPastCaches(T* pBegin, KUINT32 uiCount, T uiValue)
{
    QelFill(pBegin, uiCount, uiValue);
}

inline void QelFillIsDone() {}
#endif

#endif
