// What an output shows at this moment, as a screen would: the part of the buffer that its timing's active size covers, black
// where the buffer is smaller, opaque whatever the alpha of the pixels says.
#ifndef SCREEN_H
#define SCREEN_H

#include <optional>
#include <vector>

#include "Board.h"

namespace Panel
{
struct SPicture
{
    KUINT32             uiWidth  = 0;
    KUINT32             uiHeight = 0;
    std::vector<KUINT8> auiRgb;  // three bytes a pixel, rows without padding
};

// Nothing when the output is off.
std::optional<SPicture> ReadScreen(const SoftwareBoard::Board& roBoard, KUINT32 uiDevice, KUINT32 uiOutput);
}

#endif
