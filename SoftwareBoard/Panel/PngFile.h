// Writes a picture to a PNG file. The file is complete or it is not written, even if a signal ends the process meanwhile. A
// file that is replaced keeps its mode. Pipes and devices are written to as they are; "-" is standard output.
#ifndef PNG_FILE_H
#define PNG_FILE_H

#include <string>

#include "Picture.h"

namespace SoftwareBoard::Panel
{
enum class EPacking
{
    FAST,       // a tenth of the time
    REPEATING,  // as fast, and much smaller, where pictures much like each other stand side by side
    SMALL,      // as small as libpng makes it by default
};

// Throws BoardError on failure.
void WritePngFile(const SPicture& roPicture, const std::string& strPath, EPacking ePacking);
}

#endif
