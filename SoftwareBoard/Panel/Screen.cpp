#include "Screen.h"

#include <algorithm>

#include "BoardError.h"
#include "PixelFiles.h"
#include "PlaneLayout.h"

using namespace SoftwareBoard;

namespace Panel
{
std::optional<SPicture> ReadScreen(const Board& roBoard, KUINT32 uiDevice, KUINT32 uiOutput)
{
    SOutputRecord  oOutput;
    FileDescriptor oPixels;
    {
        const BoardLocks::Transaction oTransaction(roBoard.m_oLocks);
        oOutput = roBoard.m_oState.ReadOutput(uiDevice, uiOutput);
        if (oOutput.bEnabled == FALSE)
            return std::nullopt;
        oPixels = OpenPixelFile(roBoard, oOutput.uiPixelFile);
    }
    const auto ooLayout = LayOutPlane(TPixelFormat_R8G8B8A8, oOutput.uiBufferWidth, oOutput.uiBufferHeight);

    SPicture oPicture{oOutput.oVidParam.uiHActive, oOutput.oVidParam.uiVActive, {}};
    oPicture.auiRgb.resize(size_t{oPicture.uiWidth} * oPicture.uiHeight * 3);

    const KUINT32       uiWidth  = std::min(oPicture.uiWidth, ooLayout->uiWidth);
    const KUINT32       uiHeight = std::min(oPicture.uiHeight, ooLayout->uiHeight);
    std::vector<KUINT8> auiRow(size_t{uiWidth} * 4);
    for (KUINT32 uiY = 0; uiY < uiHeight; ++uiY)
    {
        // Read, not mapped: a file that is cut meanwhile is an error here and would be a signal there.
        if (pread(oPixels.Get(), auiRow.data(), auiRow.size(), off_t{uiY} * ooLayout->uiPitchInBytes) !=
            static_cast<ssize_t>(auiRow.size()))
            throw BoardError("the pixels that output " + std::to_string(uiOutput) + " shows are cut short; enable it anew");
        KUINT8* puiRgb = oPicture.auiRgb.data() + size_t{uiY} * oPicture.uiWidth * 3;
        for (KUINT32 uiX = 0; uiX < uiWidth; ++uiX)
            puiRgb = std::copy_n(auiRow.data() + size_t{uiX} * 4, 3, puiRgb);
    }
    return oPicture;
}
}
