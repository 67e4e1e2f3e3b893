#include "ContactSheet.h"

#include <algorithm>
#include <cmath>

#include "Text.h"

namespace SoftwareBoard::Viewer
{
namespace
{
constexpr KUINT32 MAX_WIDTH = 1920;
constexpr KUINT32 GAP       = 16;
constexpr KUINT32 LABEL_ROW = 28;

constexpr STextColours COLOURS = {.auiInk = {226, 230, 236}, .auiPaper = {44, 48, 56}};

// Each pixel is the mean of the pixels that it replaces.
Panel::SPicture ScaleDown(const Panel::SPicture& roFrom, KUINT32 uiWidth, KUINT32 uiHeight)
{
    Panel::SPicture oTo{uiWidth, uiHeight, {}};
    const auto      fStart = [](KUINT32 uiAt, KUINT32 uiTo, KUINT32 uiFrom) {
        return static_cast<KUINT32>(KUINT64{uiAt} * uiFrom / uiTo);
    };
    oTo.auiRgba.reserve(oTo.GetPitchInBytes() * uiHeight);
    for (KUINT32 uiY = 0; uiY < uiHeight; ++uiY)
    {
        const KUINT32 uiTop    = fStart(uiY, uiHeight, roFrom.uiHeight);
        const KUINT32 uiBottom = std::max(fStart(uiY + 1, uiHeight, roFrom.uiHeight), uiTop + 1);
        for (KUINT32 uiX = 0; uiX < uiWidth; ++uiX)
        {
            const KUINT32 uiLeft     = fStart(uiX, uiWidth, roFrom.uiWidth);
            const KUINT32 uiRight    = std::max(fStart(uiX + 1, uiWidth, roFrom.uiWidth), uiLeft + 1);
            KUINT64       auiSums[4] = {};
            for (KUINT32 uiRow = uiTop; uiRow < uiBottom; ++uiRow)
            {
                const KUINT8* const puiRow = roFrom.auiRgba.data() + uiRow * roFrom.GetPitchInBytes();
                for (size_t uiByte = size_t{uiLeft} * 4; uiByte < size_t{uiRight} * 4; ++uiByte)
                    auiSums[uiByte % 4] += puiRow[uiByte];
            }
            const KUINT64 uiCount = KUINT64{uiBottom - uiTop} * (uiRight - uiLeft);
            for (const KUINT64 uiSum : auiSums)
                oTo.auiRgba.push_back(static_cast<KUINT8>((uiSum + uiCount / 2) / uiCount));
        }
    }
    return oTo;
}

KUINT32 LabelWidth(const std::string& strLabel)
{
    return static_cast<KUINT32>(TextWidth(strLabel));
}
}

ContactSheet::ContactSheet(size_t uiPictures)
    : m_uiAcross(static_cast<size_t>(std::ceil(std::sqrt(static_cast<double>(uiPictures))))),
      m_uiRoom(static_cast<KUINT32>(std::max<size_t>((MAX_WIDTH - GAP) / m_uiAcross, GAP + 16) - GAP))
{}

void ContactSheet::Add(const Panel::SPicture& roPicture, const std::string& strLabel)
{
    const KUINT32 uiLonger = std::max(roPicture.uiWidth, roPicture.uiHeight);
    const auto    fScaled  = [&](KUINT32 uiSide) {
        return std::max(static_cast<KUINT32>(KUINT64{uiSide} * m_uiRoom / uiLonger), KUINT32{1});
    };
    m_aoTiles.push_back(
        {uiLonger <= m_uiRoom ? roPicture : ScaleDown(roPicture, fScaled(roPicture.uiWidth), fScaled(roPicture.uiHeight)),
         strLabel});
}

Panel::SPicture ContactSheet::Draw() const
{
    KUINT32 uiColumn = 1, uiRow = 1;  // the sides of the largest tile, with the gap
    for (const STile& roTile : m_aoTiles)
    {
        uiColumn = std::max(uiColumn, GAP + std::max(roTile.oPicture.uiWidth, LabelWidth(roTile.strLabel)));
        uiRow    = std::max(uiRow, GAP + roTile.oPicture.uiHeight + LABEL_ROW);
    }
    const auto      uiAcross = static_cast<KUINT32>(m_uiAcross);
    const auto      uiDown   = static_cast<KUINT32>((m_aoTiles.size() + m_uiAcross - 1) / m_uiAcross);
    Panel::SPicture oSheet{GAP + uiAcross * uiColumn, GAP + uiDown * uiRow, {}};
    const auto&     roPaper = COLOURS.auiPaper;
    for (size_t uiPixel = 0; uiPixel < size_t{oSheet.uiWidth} * oSheet.uiHeight; ++uiPixel)
        oSheet.auiRgba.insert(oSheet.auiRgba.end(), {roPaper[0], roPaper[1], roPaper[2], 255});
    const auto fPaste = [&](const Panel::SPicture& roPicture, size_t uiX, size_t uiY) {
        for (size_t uiLine = 0; uiLine < roPicture.uiHeight; ++uiLine)
            std::copy_n(roPicture.auiRgba.data() + uiLine * roPicture.GetPitchInBytes(), roPicture.GetPitchInBytes(),
                        oSheet.auiRgba.data() + (uiY + uiLine) * oSheet.GetPitchInBytes() + uiX * 4);
    };

    for (size_t uiTile = 0; uiTile < m_aoTiles.size(); ++uiTile)
    {
        const auto& [oPicture, strLabel] = m_aoTiles[uiTile];
        const KUINT32 uiRoom             = uiColumn - GAP;
        const size_t  uiX                = GAP + uiTile % m_uiAcross * uiColumn;
        const size_t  uiY                = GAP + uiTile / m_uiAcross * uiRow;
        fPaste(oPicture, uiX + (uiRoom - oPicture.uiWidth) / 2, uiY);
        fPaste(DrawText(strLabel, uiRoom, LABEL_ROW, COLOURS, true), uiX, uiY + oPicture.uiHeight);
    }
    return oSheet;
}
}
