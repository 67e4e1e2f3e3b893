#include "Scaling.h"

#include <algorithm>

namespace SoftwareBoard::Viewer
{
SArea WholeOf(const Panel::SPicture& roPicture)
{
    return {0, 0, roPicture.uiWidth, roPicture.uiHeight};
}

Panel::SPicture MakeBlack(KUINT32 uiWidth, KUINT32 uiHeight)
{
    Panel::SPicture oPicture{uiWidth, uiHeight, {}};
    oPicture.auiRgba.resize(oPicture.GetPitchInBytes() * uiHeight);
    for (size_t uiAlpha = 3; uiAlpha < oPicture.auiRgba.size(); uiAlpha += 4)
        oPicture.auiRgba[uiAlpha] = 255;
    return oPicture;
}

RowScaler::RowScaler(KUINT32 uiFromWidth, KUINT32 uiFromHeight, Panel::SPicture& roTo, const SArea& oTo)
    : m_uiFromWidth(uiFromWidth), m_uiFromHeight(uiFromHeight), m_roTo(roTo), m_oTo(oTo), m_uiFromRow(GetFirstRow()),
      m_uiRow(oTo.uiTop), m_auiSums(size_t{StartOfColumn(oTo.uiRight) - StartOfColumn(oTo.uiLeft)} * 4)
{}

void RowScaler::AddRow(std::span<const KUINT32> oPixels)
{
    // Sums down first: that is a plain loop over all bytes of the row, which the compiler vectorizes.
    const size_t      uiLeft   = std::min<size_t>(StartOfColumn(m_oTo.uiLeft), oPixels.size());
    const auto* const puiBytes = reinterpret_cast<const KUINT8*>(oPixels.data() + uiLeft);
    const size_t      uiBytes  = std::min((oPixels.size() - uiLeft) * 4, m_auiSums.size());
    KUINT32* const    puiSums  = m_auiSums.data();
    for (size_t uiByte = 0; uiByte < uiBytes; ++uiByte)
        puiSums[uiByte] += puiBytes[uiByte];
    if (++m_uiFromRow == StartOfRow(m_uiRow + 1))
        EndRow();
}

void RowScaler::EndRow()
{
    const KUINT32  uiRows  = m_uiFromRow - StartOfRow(m_uiRow);
    const KUINT32* puiSums = m_auiSums.data();
    KUINT8*        puiTo   = m_roTo.auiRgba.data() + m_roTo.GetPitchInBytes() * m_uiRow + size_t{m_oTo.uiLeft} * 4;
    for (KUINT32 uiX = m_oTo.uiLeft; uiX < m_oTo.uiRight; ++uiX)
    {
        const KUINT32 uiColumns = StartOfColumn(uiX + 1) - StartOfColumn(uiX);
        const KUINT64 uiPixels  = KUINT64{uiRows} * uiColumns;
        KUINT64       uiRed = 0, uiGreen = 0, uiBlue = 0;
        for (KUINT32 uiColumn = 0; uiColumn < uiColumns; ++uiColumn, puiSums += 4)
        {
            uiRed += puiSums[0];
            uiGreen += puiSums[1];
            uiBlue += puiSums[2];
        }
        for (const KUINT64 uiSum : {uiRed, uiGreen, uiBlue})
            *puiTo++ = static_cast<KUINT8>((uiSum + uiPixels / 2) / uiPixels);
        *puiTo++ = 255;
    }
    std::fill(m_auiSums.begin(), m_auiSums.end(), 0);
    ++m_uiRow;
}

SArea ScaleDown(const Panel::SPicture& roFrom, const SArea& oChanged, Panel::SPicture& roTo)
{
    if (oChanged.IsEmpty())
        return {};
    // A pixel that a changed one lies in, or that begins right after it where the sizes do not divide.
    const auto fEnd = [](KUINT32 uiEnd, KUINT32 uiFrom, KUINT32 uiTo) {
        return std::min(static_cast<KUINT32>(KUINT64{uiEnd} * uiTo / uiFrom) + 1, uiTo);
    };
    const auto fStart = [](KUINT32 uiStart, KUINT32 uiFrom, KUINT32 uiTo) {
        return static_cast<KUINT32>(KUINT64{uiStart} * uiTo / uiFrom);
    };
    const SArea oTo = {
        fStart(oChanged.uiLeft, roFrom.uiWidth, roTo.uiWidth), fStart(oChanged.uiTop, roFrom.uiHeight, roTo.uiHeight),
        fEnd(oChanged.uiRight, roFrom.uiWidth, roTo.uiWidth), fEnd(oChanged.uiBottom, roFrom.uiHeight, roTo.uiHeight)};
    RowScaler oScaler(roFrom.uiWidth, roFrom.uiHeight, roTo, oTo);
    for (size_t uiRow = oScaler.GetFirstRow(); uiRow < oScaler.GetEndRow(); ++uiRow)
        oScaler.AddRow(
            {reinterpret_cast<const KUINT32*>(roFrom.auiRgba.data() + uiRow * roFrom.GetPitchInBytes()), roFrom.uiWidth});
    return oTo;
}
}
