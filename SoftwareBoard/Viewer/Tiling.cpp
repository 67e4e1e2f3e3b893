#include "Tiling.h"

#include <algorithm>

namespace SoftwareBoard::Viewer
{
STiling ChooseTiling(const STilingTask& ro)
{
    constexpr double          fWorst = -std::numeric_limits<double>::infinity();
    std::pair<double, double> oMost{fWorst, fWorst};  // the scale of the pictures, and how much the whole could still grow
    STiling                   oChosen = {};
    for (int iAcross = 1; iAcross <= std::max(ro.iTiles, 1); ++iAcross)
    {
        const int iDown   = (ro.iTiles + iAcross - 1) / iAcross;
        const int iGapsX  = (iAcross - 1) * ro.iGapAcross;
        const int iGapsY  = (iDown - 1) * ro.iGapDown;
        STiling   oTiling = {iAcross, (ro.iWidth - iGapsX) / iAcross, (ro.iHeight - iGapsY) / std::max(iDown, 1), {}};
        if (iAcross > 1 && oTiling.iTileWidth < ro.iMinTileWidth)
            break;
        oTiling.iTileWidth     = std::max(oTiling.iTileWidth, 1);
        oTiling.iTileHeight    = std::max(oTiling.iTileHeight, 1);
        oTiling.iCaptionHeight = ro.fGetCaptionHeight(oTiling.iTileWidth, oTiling.iTileHeight);

        // Without room for a picture the scale is 0 or less, and the largest one still the best.
        const double    fScale = std::min({oTiling.iTileWidth / ro.fPictureWidth,
                                           (oTiling.iTileHeight - oTiling.iCaptionHeight) / ro.fPictureHeight, ro.fMaxScale});
        const double    fUsedX = iGapsX + iAcross * std::max(fScale * ro.fPictureWidth, double{1} * ro.iMinTileWidth);
        const double    fUsedY = iGapsY + iDown * (fScale * ro.fPictureHeight + oTiling.iCaptionHeight);
        const std::pair oReached(fScale, std::min(ro.iWidth / fUsedX, ro.iHeight / fUsedY));
        if (oReached > oMost)
        {
            oMost   = oReached;
            oChosen = oTiling;
        }
    }
    return oChosen;
}

std::pair<int, int> FitPicture(KUINT32 uiWidth, KUINT32 uiHeight, int iRoomWidth, int iRoomHeight)
{
    const KUINT64 uiRoomWidth  = static_cast<KUINT64>(std::max(iRoomWidth, 1)),
                  uiRoomHeight = static_cast<KUINT64>(std::max(iRoomHeight, 1));
    const auto fSide           = [](KUINT64 ui) { return std::max(static_cast<int>(ui), 1); };
    if (uiWidth * uiRoomHeight > uiHeight * uiRoomWidth)
        return {fSide(uiRoomWidth), fSide(uiHeight * uiRoomWidth / std::max(uiWidth, 1u))};
    return {fSide(uiWidth * uiRoomHeight / std::max(uiHeight, 1u)), fSide(uiRoomHeight)};
}
}
