#include "Screen.h"

#include <algorithm>

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
}

SScreen OpenScreen(const Board& roBoard, const SOutputRecord& roOutput)
{
    return {roOutput, OpenPixelFile(roBoard, roOutput.uiPixelFile)};
}

SPicture ReadScreen(const SScreen& roScreen)
{
    const SOutputRecord& roOutput = roScreen.oOutput;
    const auto           ooLayout = LayOutPlane(TPixelFormat_R8G8B8A8, roOutput.uiBufferWidth, roOutput.uiBufferHeight);

    SPicture     oPicture{roOutput.oVidParam.uiHActive, roOutput.oVidParam.uiVActive, {}};
    const size_t uiPitch = oPicture.GetPitchInBytes();
    if (!ooLayout || oPicture.uiHeight > uiMaxBytes / std::max<size_t>(uiPitch, 1))
        throw BoardError("a picture of " + std::to_string(oPicture.uiWidth) + "x" + std::to_string(oPicture.uiHeight) +
                         " is too large to be taken");
    oPicture.auiRgba.resize(uiPitch * oPicture.uiHeight);

    const KUINT32 uiHeight  = std::min(oPicture.uiHeight, ooLayout->uiHeight);
    const size_t  uiInBytes = size_t{std::min(oPicture.uiWidth, ooLayout->uiWidth)} * 4;
    for (KUINT32 uiY = 0; uiY < uiHeight; ++uiY)
    {
        // Read, not mapped: a file that is cut meanwhile is an error here and would be a signal there.
        if (pread(roScreen.oPixels.Get(), oPicture.auiRgba.data() + uiY * uiPitch, uiInBytes,
                  off_t{uiY} * ooLayout->uiPitchInBytes) != static_cast<ssize_t>(uiInBytes))
            throw BoardError("board.pixels-" + std::to_string(roOutput.uiPixelFile) +
                             ": the pixels that the output shows are cut short; enable it anew");
    }
    for (size_t uiAlpha = 3; uiAlpha < oPicture.auiRgba.size(); uiAlpha += 4)
        oPicture.auiRgba[uiAlpha] = 255;
    return oPicture;
}
}
