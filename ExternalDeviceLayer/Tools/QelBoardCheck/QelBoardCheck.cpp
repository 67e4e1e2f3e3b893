// QelBoardCheck: says what a board is, and whether QelProgressBarDisplay can rely on it.
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <exception>
#include <system_error>

#include "Arguments.h"
#include "OsServices.h"
#include "Report.h"
#include "StandardStreams.h"
#include "StopSignals.h"

int main(int argc, char** argv)
{
    KeepStandardStreamsTaken();
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    OsServices::SetMsgLevel(FALSE, FALSE, FALSE);  // the report says it

    BoardCheck::SRequest oRequest;
    if (const auto oiStatus = BoardCheck::ReadArguments(argc, argv, oRequest))
        return *oiStatus;
    try
    {
        const BoardCheck::Json oReport = BoardCheck::MakeReport(oRequest);
        if (oRequest.bJson)
            std::printf("%s\n", BoardCheck::ToText(oReport).c_str());
        else
            BoardCheck::PrintText(oReport);
        if (std::fflush(stdout) != 0)
            throw std::system_error(errno, std::generic_category(), "standard output");
        const int iSignal = BoardCheck::GetStopSignal();
        return iSignal != 0 ? 128 + iSignal : BoardCheck::GetExitStatus(oReport);
    }
    catch (const std::exception& roError)
    {
        std::fprintf(stderr, "QelBoardCheck: %s\n", roError.what());
        return 1;
    }
}
