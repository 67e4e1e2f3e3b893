// Cuts, wraps and draws text for people.
#ifndef TEXT_H
#define TEXT_H

#include <array>
#include <functional>
#include <string>
#include <vector>

#include "Picture.h"

namespace SoftwareBoard::Viewer
{
// Whether a text fits.
using FitsFunction = std::function<bool(const std::string&)>;

FitsFunction FitsColumns(int iColumns);
FitsFunction FitsPixels(int iWidth);

// The width of a UTF-8 text on a terminal, in columns.
int TextColumns(const std::string& strText);

// Returns the text, or as much of its beginning as fits with ".." after it. A letter and the marks on it stay together.
std::string CutText(const std::string& strText, const FitsFunction& fFits);

// Splits the text at spaces into at most uiRows rows. The last row holds the rest, even if that does not fit.
std::vector<std::string> WrapText(std::string strText, size_t uiRows, const FitsFunction& fFits);

struct STextColours
{
    std::array<KUINT8, 3> auiInk;  // red, green, blue
    std::array<KUINT8, 3> auiPaper;
};

// The width of a text as DrawText draws it, in pixels.
int TextWidth(const std::string& strText);

// Draws one row of text on a picture of uiWidth x uiHeight pixels. The text is in the middle of the height. It begins at the
// left edge or, if bCentred is set, is in the middle of the width.
Panel::SPicture DrawText(const std::string& strText, KUINT32 uiWidth, KUINT32 uiHeight, const STextColours& roColours,
                         bool bCentred);
}

#endif
