// QelProgressBarDisplay: turns the command line into one display run.
#include <csignal>

#include "CommandLine.h"
#include "DisplayRun.h"
#include "OsServices.h"
#include "StandardStreams.h"

OsServices g_oOsServices(nullptr);

namespace
{
constexpr KINT32 USAGE_ERROR = -1;
}

int main(int argc, char** argv)
{
    KeepStandardStreamsTaken();
    // The display stays when the reader of the messages has gone, or when their file has reached its size limit.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);

    SArguments oArguments;
    if (!ParseArguments(argc, argv, oArguments))
        return USAGE_ERROR;

    if (oArguments.bShowHelp)
    {
        PrintUsage(argv[0]);
        return oArguments.bErrorHelp ? USAGE_ERROR : 0;
    }

    return DisplayProgressBar(oArguments.uiDevIndex, oArguments.oProgressBarRect, oArguments.pszImageFileName,
                              oArguments.pszAnimBaseFileName, oArguments.uiAnimStepLoopTimeMs, oArguments.oAnimBarRect,
                              oArguments.uiEnableTime, oArguments.bProgressBar, oArguments.bAnimation, oArguments.oVidParam);
}
