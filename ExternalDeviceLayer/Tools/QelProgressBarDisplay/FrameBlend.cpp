#include "FrameBlend.h"

#include <cstddef>

#ifdef __x86_64__
#include <immintrin.h>
#endif

#include "PixelWord.h"

namespace
{
// Two 16-bit lanes in a word, each a value below 256 times one below 256. floor(v / 255) == (v + 1 + (v >> 8)) >> 8 for
// every v up to 255 * 255, and no step of it leaves its lane.
inline KUINT32 LanesDividedBy255(KUINT32 uiLanes)
{
    return ((uiLanes + 0x00010001u + ((uiLanes >> 8) & 0x00FF00FFu)) >> 8) & 0x00FF00FFu;
}

inline KUINT32 BlendPixel(KUINT32 uiPixel, KUINT32 uiGround)
{
    const KUINT32 uiAlpha     = uiPixel >> 24;
    const KUINT32 uiRemainder = 255 - uiAlpha;

    const KUINT32 uiRedBlue = (uiPixel & 0x00FF00FFu) * uiAlpha + (uiGround & 0x00FF00FFu) * uiRemainder;
    const KUINT32 uiGreen   = ((uiPixel >> 8) & 0xFFu) * uiAlpha + ((uiGround >> 8) & 0xFFu) * uiRemainder;
    return 0xFF000000u | LanesDividedBy255(uiRedBlue) | (LanesDividedBy255(uiGreen) << 8);
}

void BlendPixels(KUINT8* __restrict puiRow, const KUINT8* __restrict puiGround, KUINT32 uiPixels)
{
    for (std::size_t i = 0; i < uiPixels; ++i)
    {
        WritePixelWord(puiRow + 4 * i, BlendPixel(ReadPixelWord(puiRow + 4 * i), ReadPixelWord(puiGround + 4 * i)));
    }
}

#ifdef __x86_64__
// Eight pixels at a time, in lanes of 16 bits. Where all eight are opaque the row is as it is to be, and where all are
// transparent the ground is: most of a drawn frame. floor(v / 255) == ((v + 1) * 257) >> 16 for every v up to 255 * 255.
[[gnu::target("avx2")]] KUINT32 BlendEights(KUINT8* puiRow, const KUINT8* puiGround, KUINT32 uiPixels)
{
    const __m256i oAlphaBytes = _mm256_set1_epi32(static_cast<int>(0xFF000000u));
    const __m256i oEvenBytes  = _mm256_set1_epi16(0x00FF);
    const __m256i oOne        = _mm256_set1_epi16(1);
    const __m256i o257        = _mm256_set1_epi16(257);
    const __m256i oSpread =
        _mm256_broadcastsi128_si256(_mm_set_epi8(15, 14, 15, 14, 11, 10, 11, 10, 7, 6, 7, 6, 3, 2, 3, 2));

    KUINT32 i = 0;
    for (; uiPixels - i >= 8; i += 8)
    {
        auto* const   poPixels = reinterpret_cast<__m256i*>(puiRow + std::size_t{4} * i);
        const __m256i oPixels  = _mm256_loadu_si256(poPixels);
        if (_mm256_testc_si256(oPixels, oAlphaBytes) != 0)
            continue;
        const __m256i oGround = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(puiGround + std::size_t{4} * i));
        if (_mm256_testz_si256(oPixels, oAlphaBytes) != 0)
        {
            _mm256_storeu_si256(poPixels, _mm256_or_si256(oGround, oAlphaBytes));
            continue;
        }

        const __m256i oGreenAlpha = _mm256_srli_epi16(oPixels, 8);
        const __m256i oAlpha      = _mm256_shuffle_epi8(oGreenAlpha, oSpread);
        const __m256i oRemainder  = _mm256_xor_si256(oAlpha, oEvenBytes);

        __m256i oRedBlue = _mm256_add_epi16(_mm256_mullo_epi16(_mm256_and_si256(oPixels, oEvenBytes), oAlpha),
                                            _mm256_mullo_epi16(_mm256_and_si256(oGround, oEvenBytes), oRemainder));
        __m256i oGreen   = _mm256_add_epi16(_mm256_mullo_epi16(oGreenAlpha, oAlpha),
                                            _mm256_mullo_epi16(_mm256_srli_epi16(oGround, 8), oRemainder));
        oRedBlue         = _mm256_mulhi_epu16(_mm256_add_epi16(oRedBlue, oOne), o257);
        oGreen           = _mm256_slli_epi16(_mm256_mulhi_epu16(_mm256_add_epi16(oGreen, oOne), o257), 8);
        _mm256_storeu_si256(poPixels, _mm256_or_si256(_mm256_or_si256(oRedBlue, oGreen), oAlphaBytes));
    }
    return i;
}

// How many pixels the wide instructions have blended, from the first on.
KUINT32 BlendWide(KUINT8* puiRow, const KUINT8* puiGround, KUINT32 uiPixels)
{
    return __builtin_cpu_supports("avx2") ? BlendEights(puiRow, puiGround, uiPixels) : 0;
}
#else
KUINT32 BlendWide(KUINT8*, const KUINT8*, KUINT32)
{
    return 0;
}
#endif
}

void BlendRowOverGround(KUINT8* puiRow, const KUINT8* puiGround, KUINT32 uiPixels)
{
    const std::size_t uiDone = BlendWide(puiRow, puiGround, uiPixels);
    BlendPixels(puiRow + 4 * uiDone, puiGround + 4 * uiDone, uiPixels - static_cast<KUINT32>(uiDone));
}
