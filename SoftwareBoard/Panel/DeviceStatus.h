// The state of one device at one moment, as plain values. status and watch show it.
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
    std::string strName;  // printable: the process chose it, and it must not control a terminal
};

struct SOutputStatus
{
    SOutputRecord                 oRecord;
    std::optional<SHolder>        ooHolder;
    std::optional<SDisplayStatus> ooDisplay;  // nothing if no display process serves the device
};

struct SDeviceStatus
{
    std::string                     strProblem;  // why the device cannot be read; empty if the rest is valid
    std::vector<tagTBoard_FpgaInfo> aoFpgas;
    KUINT32                         uiProgressBarRunning = 0;  // the whole register, like the next
    KUINT32                         uiProgress           = 0;
    bool                            bDisplayed           = false;  // a display process serves the device
    std::vector<SOutputStatus>      aoOutputs;

    KUINT32 GetProgressPct() const { return uiProgress & 0xFF; }
};

// Throws BoardError if the device cannot be read.
SDeviceStatus ReadDeviceStatus(const Transaction& roTransaction, const Board& roBoard, KUINT32 uiDevice);

// "off", or size, rate and holder. DescribeDisplay follows, if a display process serves the device.
std::string DescribeOutput(const SOutputStatus& roOutput);
}

#endif
