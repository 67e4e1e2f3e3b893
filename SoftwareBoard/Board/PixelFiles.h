// The pixels of buffers, a file each. One is needed while the process that made it keeps it open, which a lock on it shows,
// and while an output shows it.
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

// All its blocks are there, so that writing to a mapping of it cannot fail later. Behind the pixels stands a mark that says
// that a board made the file.
SPixelFile MakePixelFile(const Transaction& roTransaction, const BoardFolder& roFolder, const BoardState& roState,
                         KUINT32 uiSizeInBytes);

// For reading.
FileDescriptor OpenPixelFile(const Transaction& roTransaction, const BoardFolder& roFolder, KUINT32 uiNumber);

// Keeps a file from being swept for as long as roPixels is open.
void KeepPixelFile(const FileDescriptor& roPixels);

// Whether the process that made the file still has it open, and so may draw into it.
bool HasMaker(int iPixels);

// Removes those that a board made and nobody needs, such as a killed process left.
void SweepPixelFiles(const Transaction& roTransaction, const BoardFolder& roFolder, const BoardState& roState);
}

#endif
