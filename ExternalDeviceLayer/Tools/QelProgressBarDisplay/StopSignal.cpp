#include <cerrno>
#include <cstdio>
#include <unistd.h>

#include "DisplayRun.h"
#include "QelTools.h"

std::atomic<KBOOL32> g_bStopSignal{FALSE};

namespace
{
// Writes text and number by means that a signal handler may use: no stream, no formatter, no heap.
void WriteSignalLine(int iSignal)
{
    constexpr char TEXT[]      = "Received signal: ";
    constexpr int  TEXT_LENGTH = sizeof(TEXT) - 1;
    char           acLine[TEXT_LENGTH + 16];
    char*          pchEnd   = acLine + sizeof(acLine);
    char*          pchBegin = pchEnd;

    *--pchBegin = '\n';
    unsigned uiRest = iSignal < 0 ? 0u - static_cast<unsigned>(iSignal) : static_cast<unsigned>(iSignal);
    do
        *--pchBegin = static_cast<char>('0' + uiRest % 10);
    while ((uiRest /= 10) != 0);
    if (iSignal < 0)
        *--pchBegin = '-';
    for (int i = TEXT_LENGTH; i-- > 0;)
        *--pchBegin = TEXT[i];

    while (pchBegin < pchEnd)
    {
        const ssize_t iWritten = write(STDOUT_FILENO, pchBegin, static_cast<std::size_t>(pchEnd - pchBegin));
        if (iWritten <= 0)
            return;
        pchBegin += iWritten;
    }
}

void InstallHandler(int iSignal, const char* pszFailure)
{
    struct sigaction oAction;
    QelTools_memset(&oAction, 0, sizeof(oAction));
    oAction.sa_sigaction = SignalHandler;
    oAction.sa_flags     = SA_SIGINFO;
    sigfillset(&oAction.sa_mask);

    if (sigaction(iSignal, &oAction, nullptr) != 0)
        std::printf("%s\n", pszFailure);
}
}

void SetupSignalHandler()
{
    static char s_acLine[BUFSIZ];
    std::setvbuf(stdout, s_acLine, _IOLBF, sizeof(s_acLine));

    InstallHandler(SIGTERM, "Failed to install SIGTERM handler!");
    InstallHandler(SIGINT, "Failed to install SIGINT handler!");
}

void SignalHandler(int iSignal, siginfo_t*, void*)
{
    const int iErrno = errno;  // the interrupted code's

    WriteSignalLine(iSignal);
    if (iSignal == SIGTERM || iSignal == SIGINT)
        g_bStopSignal = TRUE;

    errno = iErrno;
}
