// The drawing surface for one pixel colour type.
#ifndef QEL_SURFACE_TYPED_H
#define QEL_SURFACE_TYPED_H

#include <algorithm>
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>

#include "QelSurface.h"

// Draws pixels of ColourType (a QelColor) into the memory that QelSurface describes; both colours start at the value 0.
// Lines and circles call the virtual Dot for each point, in a fixed order, also outside the surface. Only Dot clips. Clr and
// Rectangle write straight into the rows.
// Coordinates are 32-bit words that wrap, so a point left of column 0 or above row 0 is one far outside.
template <typename ColourType> class QelSurfaceTyped : public QelSurface
{
public:
    QelSurfaceTyped(const KUINTPTR* pauiSurfaceData, const KUINT32* auiPitchPixels, const KUINT32* auiPitchInBytes,
                    KUINT32 uiWitdh, KUINT32 uiHeight, KUINT32 uiNbPlanes)
        : QelSurface(pauiSurfaceData, auiPitchPixels, auiPitchInBytes, uiWitdh, uiHeight, uiNbPlanes)
    {}

    ~QelSurfaceTyped() override = default;
    void    ReadColorToARGB(KUINT32 uiPosX, KUINT32 uiPosY, KUINT16& ruiAlpha, KUINT16& ruiRed, KUINT16& ruiGreen,
                            KUINT16& ruiBlue) override;
    void    SetFgColorFromARGB(KUINT16 uiAlpha, KUINT16 uiRed, KUINT16 uiGreen, KUINT16 uiBlue) override;
    void    SetBgColourFromARGB(KUINT16 uiAlpha, KUINT16 uiRed, KUINT16 uiGreen, KUINT16 uiBlue) override;
    void    Clr() override;
    void    Dot(KUINT32 uiXPos, KUINT32 uiYPos) override;
    void    LineTo(KUINT32 uiXEndPos, KUINT32 uiYEndPos) override;
    void    Circle(KUINT32 uiXPos, KUINT32 uiYPos, KUINT32 uiDiameter) override;
    void    FilledCircle(KUINT32 uiXPos, KUINT32 uiYPos, KUINT32 uiDiameter) override;
    void    Rectangle(KINT32 iLeft, KINT32 iTop, KINT32 iRight, KINT32 iBottom) override;
    KUINT16 GetMaxAlpha() override { return ColourType::GetMaxAlpha(); }
    KUINT16 GetMaxRed() override { return ColourType::GetMaxRed(); }
    KUINT16 GetMaxGreen() override { return ColourType::GetMaxGreen(); }
    KUINT16 GetMaxBlue() override { return ColourType::GetMaxBlue(); }
    KUINT16 GetMaxAlpha(KUINT16 uiAlphaValue) override { return std::min(uiAlphaValue, ColourType::GetMaxAlpha()); }
    KUINT16 GetMaxRed(KUINT16 uiRedValue) override { return std::min(uiRedValue, ColourType::GetMaxRed()); }
    KUINT16 GetMaxGreen(KUINT16 uiGreenValue) override { return std::min(uiGreenValue, ColourType::GetMaxGreen()); }
    KUINT16 GetMaxBlue(KUINT16 uiBlueValue) override { return std::min(uiBlueValue, ColourType::GetMaxBlue()); }

    ColourType m_oFgColour;  // of every shape
    ColourType m_oBgColour;  // of Clr

private:
    void FillRows(KUINT32 uiLeft, KUINT32 uiTop, KUINT32 uiColumns, KUINT32 uiRows, const ColourType& roColour);
};

template <typename ColourType>
void QelSurfaceTyped<ColourType>::ReadColorToARGB(KUINT32 uiPosX, KUINT32 uiPosY, KUINT16& ruiAlpha, KUINT16& ruiRed,
                                                  KUINT16& ruiGreen, KUINT16& ruiBlue)
{
    ColourType oColour;
    oColour.Read(*this, uiPosX, uiPosY);
    ColourType::ToARGB(oColour, ruiAlpha, ruiRed, ruiGreen, ruiBlue);
}

template <typename ColourType>
void QelSurfaceTyped<ColourType>::SetFgColorFromARGB(KUINT16 uiAlpha, KUINT16 uiRed, KUINT16 uiGreen, KUINT16 uiBlue)
{
    m_oFgColour = ColourType::FromARGB(uiAlpha, uiRed, uiGreen, uiBlue);
}

template <typename ColourType>
void QelSurfaceTyped<ColourType>::SetBgColourFromARGB(KUINT16 uiAlpha, KUINT16 uiRed, KUINT16 uiGreen, KUINT16 uiBlue)
{
    m_oBgColour = ColourType::FromARGB(uiAlpha, uiRed, uiGreen, uiBlue);
}

template <typename ColourType> void QelSurfaceTyped<ColourType>::Clr()
{
    FillRows(0, 0, m_uiWitdh, m_uiHeight, m_oBgColour);
}

