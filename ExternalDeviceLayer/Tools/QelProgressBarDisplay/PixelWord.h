// A pixel of 32 bits as it lies among the bytes of a plane or of a picture.
#ifndef PIXEL_WORD_H
#define PIXEL_WORD_H

#include "QelTypes.h"

// The word may lie at any address and be read and written as bytes elsewhere.
using KPIXELWORD [[gnu::may_alias, gnu::aligned(1)]] = KUINT32;

inline KUINT32 ReadPixelWord(const KUINT8* puiBytes)
{
    return *reinterpret_cast<const KPIXELWORD*>(puiBytes);
}

inline void WritePixelWord(KUINT8* puiBytes, KUINT32 uiPixel)
{
    *reinterpret_cast<KPIXELWORD*>(puiBytes) = uiPixel;
}

#endif
