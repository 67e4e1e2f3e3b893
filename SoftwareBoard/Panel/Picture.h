// What an output shows at this moment, as a picture. It is black where the buffer is smaller than the active size, and
// opaque whatever the alpha of the pixels is.
#ifndef PICTURE_H
#define PICTURE_H

#include <functional>
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

// Throws BoardError if the pixels cannot be read or exceed 1 GiB. If somebody draws meanwhile, the result may have the upper
// rows of one picture and the lower rows of the next.
SPicture ReadPicture(const Screen& roScreen);

// Calls fLook, which reads the screen, again until nobody has drawn meanwhile, for a second at most. Throws BoardError as
// ReadPicture does.
void LookUntilWhole(const Screen& roScreen, const std::function<void()>& fLook);

// The picture that LookUntilWhole finds.
SPicture ReadWholePicture(const Screen& roScreen);
}

#endif
