#include "FrameBlend.h"

#include <cstddef>

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

// The compiler vectorizes it for whoever inlines it.
[[gnu::always_inline]] inline void BlendPixels(KUINT8* __restrict puiRow, const KUINT8* __restrict puiGround,
                                               KUINT32 uiPixels)
{
    for (size_t i = 0; i < uiPixels; ++i)
        WritePixelWord(puiRow + 4 * i, BlendPixel(ReadPixelWord(puiRow + 4 * i), ReadPixelWord(puiGround + 4 * i)));
}

#ifdef __x86_64__
[[gnu::target("avx2")]] void BlendPixelsAvx2(KUINT8* puiRow, const KUINT8* puiGround, KUINT32 uiPixels)
{
    BlendPixels(puiRow, puiGround, uiPixels);
}
#endif
}

void BlendRowOverGround(KUINT8* puiRow, const KUINT8* puiGround, KUINT32 uiPixels)
{
#ifdef __x86_64__
    if (__builtin_cpu_supports("avx2"))
        return BlendPixelsAvx2(puiRow, puiGround, uiPixels);
#endif
    BlendPixels(puiRow, puiGround, uiPixels);
}
