// Modes as a display's data give them: each that is listed can be given to the tool, which then asks for this very mode.
#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "DisplayMode.h"
#include "Fuzz.h"
#include "VideoTimings.h"

using namespace SoftwareBoard::Display;

namespace
{
bool AreSame(const drmModeModeInfo& a, const drmModeModeInfo& b)
{
    constexpr uint32_t uiPositive = DRM_MODE_FLAG_PHSYNC | DRM_MODE_FLAG_PVSYNC | DRM_MODE_FLAG_INTERLACE;
    const auto         fEdges     = [](const drmModeModeInfo& o) {
        return std::array{o.hdisplay, o.hsync_start, o.hsync_end, o.htotal,
                          o.vdisplay, o.vsync_start, o.vsync_end, o.vtotal};
    };
    return fEdges(a) == fEdges(b) && a.clock == b.clock && a.vrefresh == b.vrefresh &&
           ((a.flags ^ b.flags) & uiPositive) == 0;
}
}

int LLVMFuzzerTestOneInput(const std::uint8_t* puiData, size_t uiSize)
{
    std::vector<drmModeModeInfo> aoModes(uiSize / sizeof(drmModeModeInfo));
    if (!aoModes.empty()) std::memcpy(aoModes.data(), puiData, aoModes.size() * sizeof(drmModeModeInfo));
    size_t uiExpressed = 0;
    for (const drmModeModeInfo& roMode : aoModes)
    {
        const auto ooTiming = ExpressMode(roMode);
        uiExpressed += ooTiming.has_value();
        Must(!ooTiming || AreSame(roMode, MakeMode(*ooTiming).value()));
    }
    const auto aoListed = ListTimings(aoModes);
    Must(aoListed.size() <= uiExpressed && aoListed.empty() == (uiExpressed == 0));
    for (const SListedTiming& ro : aoListed)
    {
        std::istringstream       oWords(ro.strTiming);
        std::vector<std::string> astrWords{std::istream_iterator<std::string>(oWords), {}};
        std::vector<const char*> apszWords;
        for (const std::string& str : astrWords) apszWords.push_back(str.c_str());
        tagTVideo_VidParam oTiming = {};
        Must(apszWords.size() == TIMING_VALUES && !ReadVideoTimings(apszWords.data(), oTiming));
        const auto ooMode = MakeMode(oTiming);
        Must(ooMode && std::any_of(aoModes.begin(), aoModes.end(), [&](const auto& o) {
                 return ExpressMode(o) && AreSame(o, *ooMode) && ooMode->flags != 0;
             }));
        Must(!DescribeMode(*ooMode).empty());
    }
    return 0;
}
