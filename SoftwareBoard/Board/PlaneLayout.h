// How the pixels of a buffer lie in its file: one plane, rows padded, so that the pitch is never the width and a client that
// mixes them up sees it at once.
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

// Nothing for a format that is not a known one of one plane, for a side of 0, and for what the 32-bit fields cannot hold.
std::optional<SPlaneLayout> LayOutPlane(TPixelFormat ePixelFormat, KUINT32 uiWidth, KUINT32 uiHeight);
}

#endif
