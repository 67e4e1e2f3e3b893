// The test card: a picture for a person to look at. It says in words what should be seen, in the byte order that format 52
// is taken to have.
#ifndef TEST_CARD_H
#define TEST_CARD_H

#include "QelTypes.h"
#include "Tavrin.h"

namespace BoardCheck
{
// A frame of one pixel at the edges, the number of the output, lines of text in the colours that they name, colour bars,
// a bar at 50 % and the frame of a square that is to blink. What does not fit into a small picture is left out.
void DrawTestCard(const tagTBuffer_PlaneInfo& roInfo, const KUINTPTR* puiPlanes, KUINT32 uiOutput);

// The square of the card that blinks. It is dark at first.
void DrawBlinkingSquare(const tagTBuffer_PlaneInfo& roInfo, const KUINTPTR* puiPlanes, bool bLit);
}

#endif
