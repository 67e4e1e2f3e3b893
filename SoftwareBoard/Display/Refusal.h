// Why a display does not show what its output shows. The words follow the name of the connector, as in "refuses the mode".
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

// Throws the refusal of a call that failed. The calls answer 0, or the negative error number, or -1 and errno.
template <class TRefusal = Refusal> void CheckDrm(int iResult, const std::string& strWhat)
{
    if (iResult < 0)
        throw TRefusal(strWhat + ": the kernel says: " + std::generic_category().message(iResult == -1 ? errno : -iResult));
}
}

#endif
