#include "ProgressBar.h"

#include <algorithm>

namespace
{
constexpr KUINT32 FULL_PCT = 100;

// Pixels from the left edge for a percentage: the product wraps in 32 bits, the quotient is a signed one.
KINT32 FilledWidthPixels(const TRECT& roWindow, KUINT32 uiPct)
{
    const KUINT32 uiWidth = static_cast<KUINT32>(roWindow.iRight) - static_cast<KUINT32>(roWindow.iLeft);
    return static_cast<KINT32>(uiWidth * uiPct) / static_cast<KINT32>(FULL_PCT);
}
}

KBOOL32 IsRectangleValidInsideVidParam(const TRECT& roRect, const TVideo_VidParam& roVidParam)
{
    const auto iHActive = static_cast<KINT32>(roVidParam.uiHActive);
    const auto iVActive = static_cast<KINT32>(roVidParam.uiVActive);

    return 0 <= roRect.iLeft && roRect.iLeft < roRect.iRight && roRect.iRight < iHActive && 0 <= roRect.iTop &&
                   roRect.iTop < roRect.iBottom && roRect.iBottom < iVActive
               ? TRUE
               : FALSE;
}

void InitProgressDrawing(const TRECT& roProgessBarWindow, QelSurface* poDrawSurface)
{
    const auto uiLeft   = static_cast<KUINT32>(roProgessBarWindow.iLeft);
    const auto uiTop    = static_cast<KUINT32>(roProgessBarWindow.iTop);
    const auto uiRight  = static_cast<KUINT32>(roProgessBarWindow.iRight);
    const auto uiBottom = static_cast<KUINT32>(roProgessBarWindow.iBottom);

    poDrawSurface->SetBgColourFromARGB(0, 0, 0, 0);
    poDrawSurface->SetFgColorFromARGB(0, 0, 0, 0);
    poDrawSurface->Rectangle(roProgessBarWindow.iLeft, roProgessBarWindow.iTop, roProgessBarWindow.iRight,
                             roProgessBarWindow.iBottom);

    poDrawSurface->SetFgColorFromARGB(0, 255, 255, 255);
    poDrawSurface->SetPos(uiLeft, uiTop);
    poDrawSurface->LineTo(uiRight, uiTop);
    poDrawSurface->LineTo(uiRight, uiBottom);
    poDrawSurface->LineTo(uiLeft, uiBottom);
    poDrawSurface->LineTo(uiLeft, uiTop);
}

void ProgressDrawingUpdate(const TRECT& roProgessBarWindow, KUINT32 uiCurProgressPct, SProgressBarData& roProgressBarData,
                           QelSurface* poDrawSurface)
{
    if (roProgressBarData.uiPrevProgressPct > uiCurProgressPct)
        InitProgressDrawing(roProgessBarWindow, poDrawSurface);

    // The register holds up to 255, and Rectangle does not clip.
    const KINT32 iRectangleProgressWidth = FilledWidthPixels(roProgessBarWindow, std::min(uiCurProgressPct, FULL_PCT));

    poDrawSurface->SetFgColorFromARGB(0, 255, 255, 255);
    poDrawSurface->Rectangle(roProgessBarWindow.iLeft, roProgessBarWindow.iTop,
                             roProgessBarWindow.iLeft + iRectangleProgressWidth, roProgessBarWindow.iBottom);
    roProgressBarData.uiPrevProgressPct = uiCurProgressPct;
}
