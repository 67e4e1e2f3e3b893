// Pixel colours and drawing surfaces over pixel memory that somebody else has mapped.
#ifndef QEL_SURFACE_H
#define QEL_SURFACE_H

#include <utility>

#include "QelTypes.h"

// A drawing surface: the geometry of a mapped picture, a current position and, through QelSurfaceTyped, the shapes that
// are drawn into it. The surface does not own the pixel memory. Create it after mapping and delete it before unmapping. All
// drawing goes to plane 0; without an address there it changes nothing. One thread at a time uses a surface.
class QelSurface
{
public:
    enum
    {
        MAX_NUMBER_OF_PLANES = 3
    };

    // The arrays hold uiNbPlanes entries each and are copied; a null one leaves zeros, planes beyond the third are left out.
    QelSurface(const KUINTPTR* pauiSurfaceData, const KUINT32* auiPitchPixels, const KUINT32* auiPitchInBytes,
               KUINT32 uiWitdh, KUINT32 uiHeight, KUINT32 uiNbPlanes);

    QelSurface(const QelSurface&)            = delete;
    QelSurface& operator=(const QelSurface&) = delete;

    // Set in columns by hand.
    // clang-format off

    // Components are in the range of the pixel format, which GetMax...() tells. Dot, lines and circles are clipped to the
    // surface. Rectangle and ReadColorToARGB are not: their coordinates must lie inside. Rectangle leaves out its right
    // column and bottom row.
    virtual ~QelSurface();
    virtual void    ReadColorToARGB(KUINT32 uiPosX, KUINT32 uiPosY, KUINT16& ruiAlpha, KUINT16& ruiRed,
                                    KUINT16& ruiGreen, KUINT16& ruiBlue) = 0;
    virtual void    SetFgColorFromARGB(KUINT16 uiAlpha, KUINT16 uiRed, KUINT16 uiGreen, KUINT16 uiBlue) = 0;
    virtual void    SetBgColourFromARGB(KUINT16 uiAlpha, KUINT16 uiRed, KUINT16 uiGreen, KUINT16 uiBlue) = 0;
    virtual void    Clr() = 0;                                                    // everything, to the background
    virtual void    Dot(KUINT32 uiXPos, KUINT32 uiYPos) = 0;                      // outside: nothing
    virtual void    LineTo(KUINT32 uiXEndPos, KUINT32 uiYEndPos) = 0;             // from the position, which moves there
    virtual void    Circle(KUINT32 uiXPos, KUINT32 uiYPos, KUINT32 uiDiameter) = 0;  // the centre becomes the position
    virtual void    FilledCircle(KUINT32 uiXPos, KUINT32 uiYPos, KUINT32 uiDiameter) = 0;
    virtual void    Rectangle(KINT32 iLeft, KINT32 iTop, KINT32 iRight, KINT32 iBottom) = 0;
    virtual KUINT16 GetMaxAlpha() = 0;
    virtual KUINT16 GetMaxRed() = 0;
    virtual KUINT16 GetMaxGreen() = 0;
    virtual KUINT16 GetMaxBlue() = 0;
    virtual KUINT16 GetMaxAlpha(KUINT16 uiAlphaValue) = 0;                        // the value, at most the maximum
    virtual KUINT16 GetMaxRed(KUINT16 uiRedValue) = 0;
    virtual KUINT16 GetMaxGreen(KUINT16 uiGreenValue) = 0;
    virtual KUINT16 GetMaxBlue(KUINT16 uiBlueValue) = 0;
    // clang-format on

    KUINT32  GetWidth() const { return m_uiWitdh; }
    KUINT32  GetHeight() const { return m_uiHeight; }
    KUINTPTR GetSurfaceData(KUINT uiPlaneIdx) { return std::as_const(*this).GetSurfaceData(uiPlaneIdx); }
    KUINTPTR GetSurfaceData(KUINT uiPlaneIdx) const;  // 0 if there is no such plane
    KUINT32  GetPitchPixels(KUINT uiPlaneIdx) const { return m_uiPitchPixels[uiPlaneIdx]; }
    void     SetPos(KUINT32 uiXPos, KUINT32 uiYPos) { m_uiCurrentXPos = uiXPos, m_uiCurrentYPos = uiYPos; }

protected:
    KUINT32 m_uiCurrentXPos;
    KUINT32 m_uiCurrentYPos;

public:
    KUINTPTR m_apuiSurfaceData[MAX_NUMBER_OF_PLANES];  // start of each plane's pixels
    KUINT32  m_uiPitchPixels[MAX_NUMBER_OF_PLANES];    // from one row to the next
    KUINT32  m_uiPitchInBytes[MAX_NUMBER_OF_PLANES];   // the same in bytes, for the owner; no drawing reads it
    KUINT32  m_uiWitdh;                                // pixels of a row, without padding
    KUINT32  m_uiHeight;                               // rows
    KUINT32  m_uiNbPlanes;                             // at most MAX_NUMBER_OF_PLANES
};

inline KUINTPTR QelSurface::GetSurfaceData(KUINT uiPlaneIdx) const
{
    return uiPlaneIdx < MAX_NUMBER_OF_PLANES && uiPlaneIdx < m_uiNbPlanes ? m_apuiSurfaceData[uiPlaneIdx] : 0;
}

#endif
