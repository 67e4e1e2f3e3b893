// Modes as a display's data give them: each that is listed can be given to the tool, which then asks for this very mode.
#include <algorithm>
#include <cstring>

#include "DisplayMode.h"
#include "Fuzz.h"
#include "VideoTimings.h"

using namespace SoftwareBoard::Display;

static std::string DescribeWithoutName(drmModeModeInfo oMode)
{
    oMode.name[0] = '\0';
    return DescribeMode(oMode);
}

int LLVMFuzzerTestOneInput(const std::uint8_t* puiData, size_t uiSize)
{
    std::vector<drmModeModeInfo> aoModes(uiSize / sizeof(drmModeModeInfo));
    if (!aoModes.empty()) std::memcpy(aoModes.data(), puiData, aoModes.size() * sizeof(drmModeModeInfo));
    std::vector<std::string> astrExpressed;
    for (const drmModeModeInfo& roMode : aoModes)
        if (const auto ooTiming = ExpressMode(roMode))
        {
            astrExpressed.push_back(DescribeWithoutName(roMode));
            Must(DescribeWithoutName(MakeMode(*ooTiming).value()) == astrExpressed.back());
        }
    const auto aoListed = ListTimings(aoModes);
    Must(aoListed.size() <= astrExpressed.size() && aoListed.empty() == astrExpressed.empty());
    for (auto [strTiming, bPreferred] : aoListed)
    {
        std::replace(strTiming.begin(), strTiming.end(), ' ', '\n');
        const SCommandLine oWords("", reinterpret_cast<const std::uint8_t*>(strTiming.data()), strTiming.size());
        tagTVideo_VidParam oTiming = {};
        Must(oWords.GetCount() == 1 + TIMING_VALUES && !ReadVideoTimings(oWords.apszArguments.data() + 1, oTiming));
        const std::string strAgain = DescribeWithoutName(MakeMode(oTiming).value());
        Must(std::find(astrExpressed.begin(), astrExpressed.end(), strAgain) != astrExpressed.end());
    }
    return 0;
}
