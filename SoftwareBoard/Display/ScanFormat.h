// The pixel formats of a plane's buffer, and the conversion of the board's pixels to them. The board's pixels have red in
// the lowest byte and any alpha. The picture is opaque: if the plane uses alpha, alpha is set.
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

// The cheapest of a plane's formats. Null if CopyRow can fill none of them.
const SScanFormat* ChooseFormat(const std::vector<uint32_t>& roFourCcs);

// The format for a card that does not list its formats. Every controller with 32-bit pixels has it.
const SScanFormat& CommonFormat();

void CopyRow(const SScanFormat& roFormat, const KUINT32* puiFrom, KUINT32* puiTo, size_t uiPixels);

// Writes the four letters of the code, such as XR24.
void NameFourCc(uint32_t uiFourCc, char (&szName)[5]);
}

#endif
