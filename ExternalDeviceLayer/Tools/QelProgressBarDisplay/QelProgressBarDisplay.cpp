// QelProgressBarDisplay: turns the command line into one display run.
#include <fcntl.h>
#include <unistd.h>

#include <csignal>

#include "CommandLine.h"
#include "DisplayRun.h"
#include "OsServices.h"

OsServices g_oOsServices(nullptr);

namespace
{
constexpr KINT32 USAGE_ERROR = -1;

// If the caller closed a standard stream, the next file that anybody opens would get its number, and the messages would be
// written into that file. The root folder takes the number instead. It always exists, and O_PATH lets nobody write to it.
void KeepStandardStreamsTaken()
{
    int iFile = 0;
    do
        iFile = open("/", O_PATH);
    while (iFile >= 0 && iFile <= STDERR_FILENO);
    if (iFile >= 0)
        close(iFile);
}
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
