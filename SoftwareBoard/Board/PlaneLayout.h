// How the pixels of a buffer lie in its file: one plane with padded rows. The pitch never equals the width, so a client that
// mixes them up shows a wrong picture at once.
#ifndef PLANE_LAYOUT_H
#define PLANE_LAYOUT_H

#include <optional>

#include "Tavrin.h"

namespace SoftwareBoard
{
struct SPlaneLayout
{
    TPixelFormat ePixelFormat;
    KUINT32      uiWidth;
    KUINT32      uiHeight;
    KUINT32      uiBytesPerPixel;
    KUINT32      uiPitch;  // pixels
    KUINT32      uiPitchInBytes;
    KUINT32      uiSizeInBytes;
};

// Returns nothing for a format that is unknown or has several planes, a width or height of 0, or sizes beyond 32 bits.
std::optional<SPlaneLayout> LayOutPlane(TPixelFormat ePixelFormat, KUINT32 uiWidth, KUINT32 uiHeight);
}

#endif
