// On which real display an output is shown, in words.
#ifndef DESCRIBE_DISPLAY_H
#define DESCRIBE_DISPLAY_H

#include <string>

#include "Board.h"

namespace Panel
{
// "shown on HDMI-A-1", "dark on HDMI-A-1" for an output that is off, "not shown: " and why, "not shown yet"; empty when no
// display process serves the device. The caller is in a transaction.
std::string DescribeDisplay(const SoftwareBoard::Board& roBoard, KUINT32 uiDevice, KUINT32 uiOutput);
}

#endif
