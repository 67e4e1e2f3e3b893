// The progress bar: a black rectangle with a one-pixel white outline that fills with white from its left edge.
#ifndef PROGRESS_BAR_H
#define PROGRESS_BAR_H

#include "BoardRegisters.h"
#include "QelSurface.h"
#include "QelTypes.h"
#include "Tavrin.h"

// The bar's state between updates, all zero at first.
struct SProgressBarData
{
    KUINT32 uiPrevProgressPct;  // as given to the last update
};

// TRUE when the rectangle has an inside and lies, its right column and bottom row included, in the active picture.
KBOOL32 IsRectangleValidInsideVidParam(const TRECT& roRect, const TVideo_VidParam& roVidParam);

// Draws the empty bar. It covers columns iLeft to iRight and rows iTop to iBottom, both included.
void InitProgressDrawing(const TRECT& roProgessBarWindow, QelSurface* poDrawSurface);

// Draws the bar at a percentage; what exceeds 100 is drawn as 100. A percentage that went back empties the bar first.
void ProgressDrawingUpdate(const TRECT& roProgessBarWindow, KUINT32 uiCurProgressPct, SProgressBarData& roProgressBarData,
                           QelSurface* poDrawSurface);

#endif
