// The outputs on the machine's displays. The display process keeps a card showing what the outputs of one device show. It
// writes to the board whether each is shown. It is no client of the board, so the board can be replaced. It then follows the
// new one.
//
// While it serves, it holds the device's display lock. So the library knows that enabling an output has to wait for a
// verdict. When the process ends, the kernel releases the lock, and enabling an output no longer waits.
#ifndef DISPLAY_SERVER_H
#define DISPLAY_SERVER_H

#include "Board.h"
#include "ConnectorOutput.h"
#include "FileChanges.h"
#include "HotPlug.h"

namespace SoftwareBoard::Display
{
struct SDisplayPlan
{
    std::string              strCard;         // empty: the first card with mode setting
    std::vector<std::string> astrConnectors;  // empty: the connected ones, in the card's order
    KUINT32                  uiDevice     = 0;
    bool                     bLegacy      = false;
    bool                     bEveryOutput = false;  // refuse an output that has no display, even if another has one
};

class DisplayServer
{
public:
    // Takes the card, which the destructor gives back. Makes a board with an output for each display if there is none.
    // Throws BoardError on failure, CardHeldError if another program holds the card.
    explicit DisplayServer(const SDisplayPlan& roPlan);

    // Serves until the descriptor iEnd is readable. Tells a service manager that it serves as soon as every output has its
    // verdict.
    void ServeUntilReadable(int iEnd);

private:
    SBoardPlan PlanBoard() const;

    void OpenBoard();
    void Assign();
    bool IsAnyConnected() const;
    void SayWhatIsLeft();
    void FollowBoard();
    void TakeUp(KUINT32 uiOutput);
    void LeaveWithout(KUINT32 uiOutput, bool bEnabled);
    void Light(ConnectorOutput& roOutput, const SConnector& roConnector, Screen oScreen);
    void FollowScreens();
    void SetTimer();
    void Say(KUINT32 uiOutput, EVerdict eVerdict, const std::string& strConnector, const std::string& strReason = "");
    void Refuse(KUINT32 uiOutput, const std::string& strConnector, const std::string& strReason,
                const std::string& strDetail = "");
    const SConnector* FindConnector(uint32_t uiId) const;
    uint32_t          ChooseCrtc(const ConnectorOutput& roOutput, const SConnector& roConnector) const;

    std::shared_ptr<FollowedScreen> FindOrFollow(Screen oScreen) const;

    const SDisplayPlan           m_oPlan;
    std::optional<Board>         m_ooBoard;  // before the card, which is given back while the device is still served
    Card                         m_oCard;
    HotPlug                      m_oHotPlug;
    std::optional<FileChanges>   m_ooChanges;  // of the board's folder
    std::vector<SConnector>      m_aoConnectors;
    std::vector<ConnectorOutput> m_aoOutputs;
    std::string                  m_strLeft;  // the displays that no output is left for
    FileDescriptor               m_oTimer;
    uint64_t                     m_uiPeriodNs = 0;
};

// Prints cards, connectors, formats, and which output each connector would show.
void ListDisplays(const SDisplayPlan& roPlan);
}

#endif
