// The display process: keeps a card showing what the outputs of one device of the board show, and tells the board what
// became of each. It is no client of the board: a new one may be made underneath, which it follows.
//
// While it serves, it holds the device's display lock, by which the library knows that an enable has to wait for a verdict;
// with the process the lock goes, and the outputs are outputs in software again.
#ifndef DISPLAY_SERVER_H
#define DISPLAY_SERVER_H

#include "Board.h"
#include "BoardWatch.h"
#include "DrawingProcess.h"
#include "HotPlug.h"
#include "Scanout.h"

namespace SoftwareBoard::Display
{
struct SDisplayPlan
{
    std::string              strCard;      // empty: the first with mode setting
    std::vector<std::string> oConnectors;  // empty: those that are connected, in the card's order
    KUINT32                  uiDevice = 0;
    bool                     bLegacy  = false;
};

class DisplayServer
{
public:
    explicit DisplayServer(const SDisplayPlan& roPlan);
    ~DisplayServer();

    // Until a signal that ends processes comes.
    void Serve();

private:
    // A picture that outputs show, and who draws it.
    struct SFollowed
    {
        SFollowed(const SOutputRecord& roOutput, FileDescriptor oPixels);

        void Update();

        Picture        oPicture;
        DrawingProcess oDrawing;
        std::string    strTrouble;  // why it cannot be read any more
    };

    struct SOutput
    {
        bool                       bTaken       = false;
        KUINT32                    uiGeneration = 0;
        uint32_t                   uiConnector  = 0;
        std::string                strTrouble;  // why what it shows does not follow the buffer
        std::shared_ptr<SFollowed> poFollowed;
        std::unique_ptr<Scanout>   poScanout;
    };

    void                       OpenBoard();
    void                       FollowBoard();
    void                       FollowPictures();
    void                       TakeUp(KUINT32 uiOutput);
    std::string                Light(KUINT32 uiOutput, const SOutputRecord& roRecord, FileDescriptor oPixels,
                                     const SConnector& roConnector);
    void                       Darken(SOutput& roOutput) const;
    std::shared_ptr<SFollowed> Follow(const SOutputRecord& roRecord, FileDescriptor oPixels) const;
    std::vector<uint32_t>      FindTaken(const SOutput& roButOf) const;
    void                       Assign();
    void                       SetPace();
    void                       Say(KUINT32 uiOutput, EVerdict eVerdict, const std::string& strText);
    const SConnector*          FindConnector(uint32_t uiId) const;

    const SDisplayPlan        m_oPlan;
    Card                      m_oCard;
    HotPlug                   m_oHotPlug;
    std::optional<Board>      m_ooBoard;
    std::optional<BoardWatch> m_ooWatch;
    std::vector<SConnector>   m_oConnectors;
    std::vector<SOutput>      m_oOutputs;
    FileDescriptor            m_oSignals;
    FileDescriptor            m_oTimer;
    uint64_t                  m_uiPeriodNs = 0;
};

// Cards, connectors, formats, and which output each would show, on standard output.
void ListDisplays(const SDisplayPlan& roPlan);
}

#endif
