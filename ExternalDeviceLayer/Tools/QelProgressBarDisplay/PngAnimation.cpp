#include "PngAnimation.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <new>

#include "FrameBlend.h"
#include "QelCheck.h"
#include "QelTools.h"

namespace
{
constexpr KUINT32 BYTES_PER_PIXEL      = 4;
constexpr KUINT32 FILE_NAME_CHARACTERS = 512;
constexpr KCHAR8  FILE_NAME_END[]      = ".png";

// The frames of every sequence. The list lives for ever, as they do, so a leak checker finds them. It is made by hand
// because a refusal by the heap must be a null, not an exception.
struct SFrameSequence
{
    SFrameSequence* poBefore;
    KUINT8**        ppuiFrames;
};
SFrameSequence* s_poLastSequence = nullptr;

// As many frames, each null so far; null when the heap refuses.
KUINT8** NewFrameSequence(KUINT32 uiFrameCount)
{
    auto* const poSequence = new (std::nothrow) SFrameSequence{s_poLastSequence, new (std::nothrow) KUINT8*[uiFrameCount]()};
    if (poSequence == nullptr)
        return nullptr;
    s_poLastSequence = poSequence;
    return poSequence->ppuiFrames;
}

KUINT32 WidthOf(const TRECT& roRegion)
{
    return static_cast<KUINT32>(roRegion.iRight) - static_cast<KUINT32>(roRegion.iLeft);
}

KUINT32 HeightOf(const TRECT& roRegion)
{
    return static_cast<KUINT32>(roRegion.iBottom) - static_cast<KUINT32>(roRegion.iTop);
}

// Where the row uiRow of a region starts in a plane.
size_t RegionRowOffset(const TRECT& roRegion, KUINT32 uiRow, KUINT32 uiPitchInBytes)
{
    return (static_cast<size_t>(roRegion.iTop) + uiRow) * uiPitchInBytes +
           static_cast<size_t>(roRegion.iLeft) * BYTES_PER_PIXEL;
}

// All pages of a block at once, which costs less than one by one. Advice: an older kernel refuses it, and nothing changes.
void PopulatePages(KUINT8* puiBlock, size_t uiBytes)
{
    const auto uiIntoPage = reinterpret_cast<KUINTPTR>(puiBlock) % static_cast<KUINTPTR>(sysconf(_SC_PAGESIZE));
    madvise(puiBlock - uiIntoPage, uiIntoPage + uiBytes, MADV_POPULATE_WRITE);
}

// Opens the frame of a number, counted from 1. A name that is too long is cut. One whose number was cut would name one file
// for ever: it opens nothing.
std::FILE* OpenFrame(const char* pszAnimBaseFileName, KUINT32 uiNumber)
{
    char      acFileName[FILE_NAME_CHARACTERS];
    const int iLength =
        std::snprintf(acFileName, sizeof(acFileName), "%s%02u%s", pszAnimBaseFileName, uiNumber, FILE_NAME_END);

    // The length of a failure is negative, which is a large one here.
    if (static_cast<size_t>(iLength) >= sizeof(acFileName) + sizeof(FILE_NAME_END) - 1)
        return nullptr;
    return std::fopen(acFileName, "rb");
}

KUINT32 CountFrames(const char* pszAnimBaseFileName)
{
    KUINT32 uiCount = 0;
    while (std::FILE* poFile = OpenFrame(pszAnimBaseFileName, uiCount + 1))
    {
        std::fclose(poFile);
        ++uiCount;
    }
    return uiCount;
}

KBOOL32 LoadFrame(const char* pszAnimBaseFileName, KUINT32 uiNumber, const TRECT& roRegion, KUINT8* puiFrame)
{
    std::FILE* poFile = OpenFrame(pszAnimBaseFileName, uiNumber);
    if (poFile == nullptr)
        return FALSE;

    const KBOOL32 bLoaded =
        LoadImage(poFile, WidthOf(roRegion), WidthOf(roRegion) * BYTES_PER_PIXEL, HeightOf(roRegion), puiFrame);
    std::fclose(poFile);
    return bLoaded;
}
}

