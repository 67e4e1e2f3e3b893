#include "Usage.h"

#include <algorithm>
#include <numeric>

namespace SoftwareBoard::Panel
{
namespace
{
// The number of letters to change, add, remove, or swap with a neighbour.
size_t CountMistakes(const std::string& strWord, const std::string& strMeant)
{
    std::vector<size_t> auiLast, auiRow, auiNext(strMeant.size() + 1);
    auiRow.resize(auiNext.size());
    std::iota(auiRow.begin(), auiRow.end(), size_t{0});
    for (size_t i = 1; i <= strWord.size(); ++i)
    {
        auiNext[0] = i;
        for (size_t j = 1; j < auiNext.size(); ++j)
        {
            const bool bSame = strWord[i - 1] == strMeant[j - 1];
            auiNext[j]       = std::min({auiRow[j] + 1, auiNext[j - 1] + 1, auiRow[j - 1] + (bSame ? 0 : 1)});
            if (i > 1 && j > 1 && strWord[i - 1] == strMeant[j - 2] && strWord[i - 2] == strMeant[j - 1])
                auiNext[j] = std::min(auiNext[j], auiLast[j - 2] + 1);
        }
        auiLast = std::exchange(auiRow, auiNext);
    }
    return auiRow.back();
}

std::vector<std::string> NameOptions(const CLI::App& roCommand)
{
    std::vector<std::string> astrNames;
    for (const CLI::Option* const poOption : roCommand.get_options())
        for (const std::string& strName : poOption->get_lnames())
            astrNames.push_back("--" + strName);
    return astrNames;
}

bool IsOption(const std::string& strWord)
{
    return strWord.size() > 1 && strWord[0] == '-';
}
}

std::string SuggestNearest(const std::string& strWord, const std::vector<std::string>& roCandidates, bool bHoweverFar)
{
    const std::string* poNearest = nullptr;
    size_t             uiFewest  = std::string::npos;
    for (const std::string& strCandidate : roCandidates)
    {
        const bool   bBegun = strWord.size() > 2 && strCandidate.starts_with(strWord);
        const size_t uiHere = bBegun ? 0 : CountMistakes(strWord, strCandidate);
        if ((bHoweverFar || uiHere * 3 <= strCandidate.size()) && uiHere < uiFewest)
        {
            poNearest = &strCandidate;
            uiFewest  = uiHere;
        }
    }
    return poNearest == nullptr ? "" : "; the nearest is '" + *poNearest + "'";
}

std::string ExplainRefusal(const CLI::App& roPanel, const CLI::ParseError& roError, const char* pszPassingOn)
{
    // A word that the parser does not know says more than the option or file that it then lacks.
    const std::vector<std::string> astrWords = roPanel.remaining(true);
    if (astrWords.empty())
        return roError.what();
    const auto        i           = std::find_if(astrWords.begin(), astrWords.end(), IsOption);
    const std::string strWord     = i != astrWords.end() ? *i : astrWords.front();
    const std::string strWrong    = IsOption(strWord) ? strWord.substr(0, strWord.find('=')) : strWord;
    const auto        apoCommands = roPanel.get_subcommands();
    const std::string strSuggested =
        SuggestNearest(strWrong, NameOptions(apoCommands.empty() ? roPanel : *apoCommands.front()), false);
    if (pszPassingOn != nullptr && strSuggested.empty())
        return "put \"--\" before '" + astrWords.front() + "', as in \"" + pszPassingOn + "\"";
    return (IsOption(strWrong) ? "there is no option '" + strWrong + "' here" : "'" + strWrong + "' is one word too many") +
           strSuggested;
}
}
