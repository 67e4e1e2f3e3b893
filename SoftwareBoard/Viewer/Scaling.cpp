#include "Scaling.h"

#include <algorithm>

namespace SoftwareBoard::Viewer
{
namespace
{
constexpr KUINT32 MOST_SUMMED = 257;  // rows: 257 x 255 = 65535, and one row more would not fit into 16 bits
}

SArea WholeOf(const Panel::SPicture& roPicture)
{
    return {0, 0, roPicture.uiWidth, roPicture.uiHeight};
}

Panel::SPicture MakePlain(KUINT32 uiWidth, KUINT32 uiHeight, const std::array<KUINT8, 3>& roColour)
{
    Panel::SPicture oPicture{uiWidth, uiHeight, {}};
    oPicture.auiRgba.resize(oPicture.GetPitchInBytes() * uiHeight);
    std::fill_n(reinterpret_cast<KUINT32*>(oPicture.auiRgba.data()), size_t{uiWidth} * uiHeight,
                roColour[0] | KUINT32{roColour[1]} << 8 | KUINT32{roColour[2]} << 16 | 0xFF000000);
    return oPicture;
}

RowScaler::RowScaler(KUINT32 uiFromWidth, KUINT32 uiFromHeight, Panel::SPicture& roTo, const SArea& oTo)
    : m_uiFromWidth(uiFromWidth), m_uiFromHeight(uiFromHeight), m_roTo(roTo), m_oTo(oTo), m_uiFromRow(GetFirstRow()),
      m_uiRow(oTo.uiTop), m_uiEndOfRow(StartOfRow(oTo.uiTop + 1)),
      m_auiSums(size_t{StartOfColumn(oTo.uiRight) - StartOfColumn(oTo.uiLeft)} * 4),
      m_auiColourSums(size_t{oTo.uiRight - oTo.uiLeft} * 3)
{
    for (KUINT32 uiX = oTo.uiLeft; uiX < oTo.uiRight; ++uiX)
        m_auiColumns.push_back(StartOfColumn(uiX + 1) - StartOfColumn(uiX));
}

void RowScaler::AddRow(std::span<const KUINT32> oPixels)
{
    // Sums down first: that is a plain loop over all bytes of the row, which the compiler vectorizes.
    const size_t      uiLeft   = std::min<size_t>(StartOfColumn(m_oTo.uiLeft), oPixels.size());
    const auto* const puiBytes = reinterpret_cast<const KUINT8*>(oPixels.data() + uiLeft);
    const size_t      uiBytes  = std::min((oPixels.size() - uiLeft) * 4, m_auiSums.size());
    KUINT16* const    puiSums  = m_auiSums.data();
    for (size_t uiByte = 0; uiByte < uiBytes; ++uiByte)
        puiSums[uiByte] = static_cast<KUINT16>(puiSums[uiByte] + puiBytes[uiByte]);
    if (++m_uiSummed == MOST_SUMMED)
        SumColumns();
    if (++m_uiFromRow == m_uiEndOfRow)
        EndRow();
}

void RowScaler::SumColumns()
{
    const KUINT16* puiSums   = m_auiSums.data();
    KUINT64*       puiColour = m_auiColourSums.data();
    for (const KUINT32 uiColumns : m_auiColumns)
    {
        KUINT64 uiRed = 0, uiGreen = 0, uiBlue = 0;
        for (KUINT32 uiColumn = 0; uiColumn < uiColumns; ++uiColumn, puiSums += 4)
        {
            uiRed += puiSums[0];
            uiGreen += puiSums[1];
            uiBlue += puiSums[2];
        }
        for (const KUINT64 uiSum : {uiRed, uiGreen, uiBlue})
            *puiColour++ += uiSum;
    }
    std::fill(m_auiSums.begin(), m_auiSums.end(), KUINT16{0});
    m_uiSummed = 0;
}

void RowScaler::EndRow()
{
    SumColumns();
    const KUINT32 uiRows    = m_uiEndOfRow - StartOfRow(m_uiRow);
    KUINT64*      puiColour = m_auiColourSums.data();
    KUINT8*       puiTo     = m_roTo.auiRgba.data() + m_roTo.GetPitchInBytes() * m_uiRow + size_t{m_oTo.uiLeft} * 4;
    for (const KUINT32 uiColumns : m_auiColumns)
    {
        const KUINT64 uiPixels = KUINT64{uiRows} * uiColumns;
        for (int iColour = 0; iColour < 3; ++iColour)
            *puiTo++ = static_cast<KUINT8>((*puiColour++ + uiPixels / 2) / uiPixels);
        *puiTo++ = 255;
    }
    std::fill(m_auiColourSums.begin(), m_auiColourSums.end(), 0);
    m_uiEndOfRow = StartOfRow(++m_uiRow + 1);
}

SArea ScaleArea(const SArea& oFrom, KUINT32 uiFromWidth, KUINT32 uiFromHeight, KUINT32 uiToWidth, KUINT32 uiToHeight)
{
    // A pixel that one of the area lies in, or that begins right after it where the sizes do not divide.
    const auto fEnd = [](KUINT32 uiEnd, KUINT32 uiOf, KUINT32 uiTo) {
        return std::min(static_cast<KUINT32>(KUINT64{uiEnd} * uiTo / uiOf) + 1, uiTo);
    };
    const auto fStart = [](KUINT32 uiStart, KUINT32 uiOf, KUINT32 uiTo) {
        return static_cast<KUINT32>(KUINT64{uiStart} * uiTo / uiOf);
    };
    return {fStart(oFrom.uiLeft, uiFromWidth, uiToWidth), fStart(oFrom.uiTop, uiFromHeight, uiToHeight),
            fEnd(oFrom.uiRight, uiFromWidth, uiToWidth), fEnd(oFrom.uiBottom, uiFromHeight, uiToHeight)};
}

SArea ScaleDown(const Panel::SPicture& roFrom, const SArea& oChanged, Panel::SPicture& roTo)
{
    if (oChanged.IsEmpty())
        return {};
    const SArea oTo = ScaleArea(oChanged, roFrom.uiWidth, roFrom.uiHeight, roTo.uiWidth, roTo.uiHeight);
    RowScaler   oScaler(roFrom.uiWidth, roFrom.uiHeight, roTo, oTo);
    for (size_t uiRow = oScaler.GetFirstRow(); uiRow < oScaler.GetEndRow(); ++uiRow)
        oScaler.AddRow(
            {reinterpret_cast<const KUINT32*>(roFrom.auiRgba.data() + uiRow * roFrom.GetPitchInBytes()), roFrom.uiWidth});
    return oTo;
}
}
