// Blending of R8G8B8A8 pixels over an opaque ground.
#ifndef FRAME_BLEND_H
#define FRAME_BLEND_H

#include "QelTypes.h"

// Blends uiPixels pixels over as many of the ground, in place: each colour byte becomes the floor of
// (pixel * alpha + ground * (255 - alpha)) / 255, alpha becomes 255. The rows must not overlap.
void BlendRowOverGround(KUINT8* puiRow, const KUINT8* puiGround, KUINT32 uiPixels);

#endif
