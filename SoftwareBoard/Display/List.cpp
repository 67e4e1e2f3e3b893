// tavrin-board display --list
#include <algorithm>
#include <cstdio>

#include "BoardError.h"
#include "DisplayMode.h"
#include "DisplayServer.h"
#include "Printable.h"

namespace SoftwareBoard::Display
{
namespace
{
std::string NameFormats(const SPlane& roPlane)
{
    const SScanFormat* const poChosen = ChooseFormat(roPlane.auiFourCcs);
    std::string              strNames;
    for (const uint32_t uiFourCc : roPlane.auiFourCcs)
    {
        char szName[5];
        NameFourCc(uiFourCc, szName);
        strNames += std::string(" ") + szName + (poChosen != nullptr && poChosen->uiFourCc == uiFourCc ? "*" : "");
    }
    return strNames;
}

void ListModes(int iCard, uint32_t uiConnector)
{
    const DrmConnector poConnector(drmModeGetConnectorCurrent(iCard, uiConnector));
    if (poConnector == nullptr)
        return;
    for (const SListedTiming& ro : ListTimings({poConnector->modes, static_cast<size_t>(poConnector->count_modes)}))
        std::printf("    %c -v %s\n", ro.bPreferred ? '*' : ' ', MakePrintable(ro.strTiming).c_str());
}

void ListCard(const Card& roCard, const std::vector<std::string>& roNames)
{
    const std::vector<SConnector> aoConnectors = roCard.ReadConnectors();
    const std::vector<uint32_t>   auiShown     = AssignConnectors(aoConnectors, roNames, std::vector<uint32_t>(MAX_OUTPUTS));
    std::printf("card %s: %s\n", MakePrintable(roCard.GetPath()).c_str(), roCard.IsAtomic() ? "atomic" : "legacy");
    for (const SConnector& roConnector : aoConnectors)
    {
        const auto oFound = std::find(auiShown.begin(), auiShown.end(), roConnector.uiId);
        std::printf("  connector %s (%u): %s", MakePrintable(roConnector.strName).c_str(), roConnector.uiId,
                    roConnector.bConnected ? "connected" : "nothing connected");
        if (oFound != auiShown.end())
            std::printf(", shows output %td", oFound - auiShown.begin());
        std::printf("\n");
        ListModes(roCard.GetFd(), roConnector.uiId);
    }
    for (const SPlane& roPlane : roCard.GetPlanes())
        std::printf("  plane %u:%s\n", roPlane.uiId, MakePrintable(NameFormats(roPlane)).c_str());
}
}

void ListDisplays(const SDisplayPlan& roPlan)
{
    if (!roPlan.strCard.empty())
        return ListCard(Card::Open(roPlan.strCard), roPlan.astrConnectors);
    const std::vector<std::string> astrPaths = Card::FindPaths();
    if (astrPaths.empty())
        Card::Open("");  // throws: there is no card
    for (const std::string& strPath : astrPaths)
    {
        try
        {
            ListCard(Card::Open(strPath), roPlan.astrConnectors);
        }
        catch (const BoardError& roError)
        {
            std::printf("card %s\n", MakePrintable(roError.what()).c_str());  // the text begins with its path
        }
    }
}
}
