#include <unistd.h>

#include "BoardError.h"
#include "Library.h"
#include "Panel.h"

namespace Panel
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
        SoftwareBoard::ThrowSystemError(roPassedOn.front(), "exec");
    };
}
}
