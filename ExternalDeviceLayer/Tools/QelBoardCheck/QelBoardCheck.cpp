// QelBoardCheck: says what a board is, and whether QelProgressBarDisplay can rely on it.
#include <csignal>
#include <cstdio>
#include <exception>

#include "Arguments.h"
#include "OsServices.h"
#include "Report.h"
#include "StandardStreams.h"
#include "StopSignals.h"

namespace
{
int Run(int argc, char** argv)
{
    BoardCheck::SRequest oRequest;
    if (const auto oiStatus = BoardCheck::ReadArguments(argc, argv, oRequest))
        return *oiStatus;
    const BoardCheck::Json oReport = BoardCheck::MakeReport(oRequest);
    if (oRequest.bJson)
        std::printf("%s\n", BoardCheck::ToText(oReport).c_str());
    else
        BoardCheck::PrintText(oReport);
    const int iSignal = BoardCheck::GetStopSignal();
    return iSignal != 0 ? 128 + iSignal : BoardCheck::GetExitStatus(oReport);
}
}

int main(int argc, char** argv)
{
    KeepStandardStreamsTaken();
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGCHLD, SIG_DFL);                 // a caller may ignore it; then nobody could tell how a child ended
    OsServices::SetMsgLevel(FALSE, FALSE, FALSE);  // the report says it
    try
    {
        const int iStatus = Run(argc, argv);
        if (std::fflush(stdout) == 0 && !std::ferror(stdout))
            return iStatus;
        std::fputs("QelBoardCheck: standard output cannot be written\n", stderr);
    }
    catch (const std::exception& roError)
    {
        std::fprintf(stderr, "QelBoardCheck: %s\n", roError.what());
    }
    return 1;
}
