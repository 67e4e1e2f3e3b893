// Calls in words.
#ifndef CALL_TEXT_H
#define CALL_TEXT_H

#include <string>

#include "HandleNames.h"

namespace SoftwareBoard::Recorder
{
// A call in words, such as "TBoard_RegRead(device 1, 7932, puiValue)", and what it filled in. Fields that are 0 are left
// out.
std::string DescribeCall(const SOperation& roOperation, const Json& roArguments);
std::string DescribeFilled(const Json& roFilled);

std::string DescribeSignal(int iSignal);

// Where a replay departs from its record.
std::string DescribeDeparture(KUINT64 uiLine, const std::string& strExpected, const std::string& strCame);
}

#endif
