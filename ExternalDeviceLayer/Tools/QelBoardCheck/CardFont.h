// The letters of the test card: capitals, digits and the percent sign, 5 x 7 dots each.
#ifndef CARD_FONT_H
#define CARD_FONT_H

#include "QelTypes.h"

namespace BoardCheck
{
constexpr KUINT32 GLYPH_WIDTH  = 5;
constexpr KUINT32 GLYPH_HEIGHT = 7;

// Whether a dot of the character is set. A character that is not in the font is blank.
bool IsInk(char cCharacter, KUINT32 uiColumn, KUINT32 uiRow);
}

#endif
