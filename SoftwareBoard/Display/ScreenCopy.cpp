#include "ScreenCopy.h"

#include <algorithm>
#include <cstring>

namespace SoftwareBoard::Display
{
ScreenCopy::ScreenCopy(Screen oScreen)
    : m_oScreen(std::move(oScreen)), m_uiWidth(m_oScreen.GetWidth()), m_auiPixels(m_uiWidth * m_oScreen.GetHeight()),
      m_auiChanged(m_oScreen.GetHeight())
{}

void ScreenCopy::Update()
{
    const KUINT64 uiNow       = m_uiTime + 1;
    const size_t  uiRowSize   = m_uiWidth * sizeof(KUINT32);
    bool          bAnyChanged = false;
    m_oScreen.ReadRows([&](size_t uiRow, const KUINT32* puiNew) {
        KUINT32* const puiOld = m_auiPixels.data() + uiRow * m_uiWidth;
        if (m_uiTime != 0 && std::memcmp(puiOld, puiNew, uiRowSize) == 0)
            return true;
        std::memcpy(puiOld, puiNew, uiRowSize);
        m_auiChanged[uiRow] = uiNow;
        return bAnyChanged  = true;
    });
    if (bAnyChanged)
        m_uiTime = uiNow;
}

void ScreenCopy::CopyChanges(KUINT64 uiTime, const SScanFormat& roFormat, KUINT8* puiTo, size_t uiPitchInBytes) const
{
    for (size_t uiRow = 0; uiRow < m_auiChanged.size(); ++uiRow)
    {
        if (m_auiChanged[uiRow] > uiTime)
            CopyRow(roFormat, m_auiPixels.data() + uiRow * m_uiWidth,
                    reinterpret_cast<KUINT32*>(puiTo + uiRow * uiPitchInBytes), m_uiWidth);
    }
}
}
