// The command line of QelBoardCheck.
#ifndef ARGUMENTS_H
#define ARGUMENTS_H

#include <optional>

#include "Checks.h"

namespace BoardCheck
{
// Reads the command line. If nothing is to be checked, because it is wrong or asks for help, it prints what there is to say
// and returns the exit status.
std::optional<int> ReadArguments(int argc, char** argv, SRequest& roRequest);
}

#endif
