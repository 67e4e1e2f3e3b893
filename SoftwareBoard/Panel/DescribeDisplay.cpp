#include "DescribeDisplay.h"

#include <algorithm>
#include <cctype>

namespace SoftwareBoard::Panel
{
namespace
{
// Connectors are named as HDMI-A-1 and eDP-1 are.
bool IsConnectorName(const std::string& strWord)
{
    const auto   fIsDigit = [](unsigned char c) { return std::isdigit(c) != 0; };
    const auto   fIsPart  = [](unsigned char c) { return std::isalnum(c) != 0 || c == '-'; };
    const size_t uiNumber = strWord.rfind('-') + 1;  // 0 when there is no '-'
    return uiNumber > 1 && uiNumber < strWord.size() && std::all_of(strWord.begin(), strWord.end(), fIsPart) &&
           std::all_of(strWord.begin() + static_cast<std::ptrdiff_t>(uiNumber), strWord.end(), fIsDigit);
}
}

std::optional<SDisplayLook> LookAtDisplay(const Board& roBoard, KUINT32 uiDevice, KUINT32 uiOutput)
{
    if (!roBoard.m_oLocks.IsDeviceServedByAnother(uiDevice))
        return std::nullopt;
    const SVerdict      oVerdict = roBoard.m_oState.ReadVerdict(uiDevice, uiOutput);
    const SOutputRecord oOutput  = roBoard.m_oState.ReadOutput(uiDevice, uiOutput);
    const std::string   strText  = oVerdict.acText.data();
    if (oVerdict.uiGeneration != oOutput.uiGeneration || oVerdict.eVerdict == EVerdict::Awaited)
        return SDisplayLook{};
    if (oVerdict.eVerdict == EVerdict::Shown)
        return SDisplayLook{oOutput.bEnabled == TRUE ? EDisplayState::Shown : EDisplayState::Dark, strText, ""};
    const size_t uiSpace = strText.find(' ');
    if (uiSpace != std::string::npos && IsConnectorName(strText.substr(0, uiSpace)))
        return SDisplayLook{EDisplayState::Refused, strText.substr(0, uiSpace), strText.substr(uiSpace + 1)};
    return SDisplayLook{EDisplayState::Refused, "", strText};
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

std::string DescribeDisplay(const SDisplayLook& roDisplay)
{
    const std::string& strConnector = roDisplay.strConnector;
    switch (roDisplay.eState)
    {
    case EDisplayState::Shown: return "shown on " + strConnector;
    case EDisplayState::Dark: return "dark on " + strConnector;
    case EDisplayState::Refused:
        return "not shown: " + strConnector + (strConnector.empty() ? "" : " ") + roDisplay.strReason;
    case EDisplayState::Awaited: break;
    }
    return "not shown yet";
}
}
