#include "FrameBlend.h"

#include <cstddef>
#include <cstring>

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

[[gnu::always_inline]] inline void BlendRow(KUINT8* __restrict puiRow, const KUINT8* __restrict puiGround, KUINT32 uiPixels)
{
    for (std::size_t i = 0; i < uiPixels; ++i)
    {
        KUINT32 uiPixel  = 0;
        KUINT32 uiGround = 0;
        std::memcpy(&uiPixel, puiRow + 4 * i, sizeof(uiPixel));
        std::memcpy(&uiGround, puiGround + 4 * i, sizeof(uiGround));
        uiPixel = BlendPixel(uiPixel, uiGround);
        std::memcpy(puiRow + 4 * i, &uiPixel, sizeof(uiPixel));
    }
}

// The same loop for two instruction sets: eight pixels an instruction where the processor can, which a multiplication of
// 32-bit lanes needs; the base set has none.
[[gnu::target("avx2")]] void BlendRowWide(KUINT8* puiRow, const KUINT8* puiGround, KUINT32 uiPixels)
{
    BlendRow(puiRow, puiGround, uiPixels);
}

void BlendRowBase(KUINT8* puiRow, const KUINT8* puiGround, KUINT32 uiPixels)
{
    BlendRow(puiRow, puiGround, uiPixels);
}
}

void BlendRowOverGround(KUINT8* puiRow, const KUINT8* puiGround, KUINT32 uiPixels)
{
    if (__builtin_cpu_supports("avx2"))
        BlendRowWide(puiRow, puiGround, uiPixels);
    else
        BlendRowBase(puiRow, puiGround, uiPixels);
}
