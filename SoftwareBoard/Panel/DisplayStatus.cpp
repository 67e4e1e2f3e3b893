#include "DisplayStatus.h"

#include "Printable.h"

namespace SoftwareBoard::Panel
{
std::optional<SDisplayStatus> ReadDisplayStatus(const Transaction& roTransaction, const Board& roBoard, KUINT32 uiDevice,
                                                KUINT32 uiOutput)
{
    if (!roBoard.m_oLocks.IsDeviceServedByAnother(uiDevice))
        return std::nullopt;
    const SVerdict      oVerdict = roBoard.m_oState.ReadVerdict(roTransaction, uiDevice, uiOutput);
    const SOutputRecord oOutput  = roBoard.m_oState.ReadOutput(roTransaction, uiDevice, uiOutput);
    if (oVerdict.uiGeneration != oOutput.uiGeneration || oVerdict.eVerdict == EVerdict::Awaited)
        return SDisplayStatus{};
    SDisplayStatus oStatus{EDisplayState::Refused, MakePrintable(oVerdict.acConnector.data()),
                           MakePrintable(oVerdict.acReason.data())};
    if (oVerdict.eVerdict == EVerdict::Shown)
        oStatus.eState = oOutput.bEnabled == TRUE ? EDisplayState::Shown : EDisplayState::Dark;
    if (oVerdict.eVerdict == EVerdict::NoDisplay)
        oStatus.eState = EDisplayState::Dark;
    return oStatus;
}

const char* NameOf(EDisplayState eState)
{
    switch (eState)
    {
    case EDisplayState::Shown: return "shown";
    case EDisplayState::Dark: return "dark";
    case EDisplayState::Refused: return "refused";
    case EDisplayState::Awaited: break;
    }
    return "awaited";
}

std::string DescribeDisplay(const SDisplayStatus& roDisplay)
{
    const std::string& strConnector = roDisplay.strConnector;
    if (!roDisplay.strReason.empty())
        return "not shown: " + strConnector + (strConnector.empty() ? "" : " ") + roDisplay.strReason;
    if (roDisplay.eState == EDisplayState::Awaited)
        return "not shown yet";
    return std::string(NameOf(roDisplay.eState)) + " on " + strConnector;
}
}
