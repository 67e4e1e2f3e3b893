// Text for people: cut and wrapped to the room that it has, and drawn as a picture.
#ifndef TEXT_H
#define TEXT_H

#include <array>
#include <functional>
#include <string>
#include <vector>

#include "Picture.h"

namespace SoftwareBoard::Viewer
{
// Whether a text has room; TextWidth or the number of its letters answers that.
using FitsFunction = std::function<bool(const std::string&)>;

// The text, or as much of its beginning as fits with ".." behind it.
std::string CutText(const std::string& strText, const FitsFunction& fFits);

// The text in at most uiRows rows, parted at spaces. The last row holds what is left, also when that does not fit.
std::vector<std::string> WrapText(std::string strText, size_t uiRows, const FitsFunction& fFits);

struct STextColours
{
    std::array<KUINT8, 3> auiInk;  // red, green, blue
    std::array<KUINT8, 3> auiPaper;
};

// The width of a text as DrawText draws it, in pixels.
int TextWidth(const std::string& strText);

// One row of text on a picture of uiWidth x uiHeight pixels, in the middle of its height and from its left edge, or in the
// middle of its width too.
Panel::SPicture DrawText(const std::string& strText, KUINT32 uiWidth, KUINT32 uiHeight, const STextColours& roColours,
                         bool bCentred);
}

#endif
