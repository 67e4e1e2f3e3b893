#include "QelSurface.h"

#include <algorithm>

#include "QelTools.h"

namespace
{
template <typename TEntry> void CopyPlaneEntries(TEntry* pDest, const TEntry* pSrc, KUINT32 uiNbPlanes)
{
    QelTools_memset(pDest, 0, QelSurface::MAX_NUMBER_OF_PLANES * sizeof(TEntry));
    if (pSrc != nullptr)
        std::copy_n(pSrc, uiNbPlanes, pDest);
}
}

QelSurface::QelSurface(const KUINTPTR* pauiSurfaceData, const KUINT32* auiPitchPixels, const KUINT32* auiPitchInBytes,
                       KUINT32 uiWitdh, KUINT32 uiHeight, KUINT32 uiNbPlanes)
    : m_uiCurrentXPos(0), m_uiCurrentYPos(0), m_uiWitdh(uiWitdh), m_uiHeight(uiHeight),
      m_uiNbPlanes(std::min<KUINT32>(uiNbPlanes, MAX_NUMBER_OF_PLANES))
{
    CopyPlaneEntries(m_apuiSurfaceData, pauiSurfaceData, m_uiNbPlanes);
    CopyPlaneEntries(m_uiPitchPixels, auiPitchPixels, m_uiNbPlanes);
    CopyPlaneEntries(m_uiPitchInBytes, auiPitchInBytes, m_uiNbPlanes);
}

QelSurface::~QelSurface() = default;
