#include "OutputChange.h"

#include <chrono>
#include <thread>

#include "BoardError.h"
#include "PixelFiles.h"

namespace SoftwareBoard::Library
{
namespace
{
// What the output shows from now on, held by this process while it shows something. Others see it change at once, with
// its holder; a failure leaves what was held before. The new generation, or nothing when another process holds it.
std::optional<KUINT32> Show(Client& roClient, const Transaction& roTransaction, const TVIDEOOUT_OBJECT& roOutput,
                            const SOutputRecord& roRecord)
{
    const bool bWasHeld = roClient.IsHolding(roOutput);
    if (!roClient.HoldOutput(roOutput))
        return std::nullopt;
    KUINT32 uiGeneration = 0;
    try
    {
        uiGeneration =
            roClient.OpenBoard().m_oState.WriteOutput(roTransaction, roOutput.uiDevice, roOutput.uiOutput, roRecord);
    }
    catch (...)
    {
        if (!bWasHeld)
            roClient.ReleaseOutput(roOutput);
        throw;
    }
    if (roRecord.bEnabled == FALSE)
        roClient.ReleaseOutput(roOutput);
    return uiGeneration;
}

// What an output shows before it is enabled anew, for the case that the display refuses. The lock keeps the pixels of a
// process that is gone from being swept meanwhile.
struct SBefore
{
    SBefore(const Board& roBoard, const Transaction& roTransaction, const TVIDEOOUT_OBJECT& roOutput, bool bHeld)
        : m_bHeld(bHeld)
    {
        try
        {
            m_oRecord = roBoard.m_oState.ReadOutput(roTransaction, roOutput.uiDevice, roOutput.uiOutput);
            if (m_oRecord.bEnabled == FALSE)
                return;
            m_oPixels = OpenPixelFile(roTransaction, roBoard.m_oFolder, m_oRecord.uiPixelFile);
            KeepPixelFile(m_oPixels);
        }
        catch (const BoardError&)
        {
            m_oRecord = SOutputRecord();  // damaged: nothing to go back to
        }
    }

    void ComeBack(Client& roClient, const Transaction& roTransaction, const TVIDEOOUT_OBJECT& roOutput) const
    {
        const bool bShows = m_oPixels && !m_oPixels.IsRemoved();
        Show(roClient, roTransaction, roOutput, bShows ? m_oRecord : SOutputRecord());
        if (!m_bHeld && roClient.IsHolding(roOutput))
            roClient.ReleaseOutput(roOutput);
    }

    bool           m_bHeld;
    SOutputRecord  m_oRecord;
    FileDescriptor m_oPixels;
};

// What the device's display process, if there is one, says of that generation: the display may take a while to change its
// mode, but a display process that hangs must not hang its clients. One that dies gives its outputs back.
bool IsShown(const Board& roBoard, const TVIDEOOUT_OBJECT& roOutput, KUINT32 uiGeneration)
{
    using namespace std::chrono;
    constexpr milliseconds oPatience = 2s, oBetweenLooks = 2ms;

    const auto oStart = steady_clock::now();
    for (;;)
    {
        const bool bLast = steady_clock::now() - oStart >= oPatience;
        {
            const Transaction oTransaction(roBoard.m_oLocks);
            if (!roBoard.m_oLocks.IsDeviceServedByAnother(roOutput.uiDevice))
                return true;
            const SVerdict oVerdict = roBoard.m_oState.ReadVerdict(oTransaction, roOutput.uiDevice, roOutput.uiOutput);
            if (oVerdict.uiGeneration == uiGeneration && oVerdict.eVerdict != EVerdict::Awaited)
                return oVerdict.eVerdict == EVerdict::Shown;
        }
        if (bLast)
            return false;
        std::this_thread::sleep_for(oBetweenLooks);
    }
}
}

TStatus EnableOutput(Client& roClient, const TVIDEOOUT_OBJECT& roOutput, const SOutputRecord& roRecord)
{
    const Board&           roBoard = roClient.OpenBoard();
    std::optional<SBefore> ooBefore;
    std::optional<KUINT32> ouiGeneration;
    {
        const Transaction oTransaction(roBoard.m_oLocks);
        if (roBoard.m_oLocks.IsDeviceServedByAnother(roOutput.uiDevice))
            ooBefore.emplace(roBoard, oTransaction, roOutput, roClient.IsHolding(roOutput));
        ouiGeneration = Show(roClient, oTransaction, roOutput, roRecord);
    }
    if (!ouiGeneration)
        return TStatus_RESOURCES_BUSY;
    if (!ooBefore || IsShown(roBoard, roOutput, *ouiGeneration))
        return TStatus_OK;
    const Transaction oTransaction(roBoard.m_oLocks);
    ooBefore->ComeBack(roClient, oTransaction, roOutput);
    return TStatus_FAIL;
}

TStatus DisableOutput(Client& roClient, const TVIDEOOUT_OBJECT& roOutput)
{
    const Transaction oTransaction(roClient.OpenBoard().m_oLocks);
    return Show(roClient, oTransaction, roOutput, SOutputRecord()) ? TStatus_OK : TStatus_RESOURCES_BUSY;
}
}
