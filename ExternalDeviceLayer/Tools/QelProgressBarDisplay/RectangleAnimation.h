// The rectangle animation: a white block that slides to the right on a black ground and wraps at the right edge.
//
// Positions are percentages of the rectangle's width. A step repaints only the two strips that change.
#ifndef RECTANGLE_ANIMATION_H
#define RECTANGLE_ANIMATION_H

#include "QelSurface.h"
#include "QelTypes.h"
#include "Tavrin.h"

// The block's edges, now and as last drawn; the trailing edge is its left one.
struct SAnimationData
{
    KUINT32 uiLastPctBegin;
    KUINT32 uiPctBegin;
    KUINT32 uiLastPctEnd;
    KUINT32 uiPctEnd;
};

// Paints the ground and the block from uiPctBegin to uiPctEnd, and fills the record.
void InitAnimationDrawing(const TRECT& roAnimBarWindow, KUINT32 uiPctBegin, KUINT32 uiPctEnd, SAnimationData& roAnimData,
                          QelSurface* poDrawSurface);

// Moves the block by uiPctStep percent. The rectangle is the one given at the start.
void AnimationDrawingUpdate(const TRECT& roAnimBarWindow, KUINT32 uiPctStep, SAnimationData& roAnimData,
                            QelSurface* poDrawSurface);

#endif
