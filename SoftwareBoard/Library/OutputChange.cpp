#include "OutputChange.h"

#include <chrono>
#include <thread>

#include "BoardError.h"
#include "PixelFiles.h"

namespace SoftwareBoard::Library
{
namespace
{
// Changes what the output shows. This process holds the output while it is on. If writing fails, the lock stays as it
// was. Returns nothing if another process holds the output.
std::optional<SOutputChange> Show(Client& roClient, const Transaction& roTransaction, const TVIDEOOUT_OBJECT& roOutput,
                                  const SOutputRecord& roRecord)
{
    const bool bWasHeld = roClient.IsHolding(roOutput);
    if (!roClient.HoldOutput(roOutput))
        return std::nullopt;
    SOutputChange oChange = {};
    try
    {
        oChange = roClient.OpenBoard().m_oState.WriteOutput(roTransaction, roOutput.uiDevice, roOutput.uiOutput, roRecord);
    }
    catch (...)
    {
        if (!bWasHeld)
            roClient.ReleaseOutput(roOutput);
        throw;
    }
    if (roRecord.bEnabled == FALSE)
        roClient.ReleaseOutput(roOutput);
    return oChange;
}

// Only a change that leaves a pixel file sweeps, so the calls of the system that a run makes grow with its outputs alone.
void SweepAfter(Client& roClient, const SOutputChange& roChange) noexcept
{
    if (roChange.bPixelFileLeft)
        roClient.SweepPixelFiles();
}

// What an output showed before it was enabled again, to restore it if the display refuses. Keeps its pixel file from being
// swept meanwhile, even if the process that made the file has ended.
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
            m_oPixels = OpenPixelFile(roTransaction, roBoard.m_oFolder, roBoard.m_oState, m_oRecord.uiPixelFile);
            KeepPixelFile(m_oPixels);
        }
        catch (const BoardError&)
        {
            // Damaged: without pixels there is nothing to restore.
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

// Waits until the display process has decided about this generation. Returns false if it refuses. Returns true if there is
// no display process any more. Gives up after two seconds, because a display process that hangs must not hang its clients.
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
                return oVerdict.eVerdict != EVerdict::Refused;
        }
        if (bLast)
            return false;
        std::this_thread::sleep_for(oBetweenLooks);
    }
}
}

TStatus EnableOutput(Client& roClient, const TVIDEOOUT_OBJECT& roOutput, const SOutputRecord& roRecord)
{
    const Board&                 roBoard = roClient.OpenBoard();
    std::optional<SBefore>       ooBefore;
    std::optional<SOutputChange> ooChange;
    {
        const Transaction oTransaction(roBoard.m_oLocks);
        if (roBoard.m_oLocks.IsDeviceServedByAnother(roOutput.uiDevice))
            ooBefore.emplace(roBoard, oTransaction, roOutput, roClient.IsHolding(roOutput));
        ooChange = Show(roClient, oTransaction, roOutput, roRecord);
    }
    if (!ooChange)
        return TStatus_RESOURCES_BUSY;
    if (!ooBefore || IsShown(roBoard, roOutput, ooChange->uiGeneration))
    {
        ooBefore.reset();  // it keeps the pixel file from being swept
        SweepAfter(roClient, *ooChange);
        return TStatus_OK;
    }
    const Transaction oTransaction(roBoard.m_oLocks);
    ooBefore->ComeBack(roClient, oTransaction, roOutput);
    return TStatus_FAIL;
}

TStatus DisableOutput(Client& roClient, const TVIDEOOUT_OBJECT& roOutput)
{
    std::optional<SOutputChange> ooChange;
    {
        const Transaction oTransaction(roClient.OpenBoard().m_oLocks);
        ooChange = Show(roClient, oTransaction, roOutput, SOutputRecord());
    }
    if (!ooChange)
        return TStatus_RESOURCES_BUSY;
    SweepAfter(roClient, *ooChange);
    return TStatus_OK;
}
}
