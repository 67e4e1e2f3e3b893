// A card's connectors, and which of them shows which output of the board.
#ifndef CONNECTORS_H
#define CONNECTORS_H

#include <cstdint>
#include <string>
#include <vector>

namespace SoftwareBoard::Display
{
struct SConnector
{
    uint32_t    uiId;
    std::string strName;  // as the kernel names it, such as HDMI-A-1
    bool        bConnected;
    uint32_t    uiPossibleCrtcs;  // a bit for each of the card's
    uint32_t    uiCrtc;           // the one that feeds it now, or 0
};

// For each output the id of its connector, 0 for none. Without names the n-th output has the n-th connected one, and keeps
// it until it is pulled, whatever comes and goes beside it; the names, in their order, fix it by hand.
std::vector<uint32_t> AssignConnectors(const std::vector<SConnector>& roConnectors, const std::vector<std::string>& roNames,
                                       std::vector<uint32_t> auiBefore);
}

#endif
