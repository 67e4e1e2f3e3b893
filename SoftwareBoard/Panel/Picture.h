// What an output shows at this moment, as a picture: black where the buffer is smaller than the active size, and opaque
// whatever the alpha of the pixels says.
#ifndef PICTURE_H
#define PICTURE_H

#include <vector>

#include "Screen.h"

namespace SoftwareBoard::Panel
{
struct SPicture
{
    KUINT32             uiWidth  = 0;
    KUINT32             uiHeight = 0;
    std::vector<KUINT8> auiRgba;  // rows without padding; every alpha is 255

    size_t GetPitchInBytes() const { return size_t{uiWidth} * 4; }
};

// Throws BoardError when the pixels cannot be read, or are more than 1 GiB. What is read while somebody draws may be torn:
// the upper rows of one picture and the lower rows of the next.
SPicture ReadPicture(const Screen& roScreen);

// Reads until nobody has drawn meanwhile, for a second at most. Returns what was read last.
SPicture ReadWholePicture(const Screen& roScreen);

// Whether the screen still shows just this picture; cheaper than to read it anew.
bool IsShowing(const Screen& roScreen, const SPicture& roPicture);
}

#endif
