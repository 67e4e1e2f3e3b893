#include "Screen.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <thread>

#include "BoardError.h"
#include "DrawingProcess.h"
#include "PixelFiles.h"
#include "PlaneLayout.h"

namespace SoftwareBoard::Panel
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

// What is read at once, rows of the buffer: few calls, and it stays in the processor's caches until it is copied.
constexpr size_t uiBytesAtOnce = size_t{256} << 10;

// Calls fTakeRow(number, bytes) for each row of the screen until it answers false.
template <class TTakeRow> void ReadRows(const SScreen& roScreen, TTakeRow fTakeRow)
{
    constexpr KUINT32    uiOpaque = 0xFF000000;
    const SOutputRecord& roOutput = roScreen.oOutput;
    const auto           ooLayout = LayOutPlane(TPixelFormat_R8G8B8A8, roOutput.uiBufferWidth, roOutput.uiBufferHeight);

    std::vector<KUINT32> auiRow(roOutput.oVidParam.uiHActive, uiOpaque);
    const size_t         uiColumns = std::min<size_t>(auiRow.size(), ooLayout->uiWidth);
    const KUINT32        uiHeight  = std::min(roOutput.oVidParam.uiVActive, ooLayout->uiHeight);
    const size_t         uiAtOnce  = std::max<size_t>(uiBytesAtOnce / ooLayout->uiPitchInBytes, 1);
    std::vector<KUINT32> auiRead(std::min<size_t>(uiAtOnce, uiHeight) * ooLayout->uiPitch);
    for (KUINT32 uiY = 0; uiY < roOutput.oVidParam.uiVActive; ++uiY)
    {
        const size_t uiAt = uiY % uiAtOnce;
        if (uiY < uiHeight && uiAt == 0)
        {
            // Read, not mapped: a file that is cut meanwhile is an error here and would be a signal there.
            const size_t uiInBytes = std::min<size_t>(uiAtOnce, uiHeight - uiY) * ooLayout->uiPitchInBytes;
            if (pread(roScreen.oPixels.Get(), auiRead.data(), uiInBytes, off_t{uiY} * ooLayout->uiPitchInBytes) !=
                static_cast<ssize_t>(uiInBytes))
                throw BoardError("board.pixels-" + std::to_string(roOutput.uiPixelFile) +
                                 ": the pixels that the output shows are cut short; enable it anew");
        }
        if (uiY < uiHeight)
            std::transform(auiRead.begin() + static_cast<std::ptrdiff_t>(uiAt * ooLayout->uiPitch),
                           auiRead.begin() + static_cast<std::ptrdiff_t>(uiAt * ooLayout->uiPitch + uiColumns),
                           auiRow.begin(), [](KUINT32 uiPixel) { return uiPixel | uiOpaque; });
        else if (uiY == uiHeight)
            std::fill(auiRow.begin(), auiRow.end(), uiOpaque);
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

SPicture ReadWholeScreen(const SScreen& roScreen)
{
    using namespace std::chrono;
    constexpr milliseconds oPatience = 1s, oBetweenLooks = 1ms;

    const DrawingProcess oDrawing(roScreen.oPixels.Get(), roScreen.oOutput.iHolderPid);
    const auto           oEnd = steady_clock::now() + oPatience;
    SPicture             oPicture;
    while (!oDrawing.SleptWhile([&] { oPicture = ReadScreen(roScreen); }) && steady_clock::now() < oEnd)
        std::this_thread::sleep_for(oBetweenLooks);
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
