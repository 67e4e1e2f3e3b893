#include "DisplayMode.h"

#include <algorithm>
#include <cstdio>

#include "Timing.h"

namespace SoftwareBoard::Display
{
namespace
{
// Sets where the four parts of one direction end. Returns false if the active part is empty or the sum exceeds 16 bits.
bool SetEdges(const KUINT32 (&auiLengths)[4], uint16_t* const (&apuiEdges)[4])
{
    KUINT64 uiEdge = 0;
    for (size_t uiPart = 0; uiPart < 4; ++uiPart)
    {
        uiEdge += auiLengths[uiPart];
        *apuiEdges[uiPart] = static_cast<uint16_t>(uiEdge);
    }
    return auiLengths[0] != 0 && uiEdge <= 0xFFFF;
}
}

std::optional<drmModeModeInfo> MakeMode(const tagTVideo_VidParam& ro)
{
    drmModeModeInfo oMode = {};
    if (!SetEdges({ro.uiHActive, ro.uiHFPorch, ro.uiHSync, ro.uiHBPorch},
                  {&oMode.hdisplay, &oMode.hsync_start, &oMode.hsync_end, &oMode.htotal}) ||
        !SetEdges({ro.uiVActive, ro.uiVFPorch, ro.uiVSync, ro.uiVBPorch},
                  {&oMode.vdisplay, &oMode.vsync_start, &oMode.vsync_end, &oMode.vtotal}))
        return std::nullopt;
    oMode.clock    = ro.uiPixelClock_kHz;
    oMode.vrefresh = ro.uiVRate_Hz;
    oMode.type     = DRM_MODE_TYPE_USERDEF;
    oMode.flags |= ro.bHorizontalSyncPositive ? DRM_MODE_FLAG_PHSYNC : DRM_MODE_FLAG_NHSYNC;
    oMode.flags |= ro.bVerticalSyncPositive ? DRM_MODE_FLAG_PVSYNC : DRM_MODE_FLAG_NVSYNC;
    if (ro.bInterlaced)
        oMode.flags |= DRM_MODE_FLAG_INTERLACE;
    std::snprintf(oMode.name, sizeof(oMode.name), "%ux%u%s", oMode.hdisplay, oMode.vdisplay, ro.bInterlaced ? "i" : "");
    return oMode;
}

std::optional<tagTVideo_VidParam> ExpressMode(const drmModeModeInfo& ro)
{
    constexpr uint32_t uiExpressed =
        DRM_MODE_FLAG_PHSYNC | DRM_MODE_FLAG_NHSYNC | DRM_MODE_FLAG_PVSYNC | DRM_MODE_FLAG_NVSYNC | DRM_MODE_FLAG_INTERLACE;
    const auto fAscend = [](std::initializer_list<uint16_t> aui) { return std::is_sorted(aui.begin(), aui.end()); };
    if ((ro.flags & ~uiExpressed) != 0 || ro.hskew != 0 || ro.vscan > 1 ||
        !fAscend({1, ro.hdisplay, ro.hsync_start, ro.hsync_end, ro.htotal}) ||
        !fAscend({1, ro.vdisplay, ro.vsync_start, ro.vsync_end, ro.vtotal}))
        return std::nullopt;
    const auto fLength = [](uint16_t uiFrom, uint16_t uiTo) { return KUINT32{uiTo} - uiFrom; };
    const auto fHas    = [&ro](uint32_t uiFlag) { return (ro.flags & uiFlag) != 0; };
    return tagTVideo_VidParam{
        .uiHActive               = ro.hdisplay,
        .uiVActive               = ro.vdisplay,
        .uiVRate_Hz              = ro.vrefresh,
        .uiHRate_kHz             = ro.clock / ro.htotal,
        .uiPixelClock_kHz        = ro.clock,
        .uiHFPorch               = fLength(ro.hdisplay, ro.hsync_start),
        .uiHSync                 = fLength(ro.hsync_start, ro.hsync_end),
        .uiHBPorch               = fLength(ro.hsync_end, ro.htotal),
        .uiVFPorch               = fLength(ro.vdisplay, ro.vsync_start),
        .uiVSync                 = fLength(ro.vsync_start, ro.vsync_end),
        .uiVBPorch               = fLength(ro.vsync_end, ro.vtotal),
        .bInterlaced             = fHas(DRM_MODE_FLAG_INTERLACE),
        .bHorizontalSyncPositive = fHas(DRM_MODE_FLAG_PHSYNC),
        .bVerticalSyncPositive   = fHas(DRM_MODE_FLAG_PVSYNC),
    };
}

std::vector<SListedTiming> ListTimings(std::span<const drmModeModeInfo> aoModes)
{
    std::vector<SListedTiming> aoListed;
    for (const drmModeModeInfo& roMode : aoModes)
    {
        const auto ooTiming = ExpressMode(roMode);
        if (!ooTiming)
            continue;
        const SListedTiming oNew{DescribeTiming(*ooTiming), (roMode.type & DRM_MODE_TYPE_PREFERRED) != 0};
        const auto          oSame = std::find_if(aoListed.begin(), aoListed.end(),
                                                 [&](const SListedTiming& ro) { return ro.strTiming == oNew.strTiming; });
        if (oSame == aoListed.end())
            aoListed.push_back(oNew);
        else
            oSame->bPreferred |= oNew.bPreferred;
    }
    return aoListed;
}

std::string DescribeMode(const drmModeModeInfo& ro)
{
    char szLine[200];
    std::snprintf(szLine, sizeof(szLine), "%s-%u (%u %u %u %u %u %u %u %u %u flags: %s%s, %s)", ro.name, ro.vrefresh,
                  ro.hdisplay, ro.hsync_start, ro.hsync_end, ro.htotal, ro.vdisplay, ro.vsync_start, ro.vsync_end, ro.vtotal,
                  ro.clock, (ro.flags & DRM_MODE_FLAG_INTERLACE) != 0 ? "interlace, " : "",
                  (ro.flags & DRM_MODE_FLAG_PHSYNC) != 0 ? "phsync" : "nhsync",
                  (ro.flags & DRM_MODE_FLAG_PVSYNC) != 0 ? "pvsync" : "nvsync");
    return szLine;
}
}
