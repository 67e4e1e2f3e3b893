#include "DisplayMode.h"

#include <cstdio>

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
