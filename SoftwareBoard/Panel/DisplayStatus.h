// On which real display an output is shown, as values and as text.
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
    Dark,  // the output is off, and so is its display; or it has none
    Refused,
    Awaited,
};

struct SDisplayStatus
{
    EDisplayState eState = EDisplayState::Awaited;
    std::string   strConnector;  // empty if none is known
    std::string   strReason;     // of Refused, and of Dark without a display; both texts are printable
};

// Returns nothing if no display process serves the device. Throws BoardError if the output cannot be read.
std::optional<SDisplayStatus> ReadDisplayStatus(const Transaction& roTransaction, const Board& roBoard, KUINT32 uiDevice,
                                                KUINT32 uiOutput);

// The state as one word: "shown", "dark", "refused" or "awaited".
const char* NameOf(EDisplayState eState);

// "shown on HDMI-A-1", "dark on HDMI-A-1", "not shown: " and why, or "not shown yet".
std::string DescribeDisplay(const SDisplayStatus& roDisplay);
}

#endif
