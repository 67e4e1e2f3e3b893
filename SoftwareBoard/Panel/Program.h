// A program that consists of commands, such as tavrin-board: a command is a row of its table and a file of its own.
//
// A command adds its options to the command line, and returns what it does once the command line has been read. It throws
// BoardError with what a person should read on failure.
#ifndef PROGRAM_H
#define PROGRAM_H

#include <CLI/CLI.hpp>

#include <functional>
#include <span>
#include <vector>

namespace SoftwareBoard::Panel
{
// The words after "--", which the command line's parser never sees; null after the last, as exec takes them.
using PassedOn = std::vector<char*>;

using Action = std::function<void()>;

// What the help says of a command.
struct SCommandText
{
    const char* pszName;
    const char* pszHelp;
    const char* pszExample;
    bool        bPassesOn     = false;  // takes words after "--"
    bool        bEndsBySignal = false;  // SIGINT and SIGTERM end it with status 0, from its first moment on
};

// The commands of tavrin-board-viewer, which tavrin-board runs in its place.
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
    Action (*pfAdd)(CLI::App& roCommand, const PassedOn& roPassedOn);  // null: pszProgram carries it out
    const char* pszProgram = nullptr;
};

// Runs the command that the arguments name. Returns the exit status of the program: 0, 1 when the command failed, 2 for a
// usage error, or that of a child that failed. Errors go to standard error.
int RunProgram(int argc, char* argv[], std::span<const SCommand> oCommands);

// Thrown when a child program failed and has printed why; the program ends with its status.
struct EndedWithStatus
{
    int iStatus;
};
}

#endif
