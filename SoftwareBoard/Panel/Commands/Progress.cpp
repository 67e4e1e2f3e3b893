#include <poll.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>

#include "Board.h"
#include "BoardError.h"
#include "Commands.h"
#include "Options.h"
#include "Percent.h"
#include "Printable.h"
#include "Ramp.h"
#include "Signals.h"

namespace SoftwareBoard::Panel
{
namespace
{
using Clock   = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

struct SProgressOptions
{
    KUINT32 uiPercent = 0;
    bool    bLines    = false;  // the percentages come from standard input
    Seconds oRamp     = Seconds(0);
    KUINT32 uiTo      = 100;
    bool    bLinear   = false;
    KUINT32 uiDevice  = 0;
};

KUINT32 TakePercent(const std::string& strText)
{
    const auto ouiPercent = ParsePercent(strText);
    if (!ouiPercent)
        throw CLI::ValidationError("PERCENT", "'" + strText + "' is not a number from 0 to 100");
    return *ouiPercent;
}

// Writes only the low byte, so that a program that writes the rest of the register at the same time loses nothing.
void WriteProgress(KUINT32 uiDevice, KUINT32 uiPercent)
{
    Board::Open().m_oState.WriteRegisterLowByte(uiDevice, REG_PROGRESS_UPDATE, static_cast<KUINT8>(uiPercent));
}

// Returns where a ramp to uiTo begins: at what the register shows or, if that is not below uiTo, at 0, which it then writes.
// If two ramps begin at once, the second finds the 0 of the first.
KUINT32 BeginRamp(KUINT32 uiDevice, KUINT32 uiTo)
{
    Board             oBoard = Board::Open();
    const Transaction oTransaction(oBoard.m_oLocks);
    const KUINT32     uiNow = oBoard.m_oState.ReadRegister(uiDevice, REG_PROGRESS_UPDATE) & 0xFF;
    if (uiNow < uiTo)
        return uiNow;
    oBoard.m_oState.WriteRegisterLowByte(uiDevice, REG_PROGRESS_UPDATE, 0);
    return 0;
}

// Keeps a higher progress that somebody else has written. Returns what the register shows. Opens the board for each call, so
// that the ramp follows a board that was replaced.
KUINT32 RaiseProgress(KUINT32 uiDevice, KUINT32 uiPercent)
{
    Board             oBoard = Board::Open();
    const Transaction oTransaction(oBoard.m_oLocks);
    const KUINT32     uiNow = oBoard.m_oState.ReadRegister(uiDevice, REG_PROGRESS_UPDATE) & 0xFF;
    if (uiNow < uiPercent)
        oBoard.m_oState.WriteRegisterLowByte(uiDevice, REG_PROGRESS_UPDATE, static_cast<KUINT8>(uiPercent));
    return std::max(uiNow, uiPercent);
}

// The line that a ramp draws on a terminal. Draws nothing elsewhere, or from the background, where it would overwrite what
// other programs show. The destructor ends the line.
class ProgressLine
{
public:
    ProgressLine() = default;
    ~ProgressLine()
    {
        if (m_bShown && IsInFront())
            std::puts("");
    }
    ProgressLine(const ProgressLine&)            = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    void Show(KUINT32 uiPercent, Seconds oLeft)
    {
        winsize oSize = {};
        if (!m_bTerminal || !IsInFront() || ioctl(STDOUT_FILENO, TIOCGWINSZ, &oSize) != 0)
            return;
        char      szFigures[64];
        const int iFigures = std::snprintf(szFigures, sizeof(szFigures), "%3u %%  %.0f s left  ", uiPercent, oLeft.count());
        const int iBar     = std::min(oSize.ws_col - iFigures - 3, 50);  // 0 columns: the width is not known
        if (iBar > 0)
        {
            const auto uiDone = static_cast<size_t>(iBar) * std::min(uiPercent, 100u) / 100;  // others may write any number
            std::printf("\r[%s%s] ", std::string(uiDone, '#').c_str(),
                        std::string(static_cast<size_t>(iBar) - uiDone, '-').c_str());
        }
        std::printf("%s%s", iBar > 0 ? "" : "\r", szFigures);
        std::fflush(stdout);
        m_bShown = true;
    }

private:
    static bool IsInFront()
    {
        const pid_t iInFront = tcgetpgrp(STDOUT_FILENO);
        return iInFront < 0 || iInFront == getpgrp();
    }

