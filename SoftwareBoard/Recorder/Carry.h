// Carries a call out, in the way of the recording or of the replaying library. Each defines it.
#ifndef CARRY_H
#define CARRY_H

#include <cstdlib>

#include "Operations.h"

namespace SoftwareBoard::Recorder
{
KUINT64 Carry(EOperation eOperation, const Words& roArguments);

// The value of an environment variable; empty if it is not set.
inline const char* Variable(const char* pszName)
{
    const char* const pszValue = std::getenv(pszName);
    return pszValue != nullptr ? pszValue : "";
}

// What an operation returns that could not be carried out.
inline KUINT64 FailureOf(const SOperation& roOperation)
{
    return roOperation.oResult.eKind == EKind::Status ? ToWord(TStatus_FAIL) : 0;
}
}

#endif
