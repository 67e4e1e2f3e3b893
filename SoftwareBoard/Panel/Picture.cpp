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

constexpr KUINT32 OPAQUE_BLACK = 0xFF000000;

SPicture BlankPicture(const SOutputRecord& roOutput)
{
    SPicture oPicture{roOutput.oVidParam.uiHActive, roOutput.oVidParam.uiVActive, {}};
    if (oPicture.uiHeight > MAX_BYTES / std::max<size_t>(oPicture.GetPitchInBytes(), 1))
        throw BoardError("a picture of " + std::to_string(oPicture.uiWidth) + "x" + std::to_string(oPicture.uiHeight) +
                         " is too large to be taken");
    return oPicture;
}

// Calls fTakeRow(row, bytes) for each row of the picture until it returns false.
template <class TTakeRow> void ReadPictureRows(const Screen& roScreen, TTakeRow fTakeRow)
{
    const tagTVideo_VidParam& roVidParam = roScreen.GetOutput().oVidParam;
    std::vector<KUINT32>      auiRow(roVidParam.uiHActive, OPAQUE_BLACK);
    const auto fTakeWords = [&](size_t uiRow) { return fTakeRow(uiRow, reinterpret_cast<const KUINT8*>(auiRow.data())); };

    bool bGoOn = true;
    roScreen.ReadRows([&](size_t uiRow, const KUINT32* puiPixels) {
        std::transform(puiPixels, puiPixels + roScreen.GetWidth(), auiRow.begin(),
                       [](KUINT32 uiPixel) { return uiPixel | OPAQUE_BLACK; });
        return bGoOn = fTakeWords(uiRow);
    });
    std::fill(auiRow.begin(), auiRow.end(), OPAQUE_BLACK);
    for (size_t uiRow = roScreen.GetHeight(); bGoOn && uiRow < roVidParam.uiVActive; ++uiRow)
        bGoOn = fTakeWords(uiRow);
}
}

SPicture ReadPicture(const Screen& roScreen)
{
    SPicture oPicture = BlankPicture(roScreen.GetOutput());
    oPicture.auiRgba.reserve(oPicture.GetPitchInBytes() * oPicture.uiHeight);
    ReadPictureRows(roScreen, [&](size_t, const KUINT8* puiRow) {
        oPicture.auiRgba.insert(oPicture.auiRgba.end(), puiRow, puiRow + oPicture.GetPitchInBytes());
        return true;
    });
    return oPicture;
}

SPicture ReadWholePicture(const Screen& roScreen)
{
    using namespace std::chrono;
    constexpr milliseconds oPatience = 1s, oBetweenTries = 1ms;

    const DrawingProcess oDrawing(roScreen.GetPixels().Get(), roScreen.GetOutput().iHolderPid);
    const auto           oEnd = steady_clock::now() + oPatience;
    SPicture             oPicture;
    while (!oDrawing.SleptWhile([&] { oPicture = ReadPicture(roScreen); }) && steady_clock::now() < oEnd)
        std::this_thread::sleep_for(oBetweenTries);
    return oPicture;
}

bool IsShowing(const Screen& roScreen, const SPicture& roPicture)
{
    const tagTVideo_VidParam& roVidParam = roScreen.GetOutput().oVidParam;
    if (roPicture.uiWidth != roVidParam.uiHActive || roPicture.uiHeight != roVidParam.uiVActive)
        return false;
    bool         bSame   = true;
    const size_t uiPitch = roPicture.GetPitchInBytes();
    ReadPictureRows(roScreen, [&](size_t uiRow, const KUINT8* puiRow) {
        return bSame = std::memcmp(puiRow, roPicture.auiRgba.data() + uiRow * uiPitch, uiPitch) == 0;
    });
    return bSame;
}
}
