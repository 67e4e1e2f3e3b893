#include "DescribeDisplay.h"

using namespace SoftwareBoard;

namespace Panel
{
std::string DescribeDisplay(const Board& roBoard, KUINT32 uiDevice, KUINT32 uiOutput)
{
    if (!roBoard.m_oLocks.IsDeviceServedByAnother(uiDevice))
        return "";
    const SVerdict      oVerdict = roBoard.m_oState.ReadVerdict(uiDevice, uiOutput);
    const SOutputRecord oOutput  = roBoard.m_oState.ReadOutput(uiDevice, uiOutput);
    if (oVerdict.uiGeneration != oOutput.uiGeneration || oVerdict.eVerdict == EVerdict::Awaited)
        return "not shown yet";
    const char* const pszHow = oVerdict.eVerdict != EVerdict::Shown ? "not shown: "
                               : oOutput.bEnabled == TRUE           ? "shown on "
                                                                    : "dark on ";
    return std::string(pszHow) + oVerdict.acText.data();
}
}
