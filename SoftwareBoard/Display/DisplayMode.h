// An output's timings as the kernel's mode setting takes them, number by number, and as a line for people.
#ifndef DISPLAY_MODE_H
#define DISPLAY_MODE_H

#include <xf86drmMode.h>

#include <optional>
#include <string>

#include "Tavrin.h"

namespace SoftwareBoard::Display
{
// Lines are counted over both fields of an interlaced picture, as the kernel counts them. Nothing when a sum does not fit
// the kernel's 16 bits, or when the picture has no pixels.
std::optional<drmModeModeInfo> MakeMode(const tagTVideo_VidParam& roVidParam);

// Name and refresh as modetest's -s takes them, and the timings in the order and words in which it lists them.
std::string DescribeMode(const drmModeModeInfo& roMode);
}

#endif
