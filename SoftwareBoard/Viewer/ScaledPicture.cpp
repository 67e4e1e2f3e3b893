#include "ScaledPicture.h"

#include <algorithm>

namespace SoftwareBoard::Viewer
{
ScaledPicture::ScaledPicture(KUINT32 uiFromWidth, KUINT32 uiFromHeight, KUINT32 uiWidth, KUINT32 uiHeight)
    : m_uiFromWidth(uiFromWidth), m_uiFromHeight(uiFromHeight),
      m_auiSums(size_t{uiFromWidth} * 4), m_oPicture{uiWidth, uiHeight, {}}
{
    m_oPicture.auiRgba.resize(m_oPicture.GetPitchInBytes() * uiHeight);
}

void ScaledPicture::AddRow(std::span<const KUINT32> oPixels)
{
    // Sums down first: that is a plain loop over all bytes of the row, which the compiler vectorizes.
    const auto* const puiBytes = reinterpret_cast<const KUINT8*>(oPixels.data());
    const size_t      uiBytes  = std::min<size_t>(oPixels.size_bytes(), m_auiSums.size());
    KUINT32* const    puiSums  = m_auiSums.data();
    for (size_t uiByte = 0; uiByte < uiBytes; ++uiByte)
        puiSums[uiByte] += puiBytes[uiByte];
    if (++m_uiRows == StartOf(m_uiDone + 1, m_oPicture.uiHeight, m_uiFromHeight))
        EndRow();
}

void ScaledPicture::EndRow()
{
    const KUINT32  uiRows  = m_uiRows - StartOf(m_uiDone, m_oPicture.uiHeight, m_uiFromHeight);
    const KUINT32* puiSums = m_auiSums.data();
    KUINT8*        puiTo   = m_oPicture.auiRgba.data() + m_oPicture.GetPitchInBytes() * m_uiDone;
    for (KUINT32 uiX = 0; uiX < m_oPicture.uiWidth; ++uiX)
    {
        const KUINT32 uiColumns =
            StartOf(uiX + 1, m_oPicture.uiWidth, m_uiFromWidth) - StartOf(uiX, m_oPicture.uiWidth, m_uiFromWidth);
        const KUINT64 uiPixels = KUINT64{uiRows} * uiColumns;
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
    ++m_uiDone;
}

Panel::SPicture ScaledPicture::Take()
{
    while (m_uiRows < m_uiFromHeight)
        AddRow({});
    return std::move(m_oPicture);
}
}
