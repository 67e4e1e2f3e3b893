#include "Utf8Text.h"

#include <nlohmann/json.hpp>

namespace SoftwareBoard::Recorder
{
std::string ToUtf8(std::string_view svBytes, bool& rbBytes)
{
    std::string strText(svBytes);
    try
    {
        (void)nlohmann::json(strText).dump();
        return strText;
    }
    catch (const nlohmann::json::exception&)
    {
        rbBytes = true;
    }
    strText.clear();
    for (const char c : svBytes)
    {
        const auto ui = static_cast<unsigned char>(c);
        if (ui >= 0x80)
            strText += static_cast<char>(0xC0 | ui >> 6);
        strText += static_cast<char>(ui < 0x80 ? ui : 0x80 | (ui & 0x3F));
    }
    return strText;
}

std::string FromUtf8(std::string_view svText)
{
    std::string strBytes;
    for (size_t ui = 0; ui < svText.size(); ++ui)
    {
        const auto cLead = static_cast<unsigned char>(svText[ui]);
        if (cLead >= 0x80 && ui + 1 < svText.size())
            strBytes += static_cast<char>((cLead & 0x03) << 6 | (svText[++ui] & 0x3F));
        else
            strBytes += svText[ui];
    }
    return strBytes;
}
}
