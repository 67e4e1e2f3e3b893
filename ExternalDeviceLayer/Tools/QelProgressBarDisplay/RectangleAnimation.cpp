#include "RectangleAnimation.h"

namespace
{
KINT32 ColumnAt(const TRECT& roWindow, KUINT32 uiPct)
{
    const KUINT32 uiWidth = static_cast<KUINT32>(roWindow.iRight) - static_cast<KUINT32>(roWindow.iLeft);
    return static_cast<KINT32>(static_cast<KUINT32>(roWindow.iLeft) + uiWidth * uiPct / 100);
}

void FillColumns(const TRECT& roWindow, KINT32 iFrom, KINT32 iTo, QelSurface* poDrawSurface)
{
    poDrawSurface->Rectangle(iFrom, roWindow.iTop, iTo, roWindow.iBottom);
}

// Fills what an edge passed over on its way from one position to the next; equal positions count as once around.
void FillStrip(const TRECT& roWindow, KUINT32 uiLastPct, KUINT32 uiPct, QelSurface* poDrawSurface)
{
    const KINT32 iLastColumn = ColumnAt(roWindow, uiLastPct);
    const KINT32 iColumn     = ColumnAt(roWindow, uiPct);

    if (uiPct > uiLastPct)
    {
        FillColumns(roWindow, iLastColumn, iColumn, poDrawSurface);
        return;
    }
    FillColumns(roWindow, iLastColumn, roWindow.iRight, poDrawSurface);
    FillColumns(roWindow, roWindow.iLeft, iColumn, poDrawSurface);
}
}

void InitAnimationDrawing(const TRECT& roAnimBarWindow, KUINT32 uiPctBegin, KUINT32 uiPctEnd, SAnimationData& roAnimData,
                          QelSurface* poDrawSurface)
{
    poDrawSurface->SetFgColorFromARGB(0, 0, 0, 0);
    FillColumns(roAnimBarWindow, roAnimBarWindow.iLeft, roAnimBarWindow.iRight, poDrawSurface);
    poDrawSurface->SetFgColorFromARGB(0, 255, 255, 255);
    FillColumns(roAnimBarWindow, ColumnAt(roAnimBarWindow, uiPctBegin), ColumnAt(roAnimBarWindow, uiPctEnd), poDrawSurface);

    roAnimData.uiPctBegin     = uiPctBegin;
    roAnimData.uiPctEnd       = uiPctEnd;
    roAnimData.uiLastPctBegin = uiPctBegin;
    roAnimData.uiLastPctEnd   = uiPctEnd;
}

void AnimationDrawingUpdate(const TRECT& roAnimBarWindow, KUINT32 uiPctStep, SAnimationData& roAnimData,
                            QelSurface* poDrawSurface)
{
    roAnimData.uiPctBegin = (roAnimData.uiPctBegin + uiPctStep) % 100;
    roAnimData.uiPctEnd   = (roAnimData.uiPctEnd + uiPctStep) % 100;

    poDrawSurface->SetFgColorFromARGB(0, 255, 255, 255);
    FillStrip(roAnimBarWindow, roAnimData.uiLastPctEnd, roAnimData.uiPctEnd, poDrawSurface);
    poDrawSurface->SetFgColorFromARGB(0, 0, 0, 0);
    FillStrip(roAnimBarWindow, roAnimData.uiLastPctBegin, roAnimData.uiPctBegin, poDrawSurface);

    roAnimData.uiLastPctBegin = roAnimData.uiPctBegin;
    roAnimData.uiLastPctEnd   = roAnimData.uiPctEnd;
}