KBOOL32 InitAnimationPng(const KUINT8* puiBackgroundARGBData, KUINT32 uiBackgroundWidth, KUINT32 uiBackgroundPitchInBytes,
                         KUINT32 uiBackgroundHeight, const char* pszAnimBaseFileName, const TRECT& roAnimRegion,
                         SAnimationPngData& roAnimationData)
{
    KBOOL32       bLoaded      = FALSE;
    KUINT32       uiFrameCount = 0;
    const KUINT32 uiWidth      = WidthOf(roAnimRegion);
    const KUINT32 uiHeight     = HeightOf(roAnimRegion);
    const auto    uiFrameBytes = size_t{uiWidth} * uiHeight * BYTES_PER_PIXEL;

    QEL_CHECK_OR_ABORT(roAnimRegion.iTop >= 0);
    QEL_CHECK_OR_ABORT(roAnimRegion.iLeft >= 0);
    QEL_CHECK_OR_ABORT(roAnimRegion.iRight < static_cast<KINT32>(uiBackgroundWidth));
    QEL_CHECK_OR_ABORT(roAnimRegion.iBottom < static_cast<KINT32>(uiBackgroundHeight));
    QEL_CHECK_OR_ABORT(roAnimRegion.iLeft <= roAnimRegion.iRight && roAnimRegion.iTop <= roAnimRegion.iBottom);
    QEL_CHECK_OR_ABORT(puiBackgroundARGBData != nullptr);

    uiFrameCount = CountFrames(pszAnimBaseFileName);
    QEL_CHECK_OR_ABORT(uiFrameCount != 0);

    roAnimationData.uiNbOfAnimation      = uiFrameCount;
    roAnimationData.ppuiAnimationSurface = NewFrameSequence(uiFrameCount);
    roAnimationData.oRegion              = roAnimRegion;
    QEL_CHECK_OR_ABORT(roAnimationData.ppuiAnimationSurface != nullptr);

    for (KUINT32 i = 0; i < uiFrameCount; ++i)
    {
        KUINT8* const puiFrame                  = new (std::nothrow) KUINT8[uiFrameBytes];
        roAnimationData.ppuiAnimationSurface[i] = puiFrame;
        QEL_CHECK_OR_ABORT(puiFrame != nullptr);

        // A picture smaller than the region leaves the rest as it is here: transparent.
        PopulatePages(puiFrame, uiFrameBytes);
        std::fill_n(puiFrame, uiFrameBytes, KUINT8{0});
        QEL_CHECK_OR_ABORT(LoadFrame(pszAnimBaseFileName, i + 1, roAnimRegion, puiFrame));

        for (KUINT32 y = 0; y < uiHeight; ++y)
            BlendRowOverGround(puiFrame + size_t{y} * uiWidth * BYTES_PER_PIXEL,
                               puiBackgroundARGBData + RegionRowOffset(roAnimRegion, y, uiBackgroundPitchInBytes), uiWidth);
    }

    roAnimationData.uiCurrentIndex = 0;
    bLoaded                        = TRUE;

Qel_Abort:
    return bLoaded;
}

void AnimationPngUpdate(SAnimationPngData& roAnimationData, KUINT32 uiBackgroundPitchInBytes, KUINT8* puiBackgroundARGBData)
{
    if (roAnimationData.uiNbOfAnimation == 0 || puiBackgroundARGBData == nullptr)
        return;

    roAnimationData.uiCurrentIndex = (roAnimationData.uiCurrentIndex + 1) % roAnimationData.uiNbOfAnimation;

    const TRECT&  roRegion   = roAnimationData.oRegion;
    const KUINT8* puiFrame   = roAnimationData.ppuiAnimationSurface[roAnimationData.uiCurrentIndex];
    const KUINT32 uiRowBytes = WidthOf(roRegion) * BYTES_PER_PIXEL;

    for (KUINT32 y = 0; y < HeightOf(roRegion); ++y)
        QelTools_memcpy(puiBackgroundARGBData + RegionRowOffset(roRegion, y, uiBackgroundPitchInBytes),
                        puiFrame + size_t{y} * uiRowBytes, uiRowBytes);
}
