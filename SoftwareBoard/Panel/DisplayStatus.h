// On which real display an output is shown, as values and in words.
#ifndef DISPLAY_STATUS_H
#define DISPLAY_STATUS_H

#include <optional>
#include <string>

#include "Board.h"

namespace SoftwareBoard::Panel
{
enum class EDisplayState
{
    Shown,
    Dark,  // as Shown, of an output that is off
    Refused,
    Awaited,
};

struct SDisplayStatus
{
    EDisplayState eState = EDisplayState::Awaited;
    std::string   strConnector;  // empty when none is known
    std::string   strReason;     // of Refused; both printable
};

// Nothing when no display process serves the device.
std::optional<SDisplayStatus> ReadDisplayStatus(const Transaction& roTransaction, const Board& roBoard, KUINT32 uiDevice,
                                                KUINT32 uiOutput);

// The state for programs: "shown", "dark", "refused" or "awaited".
const char* NameOf(EDisplayState eState);

// "shown on HDMI-A-1", "dark on HDMI-A-1", "not shown: " and why, "not shown yet".
std::string DescribeDisplay(const SDisplayStatus& roDisplay);
}

#endif
