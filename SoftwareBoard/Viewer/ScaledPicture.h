// A picture that is made smaller while its rows are read, so that it is never in memory as a whole. Each pixel is the mean
// of those that it replaces, and opaque.
#ifndef SCALED_PICTURE_H
#define SCALED_PICTURE_H

#include <span>
#include <vector>

#include "Picture.h"

namespace SoftwareBoard::Viewer
{
class ScaledPicture
{
public:
    // The result may not be larger than what is added, in either direction.
    ScaledPicture(KUINT32 uiFromWidth, KUINT32 uiFromHeight, KUINT32 uiWidth, KUINT32 uiHeight);

    // Adds the next row, from the top, as red, green, blue and alpha of a byte each. What a row lacks is black.
    void AddRow(std::span<const KUINT32> oPixels);

    // Returns the result; the rows that were not added are black. Call it last.
    Panel::SPicture Take();

private:
    // The first of the pixels, or rows, that the result's pixel or row replaces.
    static KUINT32 StartOf(KUINT32 uiAt, KUINT32 uiTo, KUINT32 uiFrom)
    {
        return static_cast<KUINT32>(KUINT64{uiAt} * uiFrom / uiTo);
    }
    void EndRow();

    KUINT32              m_uiFromWidth, m_uiFromHeight;
    KUINT32              m_uiRows = 0;  // added
    KUINT32              m_uiDone = 0;  // rows of the result
    std::vector<KUINT32> m_auiSums;     // of each byte of the rows that the next row of the result replaces
    Panel::SPicture      m_oPicture;
};
}

#endif
