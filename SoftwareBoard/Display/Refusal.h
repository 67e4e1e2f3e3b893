// Why a display does not show its output. The text is worded to follow the connector's name, such as "refuses the mode".
#ifndef REFUSAL_H
#define REFUSAL_H

#include <cerrno>
#include <string>
#include <system_error>

#include "BoardError.h"

namespace SoftwareBoard::Display
{
class Refusal : public BoardError
{
public:
    using BoardError::BoardError;
};

// The card has no memory left for another picture.
class NoMemoryOnCard : public Refusal
{
public:
    using Refusal::Refusal;
};

// Throws TRefusal if a call of libdrm failed. A call returns a negative error number, or -1 and sets errno.
template <class TRefusal = Refusal> void CheckDrm(int iResult, const std::string& strWhat)
{
    if (iResult < 0)
        throw TRefusal(strWhat + ": the kernel says: " + std::generic_category().message(iResult == -1 ? errno : -iResult));
}
}

#endif
