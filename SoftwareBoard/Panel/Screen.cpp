#include "Screen.h"

#include <algorithm>
#include <cstring>

#include "BoardError.h"
#include "PixelFiles.h"
#include "PlaneLayout.h"

using namespace SoftwareBoard;

namespace Panel
{
namespace
{
// A timing may name far more pixels than any screen has; nobody should need this much memory to look at it.
constexpr size_t uiMaxBytes = size_t{1} << 30;

SPicture BlankPicture(const SOutputRecord& roOutput)
{
    SPicture oPicture{roOutput.oVidParam.uiHActive, roOutput.oVidParam.uiVActive, {}};
    if (oPicture.uiHeight > uiMaxBytes / std::max<size_t>(oPicture.GetPitchInBytes(), 1))
        throw BoardError("a picture of " + std::to_string(oPicture.uiWidth) + "x" + std::to_string(oPicture.uiHeight) +
                         " is too large to be taken");
    return oPicture;
}

// Calls fTakeRow(number, bytes) for each row of the screen until it answers false.
template <class TTakeRow> void ReadRows(const SScreen& roScreen, TTakeRow fTakeRow)
{
    constexpr KUINT32    uiOpaque = 0xFF000000;
    const SOutputRecord& roOutput = roScreen.oOutput;
    const auto           ooLayout = LayOutPlane(TPixelFormat_R8G8B8A8, roOutput.uiBufferWidth, roOutput.uiBufferHeight);

    std::vector<KUINT32> auiRow(roOutput.oVidParam.uiHActive, uiOpaque);
    const size_t         uiInBytes = std::min<size_t>(auiRow.size(), ooLayout->uiWidth) * 4;
    for (KUINT32 uiY = 0; uiY < roOutput.oVidParam.uiVActive; ++uiY)
    {
        if (uiY == ooLayout->uiHeight)
            std::fill(auiRow.begin(), auiRow.end(), uiOpaque);
        // Read, not mapped: a file that is cut meanwhile is an error here and would be a signal there.
        if (uiY < ooLayout->uiHeight && pread(roScreen.oPixels.Get(), auiRow.data(), uiInBytes,
                                              off_t{uiY} * ooLayout->uiPitchInBytes) != static_cast<ssize_t>(uiInBytes))
            throw BoardError("board.pixels-" + std::to_string(roOutput.uiPixelFile) +
                             ": the pixels that the output shows are cut short; enable it anew");
        for (KUINT32& ruiPixel : auiRow)
            ruiPixel |= uiOpaque;
        if (!fTakeRow(uiY, reinterpret_cast<const KUINT8*>(auiRow.data())))
            return;
    }
}
}

SScreen OpenScreen(const Board& roBoard, const SOutputRecord& roOutput)
{
    return {roOutput, OpenPixelFile(roBoard, roOutput.uiPixelFile)};
}

SPicture ReadScreen(const SScreen& roScreen)
{
    SPicture oPicture = BlankPicture(roScreen.oOutput);
    oPicture.auiRgba.reserve(oPicture.GetPitchInBytes() * oPicture.uiHeight);
    ReadRows(roScreen, [&](KUINT32, const KUINT8* puiRow) {
        oPicture.auiRgba.insert(oPicture.auiRgba.end(), puiRow, puiRow + oPicture.GetPitchInBytes());
        return true;
    });
    return oPicture;
}

bool IsShowing(const SScreen& roScreen, const SPicture& roPicture)
{
    const tagTVideo_VidParam& roVidParam = roScreen.oOutput.oVidParam;
    if (roPicture.uiWidth != roVidParam.uiHActive || roPicture.uiHeight != roVidParam.uiVActive)
        return false;
    bool         bSame   = true;
    const size_t uiPitch = roPicture.GetPitchInBytes();
    ReadRows(roScreen, [&](KUINT32 uiY, const KUINT8* puiRow) {
        bSame = std::memcmp(puiRow, roPicture.auiRgba.data() + uiY * uiPitch, uiPitch) == 0;
        return bSame;
    });
    return bSame;
}
}
