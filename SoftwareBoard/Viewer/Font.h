// A small built-in font for labels: the printable ASCII characters, five columns wide and seven rows high, with an empty
// column and row after each.
#ifndef FONT_H
#define FONT_H

#include <string_view>

namespace SoftwareBoard::Viewer
{
constexpr int iGlyphWidth  = 6;  // pixels at scale 1, with what parts it from the next
constexpr int iGlyphHeight = 8;

// Whether the pixel of a character is set; characters that the font lacks are drawn as question marks.
bool IsGlyphPixel(char c, int iColumn, int iRow);

// Calls fPixel(column, row) for each pixel of a text that is set, from 0 at its top left.
template <class TPixel> void ForTextPixels(std::string_view svText, TPixel fPixel)
{
    for (int iX = 0; iX < static_cast<int>(svText.size()) * iGlyphWidth; ++iX)
    {
        for (int iY = 0; iY < iGlyphHeight; ++iY)
        {
            if (IsGlyphPixel(svText[static_cast<size_t>(iX / iGlyphWidth)], iX % iGlyphWidth, iY))
                fPixel(iX, iY);
        }
    }
}
}

#endif
