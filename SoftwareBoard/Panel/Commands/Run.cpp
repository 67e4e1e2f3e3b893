#include <unistd.h>

#include "BoardError.h"
#include "Commands.h"
#include "Installation.h"
#include "Options.h"

namespace SoftwareBoard::Panel
{
Action AddRun(CLI::App& roCommand, const PassedOn& roPassedOn)
{
    RequireCommand(roCommand, roPassedOn);
    return [&roPassedOn] {
        UseBoardLibrary();
        execvp(roPassedOn.front(), roPassedOn.data());
        ThrowSystemError(roPassedOn.front(), "exec");
    };
}
}
