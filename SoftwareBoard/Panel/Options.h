// Options that several commands take, and the values that they accept. A value that they refuse is a usage error.
#ifndef OPTIONS_H
#define OPTIONS_H

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include <CLI/CLI.hpp>

#include "Program.h"
#include "QelTypes.h"

namespace SoftwareBoard::Panel
{
// The value of a text that consists of digits and nothing else. Hexadecimal digits may follow "0x". Nothing for any other
// text and for a value above uiMax.
std::optional<KUINT32> ParseNumber(std::string_view svText, int iBase, KUINT32 uiMax);

// The value of the decimal number strText. Throws a usage error that names the option strName.
KUINT32 TakeNumber(const std::string& strName, const std::string& strText, KUINT32 uiMin, KUINT32 uiMax);

// The seconds, with or without decimals, that the option strName takes: 0 to 86400. Throws a usage error.
std::chrono::duration<double> TakeSeconds(const std::string& strName, const std::string& strText);

// An option or positional that takes a decimal number.
CLI::Option* AddNumber(CLI::App& roCommand, const std::string& strName, KUINT32& ruiValue, KUINT32 uiMin, KUINT32 uiMax,
                       const std::string& strHelp);

// Has an option take one value each time that it is named. What follows the value is not the option's.
void LetRepeat(CLI::Option* poOption);

// The required PNG file that a command writes. With bStandardOutput "-" is standard output, unless that is a terminal. The
// name of a JPEG is refused.
CLI::Option* AddPngFile(CLI::App& roCommand, std::string& rstrPath, bool bStandardOutput, const std::string& strHelp);

// Requires a command after "--".
void RequireCommand(CLI::App& roCommand, const PassedOn& roPassedOn);

// The device that a command is about.
CLI::Option* AddDevice(CLI::App& roCommand, KUINT32& ruiDevice);
}

#endif
