#include "Connectors.h"

#include <algorithm>

namespace SoftwareBoard::Display
{
std::vector<uint32_t> AssignConnectors(const std::vector<SConnector>& roConnectors, const std::vector<std::string>& roNames,
                                       std::vector<uint32_t> auiBefore)
{
    const auto fKeep = [&](uint32_t uiId) {
        return std::any_of(roConnectors.begin(), roConnectors.end(),
                           [&](const SConnector& ro) { return ro.uiId == uiId && ro.bConnected; });
    };
    std::replace_if(
        auiBefore.begin(), auiBefore.end(), [&](uint32_t uiId) { return !fKeep(uiId); }, 0);

    for (size_t uiOutput = 0; uiOutput < auiBefore.size(); ++uiOutput)
    {
        const auto fFits = [&](const SConnector& ro) {
            if (!roNames.empty())
                return ro.bConnected && uiOutput < roNames.size() && ro.strName == roNames[uiOutput];
            return ro.bConnected && std::find(auiBefore.begin(), auiBefore.end(), ro.uiId) == auiBefore.end();
        };
        const auto oFound = std::find_if(roConnectors.begin(), roConnectors.end(), fFits);
        if (auiBefore[uiOutput] == 0 && oFound != roConnectors.end())
            auiBefore[uiOutput] = oFound->uiId;
    }
    return auiBefore;
}
}
