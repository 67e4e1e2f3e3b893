// What is wrong with a command line, in words that name the wrong word and, where one is near, the right one.
#ifndef USAGE_H
#define USAGE_H

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace SoftwareBoard::Panel
{
// "; the nearest is 'status'". Unless bHoweverFar is set, nothing when no candidate is near.
std::string SuggestNearest(const std::string& strWord, const std::vector<std::string>& roCandidates, bool bHoweverFar);

// Why the parser refused the command line. pszPassingOn is an example of the command where it passes on what stands behind
// "--" and that is missing, otherwise null.
std::string ExplainRefusal(const CLI::App& roPanel, const CLI::ParseError& roError, const char* pszPassingOn);
}

#endif
