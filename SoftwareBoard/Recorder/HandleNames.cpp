#include "HandleNames.h"

#include <algorithm>
#include <charconv>

namespace SoftwareBoard::Recorder
{
namespace
{
constexpr std::string_view HANDLE_WORDS[] = {"device ", "buffer ", "output "};
}

std::string HandleNames::NameOf(EHandle eHandle, KUINT64 uiHandle)
{
    if (uiHandle == 0)
        return "null";
    const auto [i, bNew] = m_oNames.try_emplace({eHandle, uiHandle});
    if (bNew)
        i->second.uiNumber = ++m_auiLast[static_cast<size_t>(eHandle)];
    return '"' + std::string(HANDLE_WORDS[static_cast<size_t>(eHandle)]) + std::to_string(i->second.uiNumber) + '"';
}

std::string HandleNames::NameReturned(EHandle eHandle, KUINT64 uiHandle)
{
    if (const auto i = m_oNames.find({eHandle, uiHandle}); i != m_oNames.end() && i->second.bEnded)
        m_oNames.erase(i);
    return NameOf(eHandle, uiHandle);
}

void HandleNames::End(EHandle eHandle, KUINT64 uiHandle)
{
    if (const auto i = m_oNames.find({eHandle, uiHandle}); i != m_oNames.end())
        i->second.bEnded = true;
}

void HandleNames::Learn(EHandle eHandle, KUINT64 uiHandle, KUINT32 uiNumber)
{
    m_oNames[{eHandle, uiHandle}] = {uiNumber, false};
    KUINT32& ruiLast              = m_auiLast[static_cast<size_t>(eHandle)];
    ruiLast                       = std::max(ruiLast, uiNumber);
}

std::optional<KUINT32> HandleNames::NumberIn(EHandle eHandle, const Json& roName)
{
    const std::string_view svWord   = HANDLE_WORDS[static_cast<size_t>(eHandle)];
    const std::string      strName  = roName.is_string() ? roName.get<std::string>() : "";
    const char* const      pszEnd   = strName.data() + strName.size();
    KUINT32                uiNumber = 0;
    if (!strName.starts_with(svWord))
        return std::nullopt;
    const auto oResult = std::from_chars(strName.data() + svWord.size(), pszEnd, uiNumber);
    return oResult.ec == std::errc() && oResult.ptr == pszEnd && uiNumber != 0 ? std::optional(uiNumber) : std::nullopt;
}
}
