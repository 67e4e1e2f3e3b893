// PNG pictures on a plane of R8G8B8A8 pixels: the background, and a numbered sequence of frames that plays over it.
//
// All of it works on the plane's bytes. A frame is blended over the background once, when it is loaded, so that a step
// is a row copy per line.
#ifndef PNG_ANIMATION_H
#define PNG_ANIMATION_H

#include <cstdio>

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

// Reads a PNG picture into uiHeight rows of uiWidth pixels, uiPitchInBytes apart. The file is the caller's to open ("rb")
// and to close. A picture of another size is reported and cut; what it does not cover keeps what it held. The rows are
// written only when the whole picture was read: FALSE, and nothing written, for a file that is damaged, foreign or too
// large (more than 256 MiB decoded), or a heap that refuses. Pictures without alpha arrive with alpha 0.
KBOOL32 LoadImage(std::FILE* poPngFile, KUINT32 uiWidth, KUINT32 uiPitchInBytes, KUINT32 uiHeight, KUINT8* puiARGBData);

// Loads base01.png, base02.png, ... up to the first number that does not open, each blended over the background under the
// region. FALSE when the region is not inside the background, no frame is there, or one cannot be read.
KBOOL32 InitAnimationPng(const KUINT8* puiBackgroundARGBData, KUINT32 uiBackgroundWidth, KUINT32 uiBackgroundPitchInBytes,
                         KUINT32 uiBackgroundHeight, const char* pszAnimBaseFileName, const TRECT& roAnimRegion,
                         SAnimationPngData& roAnimationData);

// Copies the next frame into its region of the plane.
void AnimationPngUpdate(SAnimationPngData& roAnimationData, KUINT32 uiBackgroundPitchInBytes, KUINT8* puiBackgroundARGBData);

#endif
