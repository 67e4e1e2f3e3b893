// A program that consists of commands, such as tavrin-board. A command is a row in its table and a file of its own.
//
// A command adds its options to the command line and returns its action. The action runs after the command line was read. It
// throws BoardError on failure.
#ifndef PROGRAM_H
#define PROGRAM_H

#include <functional>
#include <span>
#include <vector>

#include <CLI/CLI.hpp>

namespace SoftwareBoard::Panel
{
// The words after "--", which the parser of the command line does not see. The last element is null, as exec needs it.
using PassedOn = std::vector<char*>;

using Action = std::function<void()>;

// What the help says about a command.
struct SCommandText
{
    const char* pszName;
    const char* pszHelp;
    const char* pszExample;
    bool        bPassesOn     = false;  // takes words after "--"
    bool        bEndsBySignal = false;  // SIGINT and SIGTERM end it with status 0, from its start on
};

// The commands of tavrin-board-viewer. tavrin-board executes that program to carry them out.
inline constexpr SCommandText WATCH_TEXT = {
    .pszName       = "watch",
    .pszHelp       = "Show the outputs live: in the terminal, in a window, or as plain lines",
    .pszExample    = "tavrin-board watch\n  tavrin-board watch --window",
    .bEndsBySignal = true,
};
inline constexpr SCommandText PREVIEW_TEXT = {
    .pszName    = "preview",
    .pszHelp    = "Show what the tool would show: tavrin-board preview FILE.png [OPTIONS] -- ARGUMENTS",
    .pszExample = "tavrin-board preview sheet.png --at 10 --at 90 -- -i background.png -p 192 560 832 584",
    .bPassesOn  = true,
};

struct SCommand
{
    SCommandText oText;
    Action (*pfnAdd)(CLI::App& roCommand, const PassedOn& roPassedOn);  // null if pszProgram carries it out
    const char* pszProgram = nullptr;
};

// Runs the command that the arguments name. Prints errors to standard error. Returns the exit status of the program: 0, 1 if
// the command failed, 2 for a usage error, or the status of a child program that failed.
int RunProgram(int argc, char* argv[], std::span<const SCommand> oCommands);

// Thrown when a child program failed and has printed why. RunProgram returns its status.
struct EndedWithStatus
{
    int iStatus;
};
}

#endif
