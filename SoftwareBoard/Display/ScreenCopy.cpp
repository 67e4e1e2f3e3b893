#include "ScreenCopy.h"

#include <algorithm>
#include <cstring>

#include "BoardError.h"

namespace SoftwareBoard::Display
{
namespace
{
// Returns whether they differed. Without a branch, so that the compiler uses vectors.
bool Replace(KUINT32* __restrict puiOld, const KUINT32* __restrict puiNew, size_t uiPixels)
{
    KUINT32 uiDifference = 0;
    for (size_t uiX = 0; uiX < uiPixels; ++uiX)
    {
        const KUINT32 uiNew = puiNew[uiX];
        uiDifference |= puiOld[uiX] ^ uiNew;
        puiOld[uiX] = uiNew;
    }
    return uiDifference != 0;
}

bool IsSame(const KUINT32* puiOne, const KUINT32* puiOther, size_t uiPixels)
{
    return std::memcmp(puiOne, puiOther, uiPixels * sizeof(KUINT32)) == 0;
}
}

ScreenCopy::ScreenCopy(Screen oScreen)
    : m_oScreen(std::move(oScreen)), m_oMapping(m_oScreen), m_uiWidth(m_oScreen.GetWidth()),
      m_uiHeight(m_oScreen.GetHeight()), m_uiTilesInBand((m_uiWidth + TILE_PIXELS - 1) / TILE_PIXELS),
      m_auiPixels(m_uiWidth * m_uiHeight), m_aoTiles((m_uiHeight + BAND_ROWS - 1) / BAND_ROWS * m_uiTilesInBand),
      m_auiBandChanged((m_uiHeight + BAND_ROWS - 1) / BAND_ROWS, m_uiTime)
{
    m_oMapping.Read([this](const KUINT32* puiShown, size_t uiPitch) {
        for (size_t uiRow = 0; uiRow < m_uiHeight; ++uiRow)
            std::copy_n(puiShown + uiRow * uiPitch, m_uiWidth, m_auiPixels.data() + uiRow * m_uiWidth);
    });
}

void ScreenCopy::Update()
{
    ++m_uiLook;
    m_bBeganNow = false;
    m_oMapping.Read([this](const KUINT32* puiShown, size_t uiPitch) { LookAtAll(puiShown, uiPitch); });
}

void ScreenCopy::LookAtAll(const KUINT32* puiShown, size_t uiPitch)
{
    for (size_t uiBand = 0; uiBand < m_auiBandChanged.size(); ++uiBand)
    {
        const size_t         uiTop   = uiBand * BAND_ROWS;
        const size_t         uiRow   = uiTop + m_uiLook / BANDS_STEP % std::min(BAND_ROWS, m_uiHeight - uiTop);
        const KUINT32* const puiNew  = puiShown + uiRow * uiPitch;
        const KUINT32* const puiOld  = m_auiPixels.data() + uiRow * m_uiWidth;
        const bool           bDiffer = uiBand % BANDS_STEP == m_uiLook % BANDS_STEP && !IsSame(puiOld, puiNew, m_uiWidth);
        if (!bDiffer && !m_bBeganNow && !IsLately(m_auiBandChanged[uiBand]))
            continue;
        for (size_t uiX = 0, uiTile = uiBand * m_uiTilesInBand; uiX < m_uiWidth; uiX += TILE_PIXELS, ++uiTile)
        {
            if (IsLately(m_aoTiles[uiTile].uiChanged) || BeginsNow(uiTile - 1) || BeginsNow(uiTile - m_uiTilesInBand) ||
                (bDiffer && !IsSame(puiOld + uiX, puiNew + uiX, GetTilePixels(uiX))))
                LookAtTile(uiTile, puiShown, uiPitch);
        }
    }
    // What begins to change is one shape, as a rule: its tiles to the left and above are found from behind.
    for (size_t uiTile = m_bBeganNow ? m_aoTiles.size() : 0; uiTile-- > 0;)
    {
        if (!IsLately(m_aoTiles[uiTile].uiChanged) && (BeginsNow(uiTile + 1) || BeginsNow(uiTile + m_uiTilesInBand)))
            LookAtTile(uiTile, puiShown, uiPitch);
    }
}

// Returns whether the tile differed from the copy.
bool ScreenCopy::ReplaceTile(size_t uiTile, const KUINT32* puiShown, size_t uiPitch)
{
    const size_t uiX      = uiTile % m_uiTilesInBand * TILE_PIXELS;
    const size_t uiTop    = uiTile / m_uiTilesInBand * BAND_ROWS;
    bool         bChanged = false;
    for (size_t uiRow = uiTop; uiRow < std::min(uiTop + BAND_ROWS, m_uiHeight); ++uiRow)
        bChanged |=
            Replace(m_auiPixels.data() + uiRow * m_uiWidth + uiX, puiShown + uiRow * uiPitch + uiX, GetTilePixels(uiX));
    return bChanged;
}

void ScreenCopy::LookAtTile(size_t uiTile, const KUINT32* puiShown, size_t uiPitch)
{
    STile&     roTile = m_aoTiles[uiTile];
    const bool bBusy  = roTile.IsBusy();
    if (!bBusy || (uiTile + m_uiLook) % BUSY_LOOKS == 0)
    {
        roTile.uiChangesInARow = ReplaceTile(uiTile, puiShown, uiPitch) ? roTile.uiChangesInARow + 1 : 0;
        // A tile that stops being busy counts as changed once more: a buffer may hold older pixels than the copy.
        if (roTile.uiChangesInARow == 0 && !bBusy)
            return;
    }
    if (!IsLately(roTile.uiChanged))
    {
        roTile.uiBegan = m_uiLook;
        m_bBeganNow    = true;
    }
    roTile.uiChanged = m_auiBandChanged[uiTile / m_uiTilesInBand] = m_uiTime = m_uiLook;
}

void ScreenCopy::CopyChanges(KUINT64 uiTime, const SScanFormat& roFormat, KUINT8* puiTo, size_t uiPitchInBytes) const
try
{
    m_oMapping.Read([&](const KUINT32* puiShown, size_t uiPitch) {
        CopyTiles(uiTime, roFormat, puiTo, uiPitchInBytes, puiShown, uiPitch);
    });
}
catch (const BoardError&)
{
    CopyTiles(uiTime, roFormat, puiTo, uiPitchInBytes, m_auiPixels.data(), m_uiWidth);
}

// Busy tiles are copied from puiBusy.
void ScreenCopy::CopyTiles(KUINT64 uiTime, const SScanFormat& roFormat, KUINT8* puiTo, size_t uiPitchInBytes,
                           const KUINT32* puiBusy, size_t uiBusyPitch) const
{
    const auto fIsNewer = [=](const STile& ro) { return ro.uiChanged > uiTime; };
    for (size_t uiTop = 0; uiTop < m_uiHeight; uiTop += BAND_ROWS)
    {
        if (m_auiBandChanged[uiTop / BAND_ROWS] <= uiTime)
            continue;
        const auto oBand = m_aoTiles.begin() + static_cast<std::ptrdiff_t>(uiTop / BAND_ROWS * m_uiTilesInBand);
        const auto oEnd  = oBand + static_cast<std::ptrdiff_t>(m_uiTilesInBand);
        for (auto oFirst = std::find_if(oBand, oEnd, fIsNewer); oFirst != oEnd;)
        {
            const bool bBusy = oFirst->IsBusy();
            const auto oLast =
                std::find_if_not(oFirst, oEnd, [&](const STile& ro) { return fIsNewer(ro) && ro.IsBusy() == bBusy; });
            const KUINT32* const puiFrom  = bBusy ? puiBusy : m_auiPixels.data();
            const size_t         uiPitch  = bBusy ? uiBusyPitch : m_uiWidth;
            const size_t         uiX      = static_cast<size_t>(oFirst - oBand) * TILE_PIXELS;
            const size_t         uiPixels = std::min(static_cast<size_t>(oLast - oBand) * TILE_PIXELS, m_uiWidth) - uiX;
            for (size_t uiRow = uiTop; uiRow < std::min(uiTop + BAND_ROWS, m_uiHeight); ++uiRow)
                CopyRow(roFormat, puiFrom + uiRow * uiPitch + uiX,
                        reinterpret_cast<KUINT32*>(puiTo + uiRow * uiPitchInBytes) + uiX, uiPixels);
            oFirst = std::find_if(oLast, oEnd, fIsNewer);
        }
    }
}
}
