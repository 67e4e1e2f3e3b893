#include "WatchedPicture.h"

#include <algorithm>
#include <cstring>

#include "BoardError.h"

namespace SoftwareBoard::Viewer
{
namespace
{
constexpr size_t  ROWS_APART    = 8;   // of those that a look reads where nothing has changed
constexpr KUINT8  LOOKS         = 50;  // that read a row again after it changed
constexpr size_t  BYTES_AT_ONCE = size_t{256} << 10;
constexpr KUINT32 OPAQUE        = 0xFF000000;

// The columns of a change are found in steps of this many.
constexpr size_t PIXELS_AT_ONCE = 32;
}

WatchedPicture::WatchedPicture(Screen oScreen)
    : m_oScreen(std::move(oScreen)),
      m_uiPitch(LayOutPlane(TPixelFormat_R8G8B8A8, m_oScreen.GetOutput().uiBufferWidth, m_oScreen.GetOutput().uiBufferHeight)
                    ->uiPitch),
      m_oDrawing(m_oScreen.GetPixels().Get(), m_oScreen.GetOutput().iHolderPid), m_auiLooksLeft(m_oScreen.GetHeight())
{
    m_oDrawing.MayHaveDrawn();  // before the picture is read: what is drawn from here on counts at the next look
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
    enum class ERow : KUINT8
    {
        SKIPPED,
        PENDING,
        READ
    };
    const size_t      uiHeight = m_auiLooksLeft.size(), uiAtOnce = std::max<size_t>(BYTES_AT_ONCE / (m_uiPitch * 4), 1);
    const bool        bLast = m_oDrawing.IsGone();  // so nothing may be left out
    std::vector<ERow> aeRows(uiHeight);
    ++m_uiLooks;
    for (size_t uiRow = 0; uiRow < uiHeight; ++uiRow)
        aeRows[uiRow] =
            bLast || m_auiLooksLeft[uiRow] > 0 || (uiRow + m_uiLooks) % ROWS_APART == 0 ? ERow::PENDING : ERow::SKIPPED;

    SArea oChanged = {m_oScreen.GetWidth(), m_oScreen.GetHeight(), 0, 0};
    std::swap(m_oChanged, oChanged);
    for (size_t uiRow = 0; uiRow < uiHeight;)
    {
        const auto iRow   = aeRows.begin() + static_cast<std::ptrdiff_t>(uiRow);
        const auto iEnd   = iRow + static_cast<std::ptrdiff_t>(std::min(uiAtOnce, uiHeight - uiRow));
        const auto uiRows = static_cast<size_t>(std::find_if(iRow, iEnd, [](ERow e) { return e != ERow::PENDING; }) - iRow);
        if (uiRows == 0)
        {
            ++uiRow;
            continue;
        }
        ReadRows(uiRow, uiRows);
        size_t uiNext = uiRow + uiRows;
        for (size_t ui = 0; ui < uiRows; ++ui)
        {
            const size_t uiHere = uiRow + ui;
            aeRows[uiHere]      = ERow::READ;
            if (!TakeRow(uiHere, m_auiRead.data() + ui * m_uiPitch))
                continue;
            // The rows around it have probably changed as well.
            for (size_t uiNear = uiHere - std::min(uiHere, ROWS_APART - 1); uiNear < std::min(uiHere + ROWS_APART, uiHeight);
                 ++uiNear)
            {
                if (aeRows[uiNear] != ERow::SKIPPED)
                    continue;
                aeRows[uiNear] = ERow::PENDING;
                uiNext         = std::min(uiNext, uiNear);
            }
        }
        uiRow = uiNext;
    }
    if (m_oChanged.IsEmpty())
        m_oChanged = oChanged;
    else
        ++m_uiVersion;
}

void WatchedPicture::ReadRows(size_t uiFirst, size_t uiRows)
{
    // Read, not mapped: if the file is cut meanwhile, a read fails, but a mapping would raise a signal.
    m_auiRead.resize(std::max(m_auiRead.size(), uiRows * m_uiPitch));
    const size_t uiInBytes = uiRows * m_uiPitch * 4;
    if (pread(m_oScreen.GetPixels().Get(), m_auiRead.data(), uiInBytes, static_cast<off_t>(uiFirst * m_uiPitch * 4)) !=
        static_cast<ssize_t>(uiInBytes))
        throw BoardError("the pixels that the output shows are cut short; enable it anew");
    for (size_t ui = 0; ui < uiRows * m_uiPitch; ++ui)
        m_auiRead[ui] |= OPAQUE;
}

// Returns whether the row has changed.
bool WatchedPicture::TakeRow(size_t uiRow, const KUINT32* puiPixels)
{
    auto* const puiOurs = reinterpret_cast<KUINT32*>(m_oPicture.auiRgba.data() + uiRow * m_oPicture.GetPitchInBytes());
    KUINT8&     ruiLeft = m_auiLooksLeft[uiRow];
    const auto  fIsSame = [&](size_t uiAt, size_t uiPixels) {
        return std::memcmp(puiOurs + uiAt, puiPixels + uiAt, uiPixels * sizeof(KUINT32)) == 0;
    };
    size_t uiLeft = 0, uiRight = m_oScreen.GetWidth();
    while (uiLeft < uiRight && fIsSame(uiLeft, std::min(PIXELS_AT_ONCE, uiRight - uiLeft)))
        uiLeft += std::min(PIXELS_AT_ONCE, uiRight - uiLeft);
    if (uiLeft == uiRight)
    {
        ruiLeft = ruiLeft > 0 ? static_cast<KUINT8>(ruiLeft - 1) : KUINT8{0};
        return false;
    }
    while (uiRight - uiLeft > PIXELS_AT_ONCE && fIsSame(uiRight - PIXELS_AT_ONCE, PIXELS_AT_ONCE))
        uiRight -= PIXELS_AT_ONCE;
    std::copy(puiPixels + uiLeft, puiPixels + uiRight, puiOurs + uiLeft);
    m_oChanged = {std::min(m_oChanged.uiLeft, static_cast<KUINT32>(uiLeft)),
                  std::min(m_oChanged.uiTop, static_cast<KUINT32>(uiRow)),
                  std::max(m_oChanged.uiRight, static_cast<KUINT32>(uiRight)),
                  std::max(m_oChanged.uiBottom, static_cast<KUINT32>(uiRow + 1))};
    ruiLeft    = LOOKS;
    return true;
}
}
