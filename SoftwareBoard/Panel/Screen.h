// What an output shows at this moment, as a screen would: the part of the buffer that its timing's active size covers, black
// where the buffer is smaller, opaque whatever the alpha of the pixels says.
#ifndef SCREEN_H
#define SCREEN_H

#include <vector>

#include "Board.h"

namespace SoftwareBoard::Panel
{
struct SPicture
{
    KUINT32             uiWidth  = 0;
    KUINT32             uiHeight = 0;
    std::vector<KUINT8> auiRgba;  // rows without padding; every alpha is 255

    size_t GetPitchInBytes() const { return size_t{uiWidth} * 4; }
};

// The screen of an output that is on. It can be read after the transaction, and also when the board is gone meanwhile.
struct SScreen
{
    SOutputRecord  oOutput;
    FileDescriptor oPixels;
};

// The caller is in a transaction, and the output is on.
SScreen OpenScreen(const Board& roBoard, const SOutputRecord& roOutput);

// What is read while somebody draws may be torn: the upper rows of one picture and the lower rows of the next.
SPicture ReadScreen(const SScreen& roScreen);

// Reads until nobody has drawn meanwhile, for a second at most. Returns what was read last.
SPicture ReadWholeScreen(const SScreen& roScreen);

// Whether the screen still shows just this picture; cheaper than to take it anew.
bool IsShowing(const SScreen& roScreen, const SPicture& roPicture);
}

#endif
