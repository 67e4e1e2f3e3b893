// The front panel's subcommands: each is one file and one row of the table in Main.cpp. A subcommand adds its options to the
// command line and gives back what it does once that has been read; it throws what a person should read on failure.
#ifndef PANEL_H
#define PANEL_H

#include <CLI/CLI.hpp>

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "Board.h"

namespace Panel
{
// What stood after "--", untouched; null after the last, as exec takes it.
using PassedOn = std::vector<char*>;

using Action = std::function<void()>;

// Thrown past the destructors by a command whose work another program failed at, after that has said why.
struct EndedWithStatus
{
    int iStatus;
};

Action AddCreate(CLI::App& roCommand, const PassedOn& roPassedOn);
Action AddDisplay(CLI::App& roCommand, const PassedOn& roPassedOn);  // only where libdrm is
Action AddPreview(CLI::App& roCommand, const PassedOn& roPassedOn);
Action AddProgress(CLI::App& roCommand, const PassedOn& roPassedOn);
Action AddRun(CLI::App& roCommand, const PassedOn& roPassedOn);
Action AddSnapshot(CLI::App& roCommand, const PassedOn& roPassedOn);
Action AddStatus(CLI::App& roCommand, const PassedOn& roPassedOn);
Action AddWatch(CLI::App& roCommand, const PassedOn& roPassedOn);

// All of the text, digits only (with 0x before them if they are hexadecimal and the writer likes it), at most uiMax.
std::optional<KUINT32> ParseNumber(std::string_view svText, int iBase, KUINT32 uiMax);

// The decimal number that an option was given, or a usage error.
KUINT32 TakeNumber(const std::string& strName, const std::string& strText, KUINT32 uiMin, KUINT32 uiMax);

// An option or positional that takes a decimal number and nothing else; anything else is a usage error.
CLI::Option* AddNumber(CLI::App& roCommand, const std::string& strName, KUINT32& ruiValue, KUINT32 uiMin, KUINT32 uiMax,
                       const std::string& strHelp);

// The required PNG file that a command writes; "-" is standard output, unless that is a terminal. A name that is another
// format's is a usage error.
CLI::Option* AddPngFile(CLI::App& roCommand, std::string& rstrPath, bool bStandardOutput, const std::string& strHelp);

// Which device a subcommand is about.
CLI::Option* AddDevice(CLI::App& roCommand, KUINT32& ruiDevice);
}

#endif
