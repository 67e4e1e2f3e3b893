// How a plane's buffer holds pixels, and how a row of the board's, red in the lowest byte and alpha anything, gets there.
// The picture is opaque: where the plane would look at alpha, it is set.
#ifndef SCAN_FORMAT_H
#define SCAN_FORMAT_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "QelTypes.h"

namespace SoftwareBoard::Display
{
struct SScanFormat
{
    uint32_t uiFourCc;
    bool     bRedAndBlueExchanged;
    bool     bAlphaCounts;
};

// The one that costs least among those that a plane has; null when it has none that this can fill.
const SScanFormat* ChooseFormat(const std::vector<uint32_t>& roFourCcs);

// The last of the choices, for a card that does not say what it has: every controller with 32-bit pixels has it.
const SScanFormat& CommonFormat();

void CopyRow(const SScanFormat& roFormat, const KUINT32* puiFrom, KUINT32* puiTo, size_t uiPixels);

// As the letters of the code, such as XR24.
void NameFourCc(uint32_t uiFourCc, char (&szName)[5]);
}

#endif
