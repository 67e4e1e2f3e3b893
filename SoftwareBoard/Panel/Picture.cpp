#include "Picture.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <thread>

#include "BoardError.h"
#include "DrawingProcess.h"

namespace SoftwareBoard::Panel
{
namespace
{
// The largest picture. A timing may have far more pixels than any screen.
constexpr size_t MAX_BYTES = size_t{1} << 30;

void ThrowIfTooLarge(const SOutputRecord& roOutput)
{
    const KUINT32 uiWidth = roOutput.oVidParam.uiHActive, uiHeight = roOutput.oVidParam.uiVActive;
    if (uiHeight > MAX_BYTES / std::max<size_t>(size_t{uiWidth} * 4, 1))
        throw BoardError("a picture of " + std::to_string(uiWidth) + "x" + std::to_string(uiHeight) +
                         " is too large to be taken");
}

// Transparent black, of the size that the output shows.
SPicture BlankPicture(const SOutputRecord& roOutput)
{
    ThrowIfTooLarge(roOutput);
    SPicture oPicture{roOutput.oVidParam.uiHActive, roOutput.oVidParam.uiVActive, {}};
    oPicture.auiRgba.resize(oPicture.GetPitchInBytes() * oPicture.uiHeight);
    return oPicture;
}

// Copies the pixels as they are: nobody may draw meanwhile, so the rest is done afterwards.
void CopyScreen(const Screen& roScreen, SPicture& roPicture)
{
    roScreen.ReadRows([&](size_t uiRow, const KUINT32* puiPixels) {
        std::memcpy(roPicture.auiRgba.data() + uiRow * roPicture.GetPitchInBytes(), puiPixels,
                    size_t{roScreen.GetWidth()} * 4);
        return true;
    });
}

SPicture MakeOpaque(SPicture oPicture)
{
    for (size_t uiAlpha = 3; uiAlpha < oPicture.auiRgba.size(); uiAlpha += 4)
        oPicture.auiRgba[uiAlpha] = 0xFF;
    return oPicture;
}
}

SPicture ReadPicture(const Screen& roScreen)
{
    SPicture oPicture = BlankPicture(roScreen.GetOutput());
    CopyScreen(roScreen, oPicture);
    return MakeOpaque(std::move(oPicture));
}

void LookUntilWhole(const Screen& roScreen, const std::function<void()>& fLook)
{
    using namespace std::chrono;
    constexpr milliseconds oPatience = 1s, oBetweenTries = 1ms;

    ThrowIfTooLarge(roScreen.GetOutput());
    const DrawingProcess oDrawing(roScreen.GetPixels().Get(), roScreen.GetOutput().iHolderPid);
    const auto           oEnd = steady_clock::now() + oPatience;
    while (!oDrawing.SleptWhile(fLook) && steady_clock::now() < oEnd)
        std::this_thread::sleep_for(oBetweenTries);
}

SPicture ReadWholePicture(const Screen& roScreen)
{
    SPicture oPicture = BlankPicture(roScreen.GetOutput());
    LookUntilWhole(roScreen, [&] { CopyScreen(roScreen, oPicture); });
    return MakeOpaque(std::move(oPicture));
}
}
