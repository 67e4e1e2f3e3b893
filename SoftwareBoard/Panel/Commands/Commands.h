// tavrin-board, the front panel: the commands that it carries out itself. Each has a file of its own.
#ifndef COMMANDS_H
#define COMMANDS_H

#include "Program.h"

namespace SoftwareBoard::Panel
{
Action AddCreate(CLI::App& roCommand, const PassedOn& roPassedOn);
Action AddDescribe(CLI::App& roCommand, const PassedOn& roPassedOn);
Action AddDisplay(CLI::App& roCommand, const PassedOn& roPassedOn);
Action AddProgress(CLI::App& roCommand, const PassedOn& roPassedOn);
Action AddRecord(CLI::App& roCommand, const PassedOn& roPassedOn);
Action AddReplay(CLI::App& roCommand, const PassedOn& roPassedOn);
Action AddRun(CLI::App& roCommand, const PassedOn& roPassedOn);
Action AddSnapshot(CLI::App& roCommand, const PassedOn& roPassedOn);
Action AddStatus(CLI::App& roCommand, const PassedOn& roPassedOn);
Action AddWait(CLI::App& roCommand, const PassedOn& roPassedOn);
}

#endif
