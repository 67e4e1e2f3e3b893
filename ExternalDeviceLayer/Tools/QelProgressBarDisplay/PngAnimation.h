// A numbered sequence of PNG frames that plays over a plane of R8G8B8A8 pixels.
//
// It works on the plane's bytes. A frame is blended over the background once, when it is loaded, so that a step
// is a row copy per line.
#ifndef PNG_ANIMATION_H
#define PNG_ANIMATION_H

#include "PngImage.h"
#include "QelTypes.h"
#include "Tavrin.h"

// The sequence's state. The frames are made by InitAnimationPng and stay allocated until the process ends.
struct SAnimationPngData
{
    KUINT8** ppuiAnimationSurface;  // uiNbOfAnimation frames of the region's size, rows without gaps, alpha 255
    KUINT32  uiNbOfAnimation;
    TRECT    oRegion;
    KUINT32  uiCurrentIndex;  // the frame shown last
};

// Loads base01.png, base02.png, ... up to the first number that does not open, each blended over the background under the
// region. FALSE when the region is not inside the background, no frame is there, one cannot be read, or memory runs out.
KBOOL32 InitAnimationPng(const KUINT8* puiBackgroundARGBData, KUINT32 uiBackgroundWidth, KUINT32 uiBackgroundPitchInBytes,
                         KUINT32 uiBackgroundHeight, const char* pszAnimBaseFileName, const TRECT& roAnimRegion,
                         SAnimationPngData& roAnimationData);

// Copies the next frame into its region of the plane.
void AnimationPngUpdate(SAnimationPngData& roAnimationData, KUINT32 uiBackgroundPitchInBytes, KUINT8* puiBackgroundARGBData);

#endif
