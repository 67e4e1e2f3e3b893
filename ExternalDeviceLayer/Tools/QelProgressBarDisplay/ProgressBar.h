// The progress bar: a black rectangle with a one-pixel white outline that fills with white from its left edge.
#ifndef PROGRESS_BAR_H
#define PROGRESS_BAR_H

#include "QelSurface.h"
#include "QelTypes.h"
#include "Tavrin.h"

// The board's progress register: f for its fields, dwValue for the whole word.
union RegPROGRESS_UPDATE
{
    struct fRegPROGRESS_UPDATE
    {
        KUINT uUpdatePct : 8;  // the percentage; all that the tool reads
        KUINT uReserved : 14;
        KUINT uBarDisplayCompleted : 1;
        KUINT uTriggerNewBarDisplay : 1;
        KUINT uUpdateStatus : 8;
    } f;
    KUINT32 dwValue;
};
static_assert(sizeof(RegPROGRESS_UPDATE) == 4);

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
