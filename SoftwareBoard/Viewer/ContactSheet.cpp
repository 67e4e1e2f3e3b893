#include "ContactSheet.h"

#include <algorithm>

#include "Scaling.h"
#include "Text.h"

namespace SoftwareBoard::Viewer
{
namespace
{
// All in pixels.
constexpr int SCREEN_WIDTH = 1920, SCREEN_HEIGHT = 1080;
constexpr int GAP            = 16;
constexpr int LABEL_ROW      = 28;
constexpr int MIN_TILE_WIDTH = 56;  // room for a percentage
constexpr int MIN_PICTURE    = 32;  // the height that a picture may have, however many there are

constexpr STextColours COLOURS = {.auiInk = {226, 230, 236}, .auiPaper = {44, 48, 56}};
}

Panel::SPicture ContactSheet::MakeTile(KUINT32 uiWidth, KUINT32 uiHeight)
{
    if (m_aoTiles.empty())
        m_oTiling = ChooseTiling({.iTiles            = static_cast<int>(m_uiPictures),
                                  .iWidth            = SCREEN_WIDTH - 2 * GAP,
                                  .iHeight           = SCREEN_HEIGHT - 2 * GAP,
                                  .iGapAcross        = GAP,
                                  .iGapDown          = GAP,
                                  .fPictureWidth     = double{1} * uiWidth,
                                  .fPictureHeight    = double{1} * uiHeight,
                                  .fMaxScale         = 1,
                                  .iMinTileWidth     = MIN_TILE_WIDTH,
                                  .fGetCaptionHeight = [](int, int) { return LABEL_ROW; }});
    const int iHeight                        = std::max(m_oTiling.iTileHeight - LABEL_ROW, MIN_PICTURE);
    const auto [iFittedWidth, iFittedHeight] = FitPicture(uiWidth, uiHeight, m_oTiling.iTileWidth, iHeight);
    return MakePlain(std::min(uiWidth, static_cast<KUINT32>(iFittedWidth)),
                     std::min(uiHeight, static_cast<KUINT32>(iFittedHeight)));
}

Panel::SPicture ContactSheet::Draw() const
{
    constexpr KUINT32 uiGap    = GAP;
    KUINT32           uiColumn = uiGap + MIN_TILE_WIDTH, uiRow = 0;  // the sides of the largest tile, with the gap
    for (const STile& roTile : m_aoTiles)
    {
        uiColumn = std::max(uiColumn, uiGap + roTile.oPicture.uiWidth);
        uiRow    = std::max(uiRow, uiGap + roTile.oPicture.uiHeight + LABEL_ROW);
    }
    const auto      uiAcross = static_cast<KUINT32>(m_oTiling.iAcross);
    const auto      uiDown   = (static_cast<KUINT32>(m_aoTiles.size()) + uiAcross - 1) / uiAcross;
    Panel::SPicture oSheet   = MakePlain(uiGap + uiAcross * uiColumn, uiGap + uiDown * uiRow, COLOURS.auiPaper);
    const auto      fPaste   = [&](const Panel::SPicture& roPicture, size_t uiX, size_t uiY) {
        for (size_t uiLine = 0; uiLine < roPicture.uiHeight; ++uiLine)
            std::copy_n(roPicture.auiRgba.data() + uiLine * roPicture.GetPitchInBytes(), roPicture.GetPitchInBytes(),
                               oSheet.auiRgba.data() + (uiY + uiLine) * oSheet.GetPitchInBytes() + uiX * 4);
    };

    for (size_t uiTile = 0; uiTile < m_aoTiles.size(); ++uiTile)
    {
        const auto& [oPicture, strLabel] = m_aoTiles[uiTile];
        const KUINT32 uiRoom             = uiColumn - uiGap;
        const size_t  uiX                = uiGap + uiTile % uiAcross * uiColumn;
        const size_t  uiY                = uiGap + uiTile / uiAcross * uiRow;
        const auto    strCut             = CutText(strLabel, FitsPixels(static_cast<int>(uiRoom)));
        fPaste(oPicture, uiX + (uiRoom - oPicture.uiWidth) / 2, uiY);
        fPaste(DrawText(strCut, uiRoom, LABEL_ROW, COLOURS, true), uiX, uiY + oPicture.uiHeight);
    }
    return oSheet;
}
}
