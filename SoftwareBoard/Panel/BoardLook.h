// What a board says about itself at one moment, as plain values: what status and watch tell.
#ifndef BOARD_LOOK_H
#define BOARD_LOOK_H

#include <optional>
#include <string>
#include <vector>

#include "Board.h"
#include "DescribeDisplay.h"
#include "Printable.h"

namespace SoftwareBoard::Panel
{
struct SHolder
{
    KINT32      iPid = 0;
    std::string strName;  // printable: its owner chose it, and it must not command a terminal
};

struct SOutputLook
{
    SOutputRecord               oRecord;
    std::optional<SHolder>      ooHolder;
    std::optional<SDisplayLook> ooDisplay;  // nothing where no display process serves the device
};

struct SDeviceLook
{
    std::string                     strProblem;  // why its record cannot be believed, and then nothing else counts
    std::vector<tagTBoard_FpgaInfo> aoFpgas;
    KUINT32                         uiProgressBarRunning = 0;  // both registers as they stand
    KUINT32                         uiProgress           = 0;
    std::vector<SOutputLook>        aoOutputs;

    KUINT32 GetProgressPct() const { return uiProgress & 0xFF; }
};

// The caller is in a transaction.
SDeviceLook LookAtDevice(const Board& roBoard, KUINT32 uiDevice);

// "off", or size, rate and holder; then what real displays make of it.
std::string DescribeOutput(const SOutputLook& roOutput);
}

#endif
