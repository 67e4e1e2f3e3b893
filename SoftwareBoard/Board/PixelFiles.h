// The pixels of buffers, a file each. One is needed while the process that made it keeps it open, which a lock on it shows,
// and while an output shows it. Whoever calls is in a transaction.
#ifndef PIXEL_FILES_H
#define PIXEL_FILES_H

#include "Board.h"

namespace SoftwareBoard
{
struct SPixelFile
{
    KUINT32        uiNumber = 0;
    FileDescriptor oFile;
};

// All its blocks are there, so that writing to a mapping of it cannot fail later. Behind the pixels stands a mark that says
// that a board made the file.
SPixelFile MakePixelFile(const Board& roBoard, KUINT32 uiSizeInBytes);

// For reading.
FileDescriptor OpenPixelFile(const Board& roBoard, KUINT32 uiNumber);

// Removes those that a board made and nobody needs, such as a killed process left.
void SweepPixelFiles(const Board& roBoard);
}

#endif
