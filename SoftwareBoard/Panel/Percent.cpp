#include "Percent.h"

#include "Options.h"

namespace SoftwareBoard::Panel
{
namespace
{
constexpr char DIGITS[] = "0123456789";

// A longer line loses its beginning. So a stream without an end of line takes no memory.
constexpr size_t MAX_LINE = 4096;

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

// Letters, also those of other alphabets in UTF-8, digits, and the underscore.
bool IsOfWord(char c)
{
    return IsDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || (c & 0x80) != 0;
}

bool IsJoint(char c)
{
    return c == '.' || c == ',' || c == '-' || c == '/';
}

// Whether the text begins with a percent sign, with or without a space before it.
bool IsPercentSign(std::string_view svText)
{
    for (const std::string_view svSpace : {" ", "\u00A0", "\u202F"})
    {
        if (svText.starts_with(svSpace))
            svText.remove_prefix(svSpace.size());
    }
    return svText.starts_with('%');
}
}

std::optional<KUINT32> ParsePercent(std::string_view svText)
{
    if (svText.ends_with('%'))
        svText.remove_suffix(1);
    const size_t     uiPoint    = svText.find_first_of(".,");
    std::string_view svDecimals = "0";
    if (uiPoint != std::string_view::npos)
    {
        svDecimals = svText.substr(uiPoint + 1);
        svText     = svText.substr(0, uiPoint);
    }
    const auto ouiWhole  = ParseNumber(svText, 10, 100);
    const bool bDecimals = !svDecimals.empty() && svDecimals.find_first_not_of(DIGITS) == std::string_view::npos;
    const bool bOver     = ouiWhole == 100u && svDecimals.find_first_not_of('0') != std::string_view::npos;
    return bDecimals && !bOver ? ouiWhole : std::nullopt;
}

std::optional<KUINT32> FindPercent(std::string_view svLine)
{
    const auto             fAt = [&](size_t uiAt) { return uiAt < svLine.size() ? svLine[uiAt] : ' '; };
    std::optional<KUINT32> ouiFound;
    for (size_t uiBegin = svLine.find_first_of(DIGITS); uiBegin != std::string_view::npos;)
    {
        // The digits, and the points and commas between them.
        size_t uiEnd = uiBegin + 1;
        while (IsDigit(fAt(uiEnd)) || ((fAt(uiEnd) == '.' || fAt(uiEnd) == ',') && IsDigit(fAt(uiEnd + 1))))
            ++uiEnd;
        const bool bJoined = IsOfWord(fAt(uiBegin - 1)) || fAt(uiBegin - 1) == '-' ||
                             (IsJoint(fAt(uiBegin - 1)) && IsOfWord(fAt(uiBegin - 2))) || IsOfWord(fAt(uiEnd)) ||
                             (IsJoint(fAt(uiEnd)) && IsOfWord(fAt(uiEnd + 1)));
        const bool bAlone = IsPercentSign(svLine.substr(uiEnd)) || !bJoined;
        if (const auto ouiPercent = ParsePercent(svLine.substr(uiBegin, uiEnd - uiBegin)); bAlone && ouiPercent)
            ouiFound = ouiPercent;
        uiBegin = svLine.find_first_of(DIGITS, uiEnd);
    }
    return ouiFound;
}

std::optional<KUINT32> PercentReader::Take(std::string_view svRead)
{
    std::optional<KUINT32> ouiFound;
    for (const char c : svRead)
    {
        if (c == '\n' || c == '\r')
        {
            if (const auto ouiPercent = FindPercent(m_strLine))
                ouiFound = ouiPercent;
            m_strLine.clear();
            continue;
        }
        if (m_strLine.size() == MAX_LINE)
            m_strLine.erase(0, MAX_LINE / 2);
        m_strLine.push_back(c);
    }
    return ouiFound;
}
}
