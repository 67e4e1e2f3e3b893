#include "WatchedPicture.h"

#include <algorithm>
#include <utility>

namespace SoftwareBoard::Viewer
{
namespace
{
constexpr size_t  ROWS_APART = 8;   // of those that a look compares where nothing has changed
constexpr KUINT8  LOOKS      = 50;  // that compare a row again after it changed
constexpr KUINT32 OPAQUE     = 0xFF000000;

// The columns of a change are found in steps of this many.
constexpr size_t PIXELS_AT_ONCE = 32;

// Whether the picture, which is opaque, has these pixels of the screen. Without a branch, so that the compiler uses vectors.
bool IsSame(const KUINT32* puiOurs, const KUINT32* puiShown, size_t uiPixels)
{
    KUINT32 uiDifference = 0;
    for (size_t ui = 0; ui < uiPixels; ++ui)
        uiDifference |= puiOurs[ui] ^ (puiShown[ui] | OPAQUE);
    return uiDifference == 0;
}
}

WatchedPicture::WatchedPicture(Screen oScreen)
    : m_oScreen(std::move(oScreen)), m_oMapping(m_oScreen),
      m_oDrawing(m_oScreen.GetPixels().Get(), m_oScreen.GetOutput().iHolderPid), m_auiLooksLeft(m_oScreen.GetHeight())
{
    m_oPicture = Panel::ReadPicture(m_oScreen);
}

bool WatchedPicture::IsOf(const Screen& roScreen) const
{
    return m_oScreen == roScreen && m_oPicture.uiWidth == roScreen.GetOutput().oVidParam.uiHActive &&
           m_oPicture.uiHeight == roScreen.GetOutput().oVidParam.uiVActive &&
           m_oScreen.GetOutput().iHolderPid == roScreen.GetOutput().iHolderPid;
}

void WatchedPicture::Look()
{
    if (!m_oDrawing.MayHaveDrawn())
        return;
    const bool        bLast = m_oDrawing.IsGone();  // so nothing may be left out
    std::vector<ERow> aeRows(m_auiLooksLeft.size());
    ++m_uiLooks;
    for (size_t uiRow = 0; uiRow < aeRows.size(); ++uiRow)
        aeRows[uiRow] =
            bLast || m_auiLooksLeft[uiRow] > 0 || (uiRow + m_uiLooks) % ROWS_APART == 0 ? ERow::PENDING : ERow::SKIPPED;

    SArea oChanged = {m_oScreen.GetWidth(), m_oScreen.GetHeight(), 0, 0};
    std::swap(m_oChanged, oChanged);
    m_oMapping.Read([&](const KUINT32* puiShown, size_t uiPitch) { LookAtRows(aeRows, puiShown, uiPitch); });
    if (m_oChanged.IsEmpty())
        m_oChanged = oChanged;
    else
        ++m_uiVersion;
}

void WatchedPicture::LookAtRows(std::vector<ERow>& roRows, const KUINT32* puiShown, size_t uiPitch)
{
    for (size_t uiRow = 0; uiRow < roRows.size();)
    {
        const size_t uiHere = uiRow++;
        if (roRows[uiHere] != ERow::PENDING)
            continue;
        roRows[uiHere] = ERow::COMPARED;
        if (!TakeRow(uiHere, puiShown + uiHere * uiPitch))
            continue;
        // The rows around it have probably changed as well.
        for (size_t uiNear = uiHere - std::min(uiHere, ROWS_APART - 1);
             uiNear < std::min(uiHere + ROWS_APART, roRows.size()); ++uiNear)
        {
            if (roRows[uiNear] != ERow::SKIPPED)
                continue;
            roRows[uiNear] = ERow::PENDING;
            uiRow          = std::min(uiRow, uiNear);
        }
    }
}

// Returns whether the row has changed.
bool WatchedPicture::TakeRow(size_t uiRow, const KUINT32* puiShown)
{
    auto* const puiOurs = reinterpret_cast<KUINT32*>(m_oPicture.auiRgba.data() + uiRow * m_oPicture.GetPitchInBytes());
    KUINT8&     ruiLeft = m_auiLooksLeft[uiRow];
    size_t      uiLeft = 0, uiRight = m_oScreen.GetWidth();
    while (uiLeft < uiRight && IsSame(puiOurs + uiLeft, puiShown + uiLeft, std::min(PIXELS_AT_ONCE, uiRight - uiLeft)))
        uiLeft += std::min(PIXELS_AT_ONCE, uiRight - uiLeft);
    if (uiLeft == uiRight)
    {
        ruiLeft = ruiLeft > 0 ? static_cast<KUINT8>(ruiLeft - 1) : KUINT8{0};
        return false;
    }
    while (uiRight - uiLeft > PIXELS_AT_ONCE &&
           IsSame(puiOurs + uiRight - PIXELS_AT_ONCE, puiShown + uiRight - PIXELS_AT_ONCE, PIXELS_AT_ONCE))
        uiRight -= PIXELS_AT_ONCE;
    std::transform(puiShown + uiLeft, puiShown + uiRight, puiOurs + uiLeft, [](KUINT32 ui) { return ui | OPAQUE; });
    m_oChanged = {std::min(m_oChanged.uiLeft, static_cast<KUINT32>(uiLeft)),
                  std::min(m_oChanged.uiTop, static_cast<KUINT32>(uiRow)),
                  std::max(m_oChanged.uiRight, static_cast<KUINT32>(uiRight)),
                  std::max(m_oChanged.uiBottom, static_cast<KUINT32>(uiRow + 1))};
    ruiLeft    = LOOKS;
    return true;
}
}
