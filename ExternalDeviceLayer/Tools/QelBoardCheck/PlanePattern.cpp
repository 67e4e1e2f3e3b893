#include "PlanePattern.h"

#include <cstdio>
#include <cstring>

namespace BoardCheck
{
namespace
{
// No two rows or columns are the same, so that a picture that is mirrored or upside down differs from the pattern. Red
// equals blue in one column of 256 only.
KUINT32 PatternAt(KUINT32 x, KUINT32 y, bool bInverted)
{
    const KUINT32 uiBlue = ((x >> 8) * 16 + (y >> 8) + 0x55) & 0xff;
    const KUINT32 uiWord = (x & 0xff) | (y & 0xff) << 8 | uiBlue << 16 | ((x * 7 + y * 13 + 3) & 0xff) << 24;
    return bInverted ? ~uiWord : uiWord;
}

KUINT32 ExchangeRedAndBlue(KUINT32 uiWord)
{
    return (uiWord & 0xff00ff00) | (uiWord & 0xff) << 16 | (uiWord >> 16 & 0xff);
}

KUINT32 Keep(KUINT32 uiWord)
{
    return uiWord;
}

// How a picture can have been changed.
struct SChange
{
    const char* pszName;
    bool        bUpsideDown;
    bool        bMirrored;
    KUINT32 (*pfnPixel)(KUINT32 uiWord);
};

constexpr SChange CHANGES[] = {
    {"upside down", true, false, Keep},
    {"mirrored", false, true, Keep},
    {"upside down and mirrored", true, true, Keep},
    {"red and blue exchanged", false, false, ExchangeRedAndBlue},
    {"upside down, red and blue exchanged", true, false, ExchangeRedAndBlue},
    {"the bytes of a pixel in reverse order", false, false, [](KUINT32 uiWord) { return __builtin_bswap32(uiWord); }},
};

// The index of the first pixel that is not the pattern's after the change; the number of pixels if all are.
size_t FindDifference(const Pixels& roPixels, KUINT32 uiWidth, KUINT32 uiHeight, bool bInverted, const SChange& roChange)
{
    size_t i = 0;
    for (KUINT32 y = 0; y < uiHeight; ++y)
    {
        for (KUINT32 x = 0; x < uiWidth; ++x, ++i)
        {
            const KUINT32 uiColumn = roChange.bMirrored ? uiWidth - 1 - x : x;
            const KUINT32 uiRow    = roChange.bUpsideDown ? uiHeight - 1 - y : y;
            if (roPixels[i] != roChange.pfnPixel(PatternAt(uiColumn, uiRow, bInverted)))
                return i;
        }
    }
    return i;
}
}

Pixels ReadPlane(const Access& roAccess)
{
    const KUINT32 uiWidth = roAccess.m_oInfo.auiWidth[0];
    Pixels        auiPixels(size_t{uiWidth} * roAccess.m_oInfo.auiHeight[0]);
    for (KUINT32 y = 0; y < roAccess.m_oInfo.auiHeight[0]; ++y)
        std::memcpy(auiPixels.data() + size_t{y} * uiWidth, roAccess.GetRow(y), size_t{uiWidth} * sizeof(KUINT32));
    return auiPixels;
}

void DrawPattern(const Access& roAccess, bool bInverted)
{
    for (KUINT32 y = 0; y < roAccess.m_oInfo.auiHeight[0]; ++y)
    {
        for (KUINT32 x = 0; x < roAccess.m_oInfo.auiWidth[0]; ++x)
            roAccess.GetRow(y)[x] = PatternAt(x, y, bInverted);
    }
}

std::string CompareWithPattern(const Access& roAccess, bool bInverted, const Pixels& roBefore)
{
    const KUINT32 uiWidth = roAccess.m_oInfo.auiWidth[0], uiHeight = roAccess.m_oInfo.auiHeight[0];
    const Pixels  auiPixels = ReadPlane(roAccess);
    const size_t  uiFirst   = FindDifference(auiPixels, uiWidth, uiHeight, bInverted, {"", false, false, Keep});
    if (uiFirst == auiPixels.size())
        return "";
    if (auiPixels == roBefore)
        return "nothing of it: the plane holds what it held before";
    for (const SChange& roChange : CHANGES)
    {
        if (FindDifference(auiPixels, uiWidth, uiHeight, bInverted, roChange) == auiPixels.size())
            return roChange.pszName;
    }
    const auto x = static_cast<KUINT32>(uiFirst % uiWidth), y = static_cast<KUINT32>(uiFirst / uiWidth);
    char       acText[96];
    std::snprintf(acText, sizeof(acText), "the pixel in column %u of row %u is 0x%08x instead of 0x%08x", x, y,
                  auiPixels[uiFirst], PatternAt(x, y, bInverted));
    return acText;
}
}
