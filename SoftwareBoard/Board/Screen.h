// What an output shows: the part of its buffer that the active size of its timing covers. It can be read without a
// transaction, and even after the board is gone.
#ifndef SCREEN_H
#define SCREEN_H

#include <algorithm>
#include <vector>

#include "BoardFolder.h"
#include "BoardState.h"
#include "PlaneLayout.h"

namespace SoftwareBoard
{
class Screen
{
public:
    // Opens the pixels of an output that is on. Throws BoardError if they are gone, or if the board was replaced.
    Screen(const Transaction& roTransaction, const BoardFolder& roFolder, const BoardState& roState,
           const SOutputRecord& roOutput);

    const SOutputRecord&  GetOutput() const { return m_oOutput; }
    const FileDescriptor& GetPixels() const { return m_oPixels; }

    // The size of the part that the buffer covers, in pixels. The active size of the timing may be larger.
    KUINT32 GetWidth() const { return std::min(m_oOutput.uiBufferWidth, m_oOutput.oVidParam.uiHActive); }
    KUINT32 GetHeight() const { return std::min(m_oOutput.uiBufferHeight, m_oOutput.oVidParam.uiVActive); }

    KUINT32 GetPitch() const { return m_oLayout.uiPitch; }  // from row to row in the file, in pixels

    // Whether both show the same part of the same file.
    bool operator==(const Screen& roOther) const;

    // Calls fTakeRow(row, pixels) for each row of that part, from the top, until it returns false. A pixel is R8G8B8A8, red
    // in the lowest byte. Throws BoardError if the file was cut. While somebody draws, rows of two pictures may come.
    template <class TTakeRow> void ReadRows(TTakeRow fTakeRow) const;

    // Throws the BoardError of a file that was cut.
    [[noreturn]] void ThrowCut() const;

private:
    // ReadBlock reads at most this many rows. Each begins a pitch after the one before.
    size_t RowsAtOnce() const;
    void   ReadBlock(std::vector<KUINT32>& roPixels, size_t uiFirstRow, size_t uiRows) const;

    SOutputRecord  m_oOutput;
    SPlaneLayout   m_oLayout;  // of the buffer
    FileDescriptor m_oPixels;
};

template <class TTakeRow> void Screen::ReadRows(TTakeRow fTakeRow) const
{
    const size_t         uiHeight = GetHeight(), uiAtOnce = RowsAtOnce(), uiPitch = m_oLayout.uiPitch;
    std::vector<KUINT32> auiBlock(std::min(uiAtOnce, uiHeight) * uiPitch);
    for (size_t uiRow = 0; uiRow < uiHeight; ++uiRow)
    {
        if (uiRow % uiAtOnce == 0)
            ReadBlock(auiBlock, uiRow, std::min(uiAtOnce, uiHeight - uiRow));
        if (!fTakeRow(uiRow, auiBlock.data() + uiRow % uiAtOnce * uiPitch))
            return;
    }
}
}

#endif
