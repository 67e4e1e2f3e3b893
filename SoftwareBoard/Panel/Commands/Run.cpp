#include <unistd.h>

#include "BoardError.h"
#include "Commands.h"
#include "Installation.h"
#include "Options.h"

namespace SoftwareBoard::Panel
{
Action AddRun(CLI::App& roCommand, const PassedOn& roPassedOn)
{
    roCommand.parse_complete_callback([&roPassedOn] {
        if (roPassedOn.front() == nullptr)
            throw CLI::RequiredError("COMMAND after \"--\"");
    });
    return [&roPassedOn] {
        UseBoardLibrary();
        execvp(roPassedOn.front(), roPassedOn.data());
        ThrowSystemError(roPassedOn.front(), "exec");
    };
}
}
