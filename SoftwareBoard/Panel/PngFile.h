// A picture as a PNG file: complete, or not there. What is there and no plain file is written into.
#ifndef PNG_FILE_H
#define PNG_FILE_H

#include <string>

#include "Screen.h"

namespace Panel
{
void WritePngFile(const SPicture& roPicture, const std::string& strPath);
}

#endif
