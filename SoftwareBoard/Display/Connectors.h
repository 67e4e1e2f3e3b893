// The connectors of a card, and which of them shows which output of the board.
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
    uint32_t    uiPossibleCrtcs;  // one bit for each CRTC of the card
    uint32_t    uiCrtc;           // the CRTC that feeds it now, or 0
};

// Returns the id of each output's connector, 0 for none. auiBefore holds the ids so far: an output keeps its connector until
// that is unplugged. Otherwise output n gets connector roNames[n]. If there are no names, it gets the first free one.
std::vector<uint32_t> AssignConnectors(const std::vector<SConnector>& roConnectors, const std::vector<std::string>& roNames,
                                       std::vector<uint32_t> auiBefore);
}

#endif
