// What a board says about itself at one moment, as plain values: what status and watch tell.
#ifndef DEVICE_STATUS_H
#define DEVICE_STATUS_H

#include <optional>
#include <string>
#include <vector>

#include "Board.h"
#include "DisplayStatus.h"
#include "Printable.h"

namespace SoftwareBoard::Panel
{
struct SHolder
{
    KINT32      iPid = 0;
    std::string strName;  // printable: its owner chose it, and it must not command a terminal
};

struct SOutputStatus
{
    SOutputRecord                 oRecord;
    std::optional<SHolder>        ooHolder;
    std::optional<SDisplayStatus> ooDisplay;  // nothing where no display process serves the device
};

struct SDeviceStatus
{
    std::string                     strProblem;  // why its record cannot be believed, and then nothing else counts
    std::vector<tagTBoard_FpgaInfo> aoFpgas;
    KUINT32                         uiProgressBarRunning = 0;  // both registers as they stand
    KUINT32                         uiProgress           = 0;
    std::vector<SOutputStatus>      aoOutputs;

    KUINT32 GetProgressPct() const { return uiProgress & 0xFF; }
};

SDeviceStatus ReadDeviceStatus(const Transaction& roTransaction, const Board& roBoard, KUINT32 uiDevice);

// "off", or size, rate and holder; then what real displays make of it.
std::string DescribeOutput(const SOutputStatus& roOutput);
}

#endif
