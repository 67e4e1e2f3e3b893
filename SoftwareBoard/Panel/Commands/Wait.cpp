#include <poll.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <utility>

#include "BoardError.h"
#include "Commands.h"
#include "DeviceStatus.h"
#include "FileChanges.h"
#include "Options.h"
#include "Printable.h"

namespace SoftwareBoard::Panel
{
namespace
{
using Clock = std::chrono::steady_clock;

struct SWaitOptions
{
    bool                                         bDisplayed = false;
    bool                                         bShown     = false;
    bool                                         bEnded     = false;
    KUINT32                                      uiPercent  = 0;
    std::optional<std::chrono::duration<double>> ooTimeout;
    KUINT32                                      uiDevice = 0;
};

// Why it is not so yet; empty if it is.
std::string FindObstacle(const SWaitOptions& roOptions, const SDeviceStatus& roDevice)
{
    const auto fHeld    = [](const SOutputStatus& ro) { return ro.ooHolder.has_value(); };
    const auto fDecided = [](const SOutputStatus& ro) {
        return ro.ooDisplay && ro.ooDisplay->eState != EDisplayState::Awaited;
    };
    // While the display has not accepted an output, its enable has not returned.
    const auto fShown = [&](const SOutputStatus& ro) {
        return fHeld(ro) && (!ro.ooDisplay || (fDecided(ro) && ro.ooDisplay->eState != EDisplayState::Refused));
    };
    if (roOptions.bDisplayed && !roDevice.bDisplayed)
        return "no display process shows the outputs";
    if (roOptions.bDisplayed && !std::ranges::all_of(roDevice.aoOutputs, fDecided))
        return "the display process has not decided about every output";
    if (roOptions.bShown && (roDevice.aoOutputs.empty() || !std::ranges::all_of(roDevice.aoOutputs, fShown)))
        return "no run shows a picture on every output";
    if (roOptions.bEnded && std::ranges::any_of(roDevice.aoOutputs, fHeld))
        return "a run still holds an output";
    if (roDevice.GetProgressPct() < roOptions.uiPercent)
        return "the progress is " + std::to_string(roDevice.GetProgressPct()) + " %";
    return "";
}

// Throws BoardError if there is no board, if it is damaged, or if it has no such device.
std::string FindObstacle(const SWaitOptions& roOptions)
{
    const Board       oBoard = Board::Observe();
    const Transaction oTransaction(oBoard.m_oLocks);
    return FindObstacle(roOptions, ReadDeviceStatus(oTransaction, oBoard, roOptions.uiDevice));
}

// As FindObstacle. Says once that it waits for a board.
std::string LookForObstacle(const SWaitOptions& roOptions, bool& rbSaid)
try
{
    return FindObstacle(roOptions);
}
catch (const NoBoardError& roError)
{
    if (!std::exchange(rbSaid, true))
        std::fprintf(stderr, "tavrin-board: %s; waiting for one\n", MakePrintable(roError.what()).c_str());
    return roError.what();
}

void WaitUntilSo(const SWaitOptions& roOptions)
{
    // The system reports what is written to the board, but not locks that are taken or released.
    constexpr Clock::duration oBetweenLooks = std::chrono::milliseconds(50);

    const Clock::time_point oStart = Clock::now();
    const Clock::time_point oEnd   = roOptions.ooTimeout
                                         ? oStart + std::chrono::duration_cast<Clock::duration>(*roOptions.ooTimeout)
                                         : Clock::time_point::max();
    bool                    bSaid  = false;
    while (true)
    {
        const FileChanges       oChanges(BoardFolder::DefaultPath(), IN_MODIFY | IN_MOVED_TO);
        const Clock::time_point oNow        = Clock::now();
        const std::string       strObstacle = LookForObstacle(roOptions, bSaid);
        if (strObstacle.empty())
            return;
        if (oNow >= oEnd)
            throw BoardError("the time is over: " + strObstacle);
        const auto oPause  = std::chrono::ceil<std::chrono::milliseconds>(std::min(oBetweenLooks, oEnd - oNow));
        pollfd     oChange = {.fd = oChanges.GetDescriptor(), .events = POLLIN};
        poll(&oChange, 1, static_cast<int>(oPause.count()));
    }
}
}

Action AddWait(CLI::App& roCommand, const PassedOn&)
{
    const auto         poOptions = std::make_shared<SWaitOptions>();
    CLI::Option* const apoWhat[] = {
        roCommand.add_flag("--displayed", poOptions->bDisplayed,
                           "Until a display process serves, and has decided about every output"),
        roCommand.add_flag("--shown", poOptions->bShown, "Until a run shows its picture on every output"),
        roCommand.add_flag("--ended", poOptions->bEnded, "Until no run holds an output"),
        AddNumber(roCommand, "--percent", poOptions->uiPercent, 0, 100, "Until the board reports this percentage or more"),
    };
    roCommand
        .add_option_function<std::string>(
            "--timeout",
            [poOptions](const std::string& strText) { poOptions->ooTimeout = TakeSeconds("--timeout", strText); },
            "Give up after this time, with status 1 (default: never)")
        ->type_name("SECONDS");
    AddDevice(roCommand, poOptions->uiDevice);
    roCommand.parse_complete_callback([apoWhat] {
        if (std::ranges::count_if(apoWhat, [](const CLI::Option* po) { return po->count() != 0; }) != 1)
            throw CLI::RequiredError("One of --displayed, --shown, --ended and --percent");
    });
    roCommand.footer("A board that is not there yet is waited for too.");
    return [poOptions] { WaitUntilSo(*poOptions); };
}
}
