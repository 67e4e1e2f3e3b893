#include "BoardLook.h"

#include <fstream>

namespace SoftwareBoard::Panel
{
namespace
{
// The process that holds the output, as far as the system still knows it by name.
std::optional<SHolder> FindHolder(const Board& roBoard, KUINT32 uiDevice, KUINT32 uiOutput, KINT32 iHolderPid)
{
    if (!roBoard.m_oLocks.IsOutputHeldByAnother(uiDevice, uiOutput))
        return std::nullopt;
    std::string strName = "?";
    std::getline(std::ifstream("/proc/" + std::to_string(iHolderPid) + "/comm"), strName);
    return SHolder{iHolderPid, MakePrintable(strName)};
}
}

SDeviceLook LookAtDevice(const Board& roBoard, KUINT32 uiDevice)
{
    const SDeviceRecord oDevice = roBoard.m_oState.ReadDevice(uiDevice);
    SDeviceLook         oLook;
    oLook.aoFpgas.assign(oDevice.aoFpgas.begin(), oDevice.aoFpgas.begin() + oDevice.uiFpgaCount);
    oLook.uiProgressBarRunning = roBoard.m_oState.ReadRegister(uiDevice, uiProgressBarRunningReg);
    oLook.uiProgress           = roBoard.m_oState.ReadRegister(uiDevice, uiProgressReg);
    for (KUINT32 uiOutput = 0; uiOutput < oDevice.uiOutputCount; ++uiOutput)
    {
        SOutputLook oOutput{roBoard.m_oState.ReadOutput(uiDevice, uiOutput), std::nullopt,
                            LookAtDisplay(roBoard, uiDevice, uiOutput)};
        if (oOutput.oRecord.bEnabled == TRUE)
            oOutput.ooHolder = FindHolder(roBoard, uiDevice, uiOutput, oOutput.oRecord.iHolderPid);
        oLook.aoOutputs.push_back(std::move(oOutput));
    }
    return oLook;
}

std::string DescribeOutput(const SOutputLook& roOutput)
{
    const std::string strDisplay = roOutput.ooDisplay ? ", " + DescribeDisplay(*roOutput.ooDisplay) : "";
    if (roOutput.oRecord.bEnabled == FALSE)
        return "off" + strDisplay;
    const tagTVideo_VidParam& roVidParam = roOutput.oRecord.oVidParam;
    const auto&               roHolder   = roOutput.ooHolder;
    return std::to_string(roVidParam.uiHActive) + "x" + std::to_string(roVidParam.uiVActive) + ", " +
           std::to_string(roVidParam.uiVRate_Hz) + " Hz, held by " +
           (roHolder ? std::to_string(roHolder->iPid) + " (" + roHolder->strName + ")" : "nobody") + strDisplay;
}
}
