// Whether a PNG file is whole, without the time that decoding its pixels takes.
#ifndef PNG_PARTS_H
#define PNG_PARTS_H

#include <cstdio>

namespace SoftwareBoard::Viewer
{
// Returns what is wrong with the parts that the file consists of, up to its end, or null. Does not look at the signature.
const char* FaultOfParts(std::FILE* poFile);
}

#endif
