// The pixels of buffers, one file each. A file is needed while its maker keeps it open (its maker holds a lock on it), while
// an output shows it, and while an enable that waits for a display may have to bring it back (KeepPixelFile).
#ifndef PIXEL_FILES_H
#define PIXEL_FILES_H

#include "BoardFolder.h"
#include "BoardState.h"
#include "Transaction.h"

namespace SoftwareBoard
{
struct SPixelFile
{
    KUINT32        uiNumber = 0;
    FileDescriptor oFile;
};

// Makes a file for uiSizeInBytes bytes of pixels. All its blocks are allocated, so that writing to a mapping of it cannot
// fail later. A mark after the pixels says that a board made the file. Throws BoardError on failure.
SPixelFile MakePixelFile(const Transaction& roTransaction, const BoardFolder& roFolder, const BoardState& roState,
                         KUINT32 uiSizeInBytes);

// Opens the file for reading. Throws BoardError if it is missing, or if it may be another board's.
FileDescriptor OpenPixelFile(const Transaction& roTransaction, const BoardFolder& roFolder, const BoardState& roState,
                             KUINT32 uiNumber);

// Keeps the file from being swept as long as roPixels is open.
void KeepPixelFile(const FileDescriptor& roPixels);

// Whether the process that made the file still has it open, and so may draw.
bool HasMaker(int iPixels);

// Removes the board's pixel files that nobody needs, such as those of a killed process. Never touches other files.
void SweepPixelFiles(const Transaction& roTransaction, const BoardFolder& roFolder, const BoardState& roState);
}

#endif
