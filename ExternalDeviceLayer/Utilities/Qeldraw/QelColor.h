// One pixel value in one of the device library's pixel formats.
#ifndef QEL_COLOR_H
#define QEL_COLOR_H

#include <algorithm>
#include <type_traits>

#include "QelPixelFormat.h"
#include "QelSurface.h"

// A pixel value of the format. T is its word, KUINT16 or KUINT32. Components range from 0 to GetMax...(); higher bits are
// dropped. For YUV formats, FromARGB and ToARGB convert from and to RGB in integer arithmetic.
template <TPixelFormat ePixelFormat, typename T> class QelColor
{
    static constexpr SPixelFormatFacts FACTS = FindPixelFormatFacts(ePixelFormat);
    static_assert(FACTS.uiSizeInBytes != 0, "no row in the table of pixel formats");
    static_assert(std::is_same_v<T, std::conditional_t<FACTS.uiSizeInBytes == 2, KUINT16, KUINT32>>);

public:
    constexpr QelColor() = default;
    constexpr QelColor(T uiColorValue) : m_uiColorValue(uiColorValue) {}
    constexpr QelColor(const QelColor&) = default;
    ~QelColor()                         = default;

    constexpr QelColor& operator=(const QelColor&) = default;
    constexpr QelColor& operator=(T uiColorValue) { return m_uiColorValue = uiColorValue, *this; }

    static constexpr QelColor FromARGB(KUINT16 uiAlpha, KUINT16 uiRed, KUINT16 uiGreen, KUINT16 uiBlue);
    static constexpr void ToARGB(QelColor& oColor, KUINT16& ruiAlpha, KUINT16& ruiRed, KUINT16& ruiGreen, KUINT16& ruiBlue);

    static constexpr KUINT16 GetMaxAlpha() { return static_cast<KUINT16>(FACTS.oAlpha.Max()); }
    static constexpr KUINT16 GetMaxRed() { return static_cast<KUINT16>(FACTS.aoColour[0].Max()); }
    static constexpr KUINT16 GetMaxGreen() { return static_cast<KUINT16>(FACTS.aoColour[1].Max()); }
    static constexpr KUINT16 GetMaxBlue() { return static_cast<KUINT16>(FACTS.aoColour[2].Max()); }

    // The word of pixel (x, y) in plane 0. The point must lie inside; a surface without an address is left alone.
    void Write(QelSurface& oSurface, KUINT32 x, KUINT32 y) const;
    void Read(const QelSurface& oSurface, KUINT32 x, KUINT32 y);

    constexpr TPixelFormat GetPixelFormat() const { return ePixelFormat; }
    constexpr KUINT32      GetPixelSize() const { return FACTS.uiSizeInBytes; }
    constexpr T            GetColorInteger() const { return m_uiColorValue; }

    T m_uiColorValue = 0;

private:
    static T* FindPixel(KUINTPTR uiSurfaceData, KUINT32 uiPitchPixels, KUINT32 x, KUINT32 y);
};

template <TPixelFormat ePixelFormat, typename T>
constexpr QelColor<ePixelFormat, T> QelColor<ePixelFormat, T>::FromARGB(KUINT16 uiAlpha, KUINT16 uiRed, KUINT16 uiGreen,
                                                                        KUINT16 uiBlue)
{
    KUINT32 auiColour[3] = {uiRed, uiGreen, uiBlue};
    if constexpr (FACTS.IsYuv())
    {
        constexpr SYuvFacts oYuv = FACTS.oYuv;

        const KINT32 iRed   = uiRed & GetMaxRed();
        const KINT32 iGreen = uiGreen & GetMaxGreen();
        const KINT32 iBlue  = uiBlue & GetMaxBlue();

        const auto Weigh = [=](const KINT32(&raiParts)[3], KINT32 iOffset) {
            const KINT32 iHalf = 1 << (oYuv.iFromRgbShift - 1);
            const KINT32 iSum  = raiParts[0] * iRed + raiParts[1] * iGreen + raiParts[2] * iBlue;
            return static_cast<KUINT32>(((iSum + iHalf) >> oYuv.iFromRgbShift) + iOffset);
        };
        auiColour[0] = Weigh(oYuv.aiY, oYuv.iLumaOffset);
        auiColour[1] = Weigh(oYuv.aiU, oYuv.iChromaOffset);
        auiColour[2] = Weigh(oYuv.aiV, oYuv.iChromaOffset);
    }
    return static_cast<T>(FACTS.oAlpha.Pack(uiAlpha) | FACTS.aoColour[0].Pack(auiColour[0]) |
                          FACTS.aoColour[1].Pack(auiColour[1]) | FACTS.aoColour[2].Pack(auiColour[2]));
}

template <TPixelFormat ePixelFormat, typename T>
constexpr void QelColor<ePixelFormat, T>::ToARGB(QelColor& oColor, KUINT16& ruiAlpha, KUINT16& ruiRed, KUINT16& ruiGreen,
                                                 KUINT16& ruiBlue)
{
    const KUINT32 uiWord = oColor.m_uiColorValue;

    KINT32 aiColour[3] = {};
    for (KUINT32 i = 0; i < 3; ++i)
        aiColour[i] = static_cast<KINT32>(FACTS.aoColour[i].Unpack(uiWord));
    if constexpr (FACTS.IsYuv())
    {
        const KINT32 iC = 298 * (aiColour[0] - FACTS.oYuv.iLumaOffset) + 128;
        const KINT32 iD = aiColour[1] - FACTS.oYuv.iChromaOffset;
        const KINT32 iE = aiColour[2] - FACTS.oYuv.iChromaOffset;

        const auto Cut = [](KINT32 iScaled, KINT32 iMax) { return std::clamp(iScaled >> 8, 0, iMax); };

        aiColour[0] = Cut(iC + 409 * iE, GetMaxRed());
        aiColour[1] = Cut(iC - 100 * iD - 208 * iE, GetMaxGreen());
        aiColour[2] = Cut(iC + 516 * iD, GetMaxBlue());
    }
    ruiAlpha = static_cast<KUINT16>(FACTS.oAlpha.Unpack(uiWord));
    ruiRed   = static_cast<KUINT16>(aiColour[0]);
    ruiGreen = static_cast<KUINT16>(aiColour[1]);
    ruiBlue  = static_cast<KUINT16>(aiColour[2]);
}

template <TPixelFormat ePixelFormat, typename T>
inline T* QelColor<ePixelFormat, T>::FindPixel(KUINTPTR uiSurfaceData, KUINT32 uiPitchPixels, KUINT32 x, KUINT32 y)
{
    const KUINT32 uiIndex = y * uiPitchPixels + x;  // wraps, as all arithmetic on coordinates does
    return reinterpret_cast<T*>(uiSurfaceData) + uiIndex;
}

template <TPixelFormat ePixelFormat, typename T>
inline void QelColor<ePixelFormat, T>::Write(QelSurface& oSurface, KUINT32 x, KUINT32 y) const
{
    if (const KUINTPTR uiSurfaceData = oSurface.GetSurfaceData(0)) [[likely]]
        *FindPixel(uiSurfaceData, oSurface.GetPitchPixels(0), x, y) = m_uiColorValue;
}

template <TPixelFormat ePixelFormat, typename T>
inline void QelColor<ePixelFormat, T>::Read(const QelSurface& oSurface, KUINT32 x, KUINT32 y)
{
    if (const KUINTPTR uiSurfaceData = oSurface.GetSurfaceData(0))
        m_uiColorValue = *FindPixel(uiSurfaceData, oSurface.GetPitchPixels(0), x, y);
}

#endif
