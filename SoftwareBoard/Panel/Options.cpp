#include "Options.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <charconv>

#include "BoardState.h"

namespace SoftwareBoard::Panel
{
std::optional<KUINT32> ParseNumber(std::string_view svText, int iBase, KUINT32 uiMax)
{
    if (iBase == 16 && (svText.starts_with("0x") || svText.starts_with("0X")))
        svText.remove_prefix(2);
    KUINT32           uiValue = 0;
    const char* const pszEnd  = svText.data() + svText.size();
    const auto        oResult = std::from_chars(svText.data(), pszEnd, uiValue, iBase);
    if (oResult.ec != std::errc() || oResult.ptr != pszEnd || uiValue > uiMax)
        return std::nullopt;
    return uiValue;
}

KUINT32 TakeNumber(const std::string& strName, const std::string& strText, KUINT32 uiMin, KUINT32 uiMax)
{
    const auto ouiValue = ParseNumber(strText, 10, uiMax);
    if (!ouiValue || *ouiValue < uiMin)
        throw CLI::ValidationError(strName, "'" + strText + "' is not a number from " + std::to_string(uiMin) + " to " +
                                                std::to_string(uiMax));
    return *ouiValue;
}

std::chrono::duration<double> TakeSeconds(const std::string& strName, const std::string& strText)
{
    constexpr double  MAX_SECONDS = 86400;
    double            fSeconds    = 0;
    const char* const pszEnd      = strText.data() + strText.size();
    const auto        oResult     = std::from_chars(strText.data(), pszEnd, fSeconds, std::chars_format::fixed);
    if (oResult.ec != std::errc() || oResult.ptr != pszEnd || !(fSeconds >= 0 && fSeconds <= MAX_SECONDS))
        throw CLI::ValidationError(strName, "'" + strText + "' is not a number of seconds from 0 to 86400");
    return std::chrono::duration<double>(fSeconds);
}

CLI::Option* AddNumber(CLI::App& roCommand, const std::string& strName, KUINT32& ruiValue, KUINT32 uiMin, KUINT32 uiMax,
                       const std::string& strHelp)
{
    const auto fTake = [&ruiValue, strName, uiMin, uiMax](const std::string& strText) {
        ruiValue = TakeNumber(strName, strText, uiMin, uiMax);
    };
    return roCommand.add_option_function<std::string>(strName, fTake, strHelp)->type_name("NUMBER");
}

void LetRepeat(CLI::Option* poOption)
{
    poOption->expected(1)->allow_extra_args(false)->take_all();
}

CLI::Option* AddPngFile(CLI::App& roCommand, std::string& rstrPath, bool bStandardOutput, const std::string& strHelp)
{
    const auto fTake = [&rstrPath, bStandardOutput](const std::string& strPath) {
        std::string strEnd = strPath.substr(strPath.rfind('.') + 1);
        std::transform(strEnd.begin(), strEnd.end(), strEnd.begin(), [](unsigned char c) { return std::tolower(c); });
        if (strEnd.size() < strPath.size() && (strEnd == "jpg" || strEnd == "jpeg"))
            throw CLI::ValidationError("FILE", "'" + strPath + "' names a JPEG, and what is written is a PNG");
        if (strPath == "-" && !bStandardOutput)
            throw CLI::ValidationError("FILE", "what the tool prints goes to standard output; name a file");
        if (strPath == "-" && isatty(STDOUT_FILENO) == 1)
            throw CLI::ValidationError("FILE", "a terminal takes no PNG; name a file, or send standard output to one");
        rstrPath = strPath;
    };
    return roCommand.add_option_function<std::string>("FILE", fTake, strHelp)->required();
}

void RequireCommand(CLI::App& roCommand, const PassedOn& roPassedOn)
{
    roCommand.parse_complete_callback([&roPassedOn] {
        if (roPassedOn.front() == nullptr)
            throw CLI::RequiredError("COMMAND after \"--\"");
    });
}

CLI::Option* AddDevice(CLI::App& roCommand, KUINT32& ruiDevice)
{
    return AddNumber(roCommand, "--device", ruiDevice, 0, MAX_DEVICES - 1, "Which device of the board, from 0 (default 0)");
}
}
