#include "CallText.h"

#include <algorithm>
#include <cstring>

namespace SoftwareBoard::Recorder
{
namespace
{
std::string DescribeValue(std::string_view svName, const Json& roValue)
{
    if (roValue.is_string())
        return roValue.get<std::string>();
    if (!roValue.is_object())
        return roValue.dump();
    std::string strFields;
    for (const auto& [strName, roField] : roValue.items())
    {
        const bool bZero =
            roField == 0 || (roField.is_array() && std::ranges::all_of(roField, [](const Json& ro) { return ro == 0; }));
        if (!bZero)
            strFields += (strFields.empty() ? "" : " ") + strName + " " + DescribeValue(strName, roField);
    }
    return strFields.empty() ? std::string(svName) : "{" + strFields + "}";
}
}

std::string DescribeCall(const SOperation& roOperation, const Json& roArguments)
{
    std::string strCall(roOperation.svName);
    strCall += '(';
    for (const SParameter& roParameter : roOperation.Parameters())
        strCall +=
            (strCall.ends_with('(') ? "" : ", ") + DescribeValue(roParameter.svName, roArguments.at(roParameter.svName));
    return strCall + ")";
}

std::string DescribeFilled(const Json& roFilled)
{
    for (const auto& [strName, roValue] : roFilled.items())
        return strName + " " + DescribeValue(strName, roValue);
    return {};
}

std::string DescribeSignal(int iSignal)
{
    return "signal " + std::to_string(iSignal) + " (" + strsignal(iSignal) + ")";
}

std::string DescribeDeparture(KUINT64 uiLine, const std::string& strExpected, const std::string& strCame)
{
    return "line " + std::to_string(uiLine) + " of the record: expected " + strExpected + ", came " + strCame;
}
}
