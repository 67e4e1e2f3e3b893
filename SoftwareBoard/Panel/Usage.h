// Says what is wrong with a command line. Names the wrong word and, if there is one like it, the right word.
#ifndef USAGE_H
#define USAGE_H

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace SoftwareBoard::Panel
{
// Returns "; the nearest is 'status'". Empty if no candidate is near, unless bHoweverFar is set.
std::string SuggestNearest(const std::string& strWord, const std::vector<std::string>& roCandidates, bool bHoweverFar);

// Says why the parser refused the command line. pszPassingOn is an example of the command if it needs a "--" and that is
// missing, otherwise null.
std::string ExplainRefusal(const CLI::App& roPanel, const CLI::ParseError& roError, const char* pszPassingOn);
}

#endif