template <typename ColourType> void QelSurfaceTyped<ColourType>::Dot(KUINT32 uiXPos, KUINT32 uiYPos)
{
    if (uiXPos < m_uiWitdh && uiYPos < m_uiHeight) [[likely]]
        m_oFgColour.Write(*this, uiXPos, uiYPos);
}

template <typename ColourType> void QelSurfaceTyped<ColourType>::LineTo(KUINT32 uiXEndPos, KUINT32 uiYEndPos)
{
    KUINT32 uiX1 = m_uiCurrentXPos, uiY1 = m_uiCurrentYPos;
    KUINT32 uiX2 = uiXEndPos, uiY2 = uiYEndPos;
    if (uiX1 > uiX2)
    {
        std::swap(uiX1, uiX2);
        std::swap(uiY1, uiY2);
    }

    // Both ends included. They meet on the way up, also past the largest integer, because the count wraps as they do.
    const auto ForEach = [](KUINT32 uiFirst, KUINT32 uiLast, auto SetPoint) {
        for (;; ++uiFirst)
        {
            SetPoint(uiFirst);
            if (uiFirst == uiLast)
                return;
        }
    };
    // From here on coordinates count as signed: a row above 0 comes before row 0.
    const auto iX1 = static_cast<KINT32>(uiX1), iX2 = static_cast<KINT32>(uiX2);
    const auto iY1 = static_cast<KINT32>(uiY1), iY2 = static_cast<KINT32>(uiY2);

    if (iX1 == iX2)
    {
        ForEach(iY1 < iY2 ? uiY1 : uiY2, iY1 < iY2 ? uiY2 : uiY1, [=, this](KUINT32 uiY) { Dot(uiX1, uiY); });
    }
    else if (iX1 > iX2)
    {
        // A line that comes in from left of column 0: its left end was ordered to the right, and no column lies between.
    }
    else if (iY1 == iY2)
    {
        ForEach(uiX1, uiX2, [=, this](KUINT32 uiX) { Dot(uiX, uiY1); });
    }
    else
    {
        const auto     iRise  = static_cast<KINT32>(uiY2 - uiY1);
        const KFLOAT32 fSlope = static_cast<KFLOAT32>(iRise) / static_cast<KFLOAT32>(iX2 - iX1);
        const auto     fY1    = static_cast<KFLOAT32>(iY1);
        ForEach(uiX1, uiX2, [=, this](KUINT32 uiX) {
            // Rounded after the product and after the sum. A compiler may fuse both into one step, whatever its options are,
            // and that would move points; it may not when the product is volatile.
            const volatile KFLOAT32 fProduct = static_cast<KFLOAT32>(static_cast<KINT32>(uiX - uiX1)) * fSlope;
            const KFLOAT32          fY       = fProduct + fY1;
            // Cut in 64 bits, since a wrapped difference may lead past the 32 of a row, and the row wraps as well.
            Dot(uiX, static_cast<KUINT32>(static_cast<KINT64>(fY)));
        });
    }
    SetPos(uiXEndPos, uiYEndPos);
}

// The midpoint algorithm. The error term of a huge circle outgrows 32 bits.
template <typename ColourType> void QelSurfaceTyped<ColourType>::Circle(KUINT32 uiXPos, KUINT32 uiYPos, KUINT32 uiDiameter)
{
    KINT64 iX           = uiDiameter / 2;
    KINT64 iY           = 0;
    KINT64 iRadiusError = 1 - iX;
    while (iX >= iY)
    {
        const auto uiX = static_cast<KUINT32>(iX);
        const auto uiY = static_cast<KUINT32>(iY);
        Dot(uiXPos + uiX, uiYPos + uiY);
        Dot(uiXPos + uiY, uiYPos + uiX);
        Dot(uiXPos - uiX, uiYPos + uiY);
        Dot(uiXPos - uiY, uiYPos + uiX);
        Dot(uiXPos - uiX, uiYPos - uiY);
        Dot(uiXPos - uiY, uiYPos - uiX);
        Dot(uiXPos + uiX, uiYPos - uiY);
        Dot(uiXPos + uiY, uiYPos - uiX);

        ++iY;
        if (iRadiusError < 0)
        {
            iRadiusError += 2 * iY + 1;
        }
        else
        {
            --iX;
            iRadiusError += 2 * (iY - iX) + 1;
        }
    }
    SetPos(uiXPos, uiYPos);
}

