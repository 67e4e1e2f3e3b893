// The timing of an output as the kernel's mode setting takes it, and as a line of text.
#ifndef DISPLAY_MODE_H
#define DISPLAY_MODE_H

#include <optional>
#include <string>

#include <xf86drmMode.h>

#include "Tavrin.h"

namespace SoftwareBoard::Display
{
// Makes the kernel's mode. Lines are counted over both fields of an interlaced picture, as the kernel counts them. Returns
// nothing if a sum exceeds the kernel's 16 bits, or if the active width or height is 0.
std::optional<drmModeModeInfo> MakeMode(const tagTVideo_VidParam& roVidParam);

// The name and the rate as modetest takes them after -s, then the timing as modetest lists it.
std::string DescribeMode(const drmModeModeInfo& roMode);
}

#endif
