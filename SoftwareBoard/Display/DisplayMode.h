// The timing of an output as the kernel's mode setting takes it, and as a line of text.
#ifndef DISPLAY_MODE_H
#define DISPLAY_MODE_H

#include <optional>
#include <span>
#include <string>
#include <vector>

#include <xf86drmMode.h>

#include "Tavrin.h"

namespace SoftwareBoard::Display
{
// Makes the kernel's mode. Lines are counted over both fields of an interlaced picture, as the kernel counts them. Returns
// nothing if a sum exceeds the kernel's 16 bits, or if the active width or height is 0.
std::optional<drmModeModeInfo> MakeMode(const tagTVideo_VidParam& roVidParam);

// The reverse of MakeMode: the timing of which it makes this mode. A polarity that the mode leaves open counts as negative.
// Returns nothing for what a timing cannot express, such as doubled lines or pixels, or a picture for each eye.
std::optional<tagTVideo_VidParam> ExpressMode(const drmModeModeInfo& roMode);

struct SListedTiming
{
    std::string strTiming;  // the 19 values of the tool's -v
    bool        bPreferred;

    bool operator==(const SListedTiming&) const = default;
};

// The timings that express these modes, each once, in the order of the modes.
std::vector<SListedTiming> ListTimings(std::span<const drmModeModeInfo> aoModes);

// The name and the rate as modetest takes them after -s, then the timing as modetest lists it.
std::string DescribeMode(const drmModeModeInfo& roMode);
}

#endif
