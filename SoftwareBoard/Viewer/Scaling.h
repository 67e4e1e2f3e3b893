// Makes pictures smaller. Each pixel is the mean of those that it replaces, and opaque.
#ifndef SCALING_H
#define SCALING_H

#include <array>
#include <span>
#include <vector>

#include "Picture.h"

namespace SoftwareBoard::Viewer
{
// A part of a picture, in pixels. The right column and the bottom row are not part of it.
struct SArea
{
    KUINT32 uiLeft, uiTop, uiRight, uiBottom;

    bool IsEmpty() const { return uiTop >= uiBottom; }  // an area with a row has a column
};

SArea WholeOf(const Panel::SPicture& roPicture);

// Of one opaque colour: red, green and blue.
Panel::SPicture MakePlain(KUINT32 uiWidth, KUINT32 uiHeight, const std::array<KUINT8, 3>& roColour = {});

// Takes a picture row by row, so that it need not be in memory as a whole.
class RowScaler
{
public:
    // Draws the area oTo of roTo, which shows a picture of uiFromWidth x uiFromHeight pixels. roTo may not be larger than
    // that in either direction.
    RowScaler(KUINT32 uiFromWidth, KUINT32 uiFromHeight, Panel::SPicture& roTo, const SArea& oTo);

    // The rows that AddRow takes, one after the other, as red, green, blue and alpha of a byte each.
    KUINT32 GetFirstRow() const { return StartOfRow(m_oTo.uiTop); }
    KUINT32 GetEndRow() const { return StartOfRow(m_oTo.uiBottom); }
    void    AddRow(std::span<const KUINT32> oPixels);

private:
    // The first of the rows, or columns, that one of the result replaces.
    KUINT32 StartOfRow(KUINT32 uiRow) const
    {
        return static_cast<KUINT32>(KUINT64{uiRow} * m_uiFromHeight / m_roTo.uiHeight);
    }
    KUINT32 StartOfColumn(KUINT32 uiX) const { return static_cast<KUINT32>(KUINT64{uiX} * m_uiFromWidth / m_roTo.uiWidth); }
    void    SumColumns();
    void    EndRow();

    KUINT32              m_uiFromWidth, m_uiFromHeight;
    Panel::SPicture&     m_roTo;
    SArea                m_oTo;
    KUINT32              m_uiFromRow;      // the next to add
    KUINT32              m_uiRow;          // of the result: the next to draw
    KUINT32              m_uiEndOfRow;     // the first row that the next of the result replaces
    std::vector<KUINT32> m_auiColumns;     // how many columns each of the result replaces
    std::vector<KUINT16> m_auiSums;        // of each byte of the rows that were added last
    KUINT32              m_uiSummed = 0;   // how many rows those are
    std::vector<KUINT64> m_auiColourSums;  // three for each pixel of this row of the result
};

// The area of a picture of uiToWidth x uiToHeight pixels that shows the area oFrom of a larger one.
SArea ScaleArea(const SArea& oFrom, KUINT32 uiFromWidth, KUINT32 uiFromHeight, KUINT32 uiToWidth, KUINT32 uiToHeight);

// Draws what replaces the area oChanged of roFrom. Returns which part of roTo that is.
SArea ScaleDown(const Panel::SPicture& roFrom, const SArea& oChanged, Panel::SPicture& roTo);
}

#endif