    bool m_bTerminal = isatty(STDOUT_FILENO) == 1;
    bool m_bShown    = false;
};

// Writes the percentages that an updater prints to this process's standard input. Reads to the end even if the board cannot
// be written: the updater would be killed at its next line if nobody read it.
void FollowUpdater(const SProgressOptions& roOptions)
{
    PercentReader oReader;
    std::string   strProblem;
    char          acRead[4096];
    ssize_t       iRead = 0;
    do
    {
        pollfd oInput = {.fd = STDIN_FILENO, .events = POLLIN};
        poll(&oInput, 1, -1);  // others may have made it one that a read does not wait for
        iRead = read(STDIN_FILENO, acRead, sizeof(acRead));
        if (iRead < 0 && (errno == EINTR || errno == EAGAIN))
            continue;
        if (iRead < 0)
            ThrowSystemError("standard input", "read");
        const auto ouiPercent = iRead > 0 ? oReader.Take({acRead, static_cast<size_t>(iRead)}) : oReader.TakeEnd();
        if (!ouiPercent)
            continue;
        try
        {
            WriteProgress(roOptions.uiDevice, std::min(*ouiPercent, roOptions.uiTo));
            strProblem.clear();
        }
        catch (const BoardError& roError)
        {
            if (std::exchange(strProblem, roError.what()) != roError.what())
                std::fprintf(stderr, "tavrin-board: %s\n", MakePrintable(strProblem).c_str());
        }
    } while (iRead != 0);
    if (!strProblem.empty())
        throw EndedWithStatus{1};
}

void PlayRamp(const SProgressOptions& roOptions)
{
    const KUINT32           uiFrom = BeginRamp(roOptions.uiDevice, roOptions.uiTo);
    const Signals           oSignals;
    ProgressLine            oLine;
    const Clock::time_point oStart = Clock::now();
    const Clock::time_point oEnd   = oStart + std::chrono::duration_cast<Clock::duration>(roOptions.oRamp);

    for (KUINT32 uiPercent = uiFrom;; ++uiPercent)
    {
        const KUINT32 uiShown = RaiseProgress(roOptions.uiDevice, uiPercent);
        const bool    bLast   = uiPercent >= roOptions.uiTo;
        const double  fTime =
            bLast ? 1 : RampTimeOf((uiPercent + 1.0 - uiFrom) / (roOptions.uiTo - uiFrom), roOptions.bLinear);
        const auto oDue = oStart + std::chrono::duration_cast<Clock::duration>(roOptions.oRamp * fTime);
        while (true)
        {
            const Clock::time_point oNow = Clock::now();
            oLine.Show(uiShown, oEnd - oNow > Seconds(0) ? oEnd - oNow : Seconds(0));
            if (oNow >= oDue)
                break;
            constexpr std::chrono::milliseconds oLineEvery(200);
            const auto                          oLeft = std::chrono::ceil<std::chrono::milliseconds>(oDue - oNow);
            if (const int iSignal = oSignals.Wait(std::min(oLeft, oLineEvery)))
                throw EndedBySignal{iSignal};
        }
        if (bLast)
            return;
    }
}
}

Action AddProgress(CLI::App& roCommand, const PassedOn&)
{
    const auto         poOptions = std::make_shared<SProgressOptions>();
    CLI::Option* const poPercent =
        roCommand
            .add_option_function<std::string>(
                "PERCENT",
                [poOptions](const std::string& strText) {
                    poOptions->bLines = strText == "-";
                    if (!poOptions->bLines)
                        poOptions->uiPercent = TakePercent(strText);
                },
                "The progress, 0 to 100; decimals and a % sign are accepted and ignored.\n- for the lines of an updater "
                "from "
                "standard input until it ends: the last\nnumber of each line counts, and a line without one changes nothing")
            ->type_name("NUMBER");
    CLI::Option* const poRamp =
        roCommand
            .add_option_function<std::string>(
                "--ramp", [poOptions](const std::string& strText) { poOptions->oRamp = TakeSeconds("--ramp", strText); },
                "Play a firmware update that takes this time: it starts slowly, halts, runs,\nand never falls. It starts at "
                "the percentage that the board reports, or at 0\nif that is not below the end. Ctrl-C ends it by that "
                "signal (status 130 in a\nshell) and leaves the register as it is")
            ->type_name("SECONDS")
            ->excludes(poPercent);
    CLI::Option* const poTo = AddNumber(roCommand, "--to", poOptions->uiTo, 0, 100,
                                        "Where the ramp stops, or the most that lines report (default 100)");
    roCommand.add_flag("--linear", poOptions->bLinear, "The ramp runs evenly")->needs(poRamp);
    AddDevice(roCommand, poOptions->uiDevice);
    roCommand.parse_complete_callback([poOptions, poPercent, poRamp, poTo] {
        if (poPercent->count() + poRamp->count() == 0)
            throw CLI::RequiredError("PERCENT or --ramp");
        if (poTo->count() != 0 && poRamp->count() == 0 && !poOptions->bLines)
            throw CLI::RequiresError("--to", "--ramp or -");
    });

    return [poOptions, poRamp] {
        if (poRamp->count() != 0)
            PlayRamp(*poOptions);
        else if (poOptions->bLines)
            FollowUpdater(*poOptions);
        else
            WriteProgress(poOptions->uiDevice, poOptions->uiPercent);
    };
}
}
