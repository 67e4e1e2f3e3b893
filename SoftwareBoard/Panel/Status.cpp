#include <algorithm>
#include <cstdio>
#include <fstream>

#include "DescribeDisplay.h"
#include "Panel.h"

using namespace SoftwareBoard;

namespace Panel
{
namespace
{
// The process that holds the output, as far as the system still knows it by name.
std::string DescribeHolder(const Board& roBoard, KUINT32 uiDevice, KUINT32 uiOutput, KINT32 iHolderPid)
{
    if (!roBoard.m_oLocks.IsOutputHeldByAnother(uiDevice, uiOutput))
        return "nobody";
    std::string strName = "?";
    std::getline(std::ifstream("/proc/" + std::to_string(iHolderPid) + "/comm"), strName);
    // Its owner chose the name: none of it may command the terminal.
    std::replace_if(
        strName.begin(), strName.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return std::to_string(iHolderPid) + " (" + strName + ")";
}

void PrintOutput(const Board& roBoard, KUINT32 uiDevice, KUINT32 uiOutput)
{
    const BoardLocks::Transaction oTransaction(roBoard.m_oLocks);
    const SOutputRecord           oOutput    = roBoard.m_oState.ReadOutput(uiDevice, uiOutput);
    const std::string             strDisplay = DescribeDisplay(roBoard, uiDevice, uiOutput);
    if (oOutput.bEnabled == FALSE)
        std::printf("  output %u: off", uiOutput);
    else
        std::printf("  output %u: %ux%u, %u Hz, held by %s", uiOutput, oOutput.oVidParam.uiHActive,
                    oOutput.oVidParam.uiVActive, oOutput.oVidParam.uiVRate_Hz,
                    DescribeHolder(roBoard, uiDevice, uiOutput, oOutput.iHolderPid).c_str());
    std::printf(strDisplay.empty() ? "\n" : ", %s\n", strDisplay.c_str());
}

void PrintDevice(const Board& roBoard, KUINT32 uiDevice)
{
    const SDeviceRecord oDevice = roBoard.m_oState.ReadDevice(uiDevice);
    std::printf("device %u\n", uiDevice);
    for (KUINT32 uiFpga = 0; uiFpga < oDevice.uiFpgaCount; ++uiFpga)
    {
        const tagTBoard_FpgaInfo& roFpga = oDevice.aoFpgas[uiFpga];
        std::printf("  %s: device code 0x%04x, version %u.%u.%u, address 0x%02x, vendor 0x%04x\n", roFpga.szName,
                    roFpga.ui16DevID, roFpga.uiVersionMajor, roFpga.uiVersionMinor, roFpga.uiVersionBuild,
                    roFpga.uiI2cAddress, roFpga.ui16VendorID);
    }
    const KUINT32 uiProgress = roBoard.m_oState.ReadRegister(uiDevice, uiProgressReg);
    std::printf("  register %u (progress bar running): 0x%08x\n", uiProgressBarRunningReg,
                roBoard.m_oState.ReadRegister(uiDevice, uiProgressBarRunningReg));
    std::printf("  register %u (progress): 0x%08x (%u %%)\n", uiProgressReg, uiProgress, uiProgress & 0xFF);
    for (KUINT32 uiOutput = 0; uiOutput < oDevice.uiOutputCount; ++uiOutput)
        PrintOutput(roBoard, uiDevice, uiOutput);
}
}

Action AddStatus(CLI::App&, const PassedOn&)
{
    return [] {
        const Board   oBoard        = Board::Open();
        const KUINT32 uiDeviceCount = oBoard.m_oState.GetDeviceCount();
        std::printf("board %s\n", oBoard.m_oFolder.GetPath().c_str());
        for (KUINT32 uiDevice = 0; uiDevice < uiDeviceCount; ++uiDevice)
            PrintDevice(oBoard, uiDevice);
    };
}
}
