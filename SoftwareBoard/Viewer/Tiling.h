// How tiles stand in a room, so that the pictures on them become as large as possible. A tile is a picture with its caption
// under it; all tiles have the same size. Lengths are in pixels, or in columns and rows of a terminal.
#ifndef TILING_H
#define TILING_H

#include <functional>
#include <limits>
#include <utility>

#include "QelTypes.h"

namespace SoftwareBoard::Viewer
{
struct STilingTask
{
    int    iTiles;
    int    iWidth, iHeight;  // of the room
    int    iGapAcross;
    int    iGapDown = 0;
    double fPictureWidth, fPictureHeight;
    double fMaxScale     = std::numeric_limits<double>::infinity();  // of a picture
    int    iMinTileWidth = 1;

    std::function<int(int iTileWidth, int iTileHeight)> fGetCaptionHeight;
};

struct STiling
{
    int iAcross;
    int iTileWidth, iTileHeight;
    int iCaptionHeight;  // part of the tile's height
};

// Chooses how many tiles stand side by side. Of tilings that show the pictures equally large, it takes the one that fills
// the room's shape best. If the room is too small for all tiles, the lower ones lie outside it.
STiling ChooseTiling(const STilingTask& roTask);

// The width and height of a picture that is scaled to fit; at least 1.
std::pair<int, int> FitPicture(KUINT32 uiWidth, KUINT32 uiHeight, int iRoomWidth, int iRoomHeight);
}

#endif
