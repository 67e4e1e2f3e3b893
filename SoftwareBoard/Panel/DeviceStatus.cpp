#include "DeviceStatus.h"

#include <fstream>

namespace SoftwareBoard::Panel
{
namespace
{
// The process that holds the output; nothing if none does. Its name is "?" if the system does not know it.
std::optional<SHolder> FindHolder(const Board& roBoard, KUINT32 uiDevice, KUINT32 uiOutput, KINT32 iHolderPid)
{
    if (!roBoard.m_oLocks.IsOutputHeldByAnother(uiDevice, uiOutput))
        return std::nullopt;
    std::string strName = "?";
    std::getline(std::ifstream("/proc/" + std::to_string(iHolderPid) + "/comm"), strName);
    return SHolder{iHolderPid, MakePrintable(strName)};
}
}

SDeviceStatus ReadDeviceStatus(const Transaction& roTransaction, const Board& roBoard, KUINT32 uiDevice)
{
    const SDeviceRecord oDevice = roBoard.m_oState.ReadDevice(uiDevice);
    SDeviceStatus       oStatus;
    oStatus.aoFpgas.assign(oDevice.aoFpgas.begin(), oDevice.aoFpgas.begin() + oDevice.uiFpgaCount);
    oStatus.uiProgressBarRunning = roBoard.m_oState.ReadRegister(uiDevice, REG_PROGRESS_BAR_RUNNING);
    oStatus.uiProgress           = roBoard.m_oState.ReadRegister(uiDevice, REG_PROGRESS_UPDATE);
    oStatus.bDisplayed           = roBoard.m_oLocks.IsDeviceServedByAnother(uiDevice);
    for (KUINT32 uiOutput = 0; uiOutput < oDevice.uiOutputCount; ++uiOutput)
    {
        SOutputStatus oOutput{roBoard.m_oState.ReadOutput(roTransaction, uiDevice, uiOutput), std::nullopt,
                              ReadDisplayStatus(roTransaction, roBoard, uiDevice, uiOutput)};
        if (oOutput.oRecord.bEnabled == TRUE)
            oOutput.ooHolder = FindHolder(roBoard, uiDevice, uiOutput, oOutput.oRecord.iHolderPid);
        oStatus.aoOutputs.push_back(std::move(oOutput));
    }
    return oStatus;
}

std::string DescribeOutput(const SOutputStatus& roOutput)
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
