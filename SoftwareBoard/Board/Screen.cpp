#include "Screen.h"

#include <sys/stat.h>

#include "BoardError.h"
#include "PixelFiles.h"

namespace SoftwareBoard
{
namespace
{
// Large enough for few calls, and small enough for the processor's caches.
constexpr size_t BYTES_AT_ONCE = size_t{256} << 10;
}

Screen::Screen(const Transaction& roTransaction, const BoardFolder& roFolder, const BoardState& roState,
               const SOutputRecord& roOutput)
    : m_oOutput(roOutput), m_oLayout(*LayOutPlane(TPixelFormat_R8G8B8A8, roOutput.uiBufferWidth, roOutput.uiBufferHeight)),
      m_oPixels(OpenPixelFile(roTransaction, roFolder, roState, roOutput.uiPixelFile))
{}

bool Screen::operator==(const Screen& roOther) const
{
    struct stat oOurs  = {};
    struct stat oOther = {};
    return fstat(m_oPixels.Get(), &oOurs) == 0 && fstat(roOther.m_oPixels.Get(), &oOther) == 0 &&
           oOurs.st_ino == oOther.st_ino && oOurs.st_dev == oOther.st_dev && GetWidth() == roOther.GetWidth() &&
           GetHeight() == roOther.GetHeight();
}

size_t Screen::RowsAtOnce() const
{
    return std::max<size_t>(BYTES_AT_ONCE / m_oLayout.uiPitchInBytes, 1);
}

void Screen::ReadBlock(std::vector<KUINT32>& roPixels, size_t uiFirstRow, size_t uiRows) const
{
    // Read, not mapped: if the file is cut meanwhile, a read fails, but a mapping would raise a signal.
    const size_t uiPitch   = m_oLayout.uiPitchInBytes;
    const size_t uiInBytes = uiRows * uiPitch;
    if (pread(m_oPixels.Get(), roPixels.data(), uiInBytes, static_cast<off_t>(uiFirstRow * uiPitch)) !=
        static_cast<ssize_t>(uiInBytes))
        ThrowCut();
}

void Screen::ThrowCut() const
{
    throw BoardError("board.pixels-" + std::to_string(m_oOutput.uiPixelFile) +
                     ": the pixels that the output shows are cut short; enable it anew");
}
}
