// A picture as a PNG file: complete, or not there, also when a signal ends the process meanwhile. A file that is replaced
// keeps its mode. What is there and no plain file is written into, and "-" is standard output.
#ifndef PNG_FILE_H
#define PNG_FILE_H

#include <string>

#include "Picture.h"

namespace SoftwareBoard::Panel
{
void WritePngFile(const SPicture& roPicture, const std::string& strPath);
}

#endif
