#include "StopSignal.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

std::atomic<KBOOL32> g_bStopSignal{FALSE};

namespace
{
// How long the handler waits for room in a full pipe. A reader that has stopped reading must not keep the run from ending.
constexpr int READER_TIMEOUT_MS = 100;

// Uses only what is safe in a signal handler: no stream, no formatted printing, no heap.
void WriteSignalLine(int iSignal)
{
    constexpr char TEXT[]      = "Received signal: ";
    constexpr int  TEXT_LENGTH = sizeof(TEXT) - 1;
    char           acLine[TEXT_LENGTH + 16];
    char*          pchEnd   = acLine + sizeof(acLine);
    char*          pchBegin = pchEnd;

    *--pchBegin = '\n';
    auto uiRest = static_cast<unsigned>(iSignal);  // positive
    do
        *--pchBegin = static_cast<char>('0' + uiRest % 10);
    while ((uiRest /= 10) != 0);
    for (int i = TEXT_LENGTH; i-- > 0;)
        *--pchBegin = TEXT[i];

    pollfd oStdout = {.fd = STDOUT_FILENO, .events = POLLOUT, .revents = 0};
    if (poll(&oStdout, 1, READER_TIMEOUT_MS) <= 0)
        return;

    while (pchBegin < pchEnd)
    {
        const ssize_t iWritten = write(STDOUT_FILENO, pchBegin, static_cast<size_t>(pchEnd - pchBegin));
        if (iWritten <= 0)
            return;
        pchBegin += iWritten;
    }
}

void InstallHandler(int iSignal, const char* pszFailure)
{
    struct sigaction oAction = {};
    oAction.sa_sigaction     = SignalHandler;
    oAction.sa_flags         = SA_SIGINFO;
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
    const int iErrno = errno;  // of the interrupted code

    if (iSignal == SIGTERM || iSignal == SIGINT)
        g_bStopSignal = TRUE;
    WriteSignalLine(iSignal);

    errno = iErrno;
}