// Sets each pixel of the box whose centre lies in the circle or on it, once. Each row from the top to the diagonal gives
// four spans by symmetry: the row, its mirror at the bottom, and both turned into columns. The square that is left is whole.
// Lengths are in half pixels from the centre of the box. The slack is radius^2 - distance^2 of a pixel. It is updated by
// differences, because the squares could exceed 64 bits.
template <typename ColourType>
void QelSurfaceTyped<ColourType>::FilledCircle(KUINT32 uiXPos, KUINT32 uiYPos, KUINT32 uiDiameter)
{
    const KUINT32 uiBoxX    = uiXPos - uiDiameter / 2;
    const KUINT32 uiBoxY    = uiYPos - uiDiameter / 2;
    const KINT64  iDiameter = uiDiameter;

    KINT64 iRow    = 0;
    KINT64 iColumn = iDiameter / 2 - 1;  // the one left of the middle
    KINT64 iRise   = iDiameter - 1;
    KINT64 iReach  = iDiameter - 1 - 2 * iColumn;
    KINT64 iSlack  = iDiameter * 2 - 1 - iReach * iReach;
    for (;;)
    {
        while (iSlack >= 0)  // to the first column outside, going left
        {
            iSlack -= 4 * iReach + 4;
            iReach += 2;
            --iColumn;
        }
        if (iRow > iColumn)
            break;

        const auto    uiRow    = static_cast<KUINT32>(iRow);
        const KUINT32 uiMirror = uiDiameter - 1 - uiRow;
        const auto    uiFirst  = static_cast<KUINT32>(iColumn + 1);
        const KUINT32 uiEnd    = uiDiameter - uiFirst;
        for (KUINT32 ui = uiFirst; ui < uiEnd; ++ui)
        {
            Dot(uiBoxX + ui, uiBoxY + uiRow);
            Dot(uiBoxX + ui, uiBoxY + uiMirror);
            Dot(uiBoxX + uiRow, uiBoxY + ui);
            Dot(uiBoxX + uiMirror, uiBoxY + ui);
        }

        iSlack += 4 * iRise - 4;
        iRise -= 2;
        ++iRow;
    }

    const auto    uiFirst = static_cast<KUINT32>(iRow);
    const KUINT32 uiEnd   = uiDiameter - uiFirst;
    for (KUINT32 uiRow = uiFirst; uiRow < uiEnd; ++uiRow)
    {
        for (KUINT32 uiColumn = uiFirst; uiColumn < uiEnd; ++uiColumn)
            Dot(uiBoxX + uiColumn, uiBoxY + uiRow);
    }
}

template <typename ColourType>
void QelSurfaceTyped<ColourType>::Rectangle(KINT32 iLeft, KINT32 iTop, KINT32 iRight, KINT32 iBottom)
{
    if (iLeft < iRight && iTop < iBottom)
    {
        const auto uiLeft = static_cast<KUINT32>(iLeft);
        const auto uiTop  = static_cast<KUINT32>(iTop);
        FillRows(uiLeft, uiTop, static_cast<KUINT32>(iRight) - uiLeft, static_cast<KUINT32>(iBottom) - uiTop, m_oFgColour);
    }
}

// Fills a row with wide stores: std::fill_n of a constant count compiles to one. The last may overlap the one before.
template <typename T> void QelFillRow(T* pRow, KUINT32 uiColumns, T uiValue)
{
    constexpr KUINT32 uiStore = 16 / sizeof(T);
    if (uiColumns < uiStore)
    {
        std::fill_n(pRow, uiColumns, uiValue);
        return;
    }
    for (KUINT32 i = 0; i < uiColumns - uiStore; i += uiStore)
        std::fill_n(pRow + i, uiStore, uiValue);
    std::fill_n(pRow + uiColumns - uiStore, uiStore, uiValue);
}

// Gives the same result as ColourType::Write at each point, also where the index wraps.
template <typename ColourType>
void QelSurfaceTyped<ColourType>::FillRows(KUINT32 uiLeft, KUINT32 uiTop, KUINT32 uiColumns, KUINT32 uiRows,
                                           const ColourType& roColour)
{
    const auto uiValue = roColour.m_uiColorValue;
    using PixelType    = std::remove_const_t<decltype(uiValue)>;

    auto* const   pPixels = reinterpret_cast<PixelType*>(GetSurfaceData(0));
    const KUINT32 uiPitch = GetPitchPixels(0);
    if (pPixels == nullptr)
        return;

    KUINT32       uiIndex = uiTop * uiPitch + uiLeft;
    const KUINT64 uiLast  = uiIndex + KUINT64{uiRows - 1} * uiPitch + (uiColumns - 1);
    if (uiColumns <= uiPitch && uiLast <= std::numeric_limits<KUINT32>::max())
    {
        // Long rows are copies of the first. For short ones that costs more than their stores.
        constexpr KUINT32 uiLongRow = 512 / sizeof(PixelType);
        PixelType* const  pFirst    = pPixels + uiIndex;
        for (KUINT32 i = 0; i < uiRows; ++i)
        {
            PixelType* const pRow = pFirst + KUINT64{i} * uiPitch;
            if (i == 0 || uiColumns < uiLongRow)
                QelFillRow(pRow, uiColumns, uiValue);
            else
                std::memcpy(pRow, pFirst, uiColumns * sizeof(PixelType));
        }
        return;
    }
    for (; uiRows != 0; --uiRows, uiIndex += uiPitch)  // rows overlap, or the index wraps on the way
    {
        for (KUINT32 i = 0; i < uiColumns; ++i)
            pPixels[uiIndex + i] = uiValue;
    }
}

#endif
