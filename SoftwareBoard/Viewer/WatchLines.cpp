#include <algorithm>
#include <cstdio>

#include "BoardError.h"
#include "Signals.h"
#include "Watch.h"

namespace SoftwareBoard::Viewer
{
namespace
{
// Returns true for SIGINT and SIGTERM, which end watch with status 0. Any other signal ends the process by that signal.
bool IsEnd(int iSignal)
{
    if (iSignal == SIGINT || iSignal == SIGTERM)
        return true;
    if (iSignal != 0)
        throw Panel::EndedBySignal{iSignal};
    return false;
}

// Returns false if nobody reads any more, or if a signal ends watch while it waits for a slow reader.
bool PrintLine(const std::string& strLine, const Panel::Signals& roSignals)
{
    pollfd oOutput = {.fd = STDOUT_FILENO, .events = POLLOUT};
    while (oOutput.revents == 0)
    {
        if (IsEnd(roSignals.Wait(std::chrono::hours(1), {&oOutput, 1})))
            return false;
    }
    if (std::printf("%s\n", strLine.c_str()) >= 0 && std::fflush(stdout) == 0)
        return true;
    if (errno != EPIPE)
        ThrowSystemError("standard output", "write");
    std::clearerr(stdout);  // no failure: nobody reads any more
    return false;
}

std::vector<std::string> DescribeBoard(const SBoardView& roView, const std::string& strTitle)
{
    if (!roView.strProblem.empty())
        return {"problem: " + roView.strProblem};
    std::vector<std::string> astrLines = {
        "board " + strTitle + ": outputs " + std::to_string(roView.aoOutputs.size()),
        "progress " + std::to_string(roView.uiProgressPct) + " %",
        std::string("progress bar ") + (roView.bBarRunning ? "running" : "not running"),
    };
    for (size_t uiOutput = 0; uiOutput < roView.aoOutputs.size(); ++uiOutput)
        astrLines.push_back(DescribeOutput(uiOutput, roView.aoOutputs[uiOutput]));
    return astrLines;
}
}

void WatchInLines(WatchedBoard& roBoard)
{
    const Panel::Signals     oSignals;
    ino_t                    uiBoard = 0;
    std::vector<std::string> astrBefore;
    while (true)
    {
        const auto oUpdateBegan = std::chrono::steady_clock::now();
        if (roBoard.Update())
        {
            const SBoardView& roView = roBoard.GetView();
            if (roView.uiBoard != uiBoard)
                astrBefore.clear();  // another board: all of it is new
            uiBoard                                  = roView.uiBoard;
            const std::vector<std::string> astrLines = DescribeBoard(roView, roBoard.GetTitle());
            for (const std::string& strLine : astrLines)
            {
                const bool bSaid = std::find(astrBefore.begin(), astrBefore.end(), strLine) != astrBefore.end();
                if (!bSaid && !PrintLine(strLine, oSignals))
                    return;
            }
            astrBefore = astrLines;
        }
        // Notices at once, not only at the next line, that the reader of a pipe is gone.
        pollfd    aoFiles[] = {{.fd = STDOUT_FILENO}, {.fd = roBoard.GetChanges(), .events = POLLIN}};
        const int iSignal   = oSignals.Wait(roBoard.GetPause(oUpdateBegan), aoFiles);
        if (IsEnd(iSignal) || (aoFiles[0].revents & POLLERR) != 0)
            return;
    }
}
}
