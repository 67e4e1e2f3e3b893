#include "Signals.h"

#include <sys/signalfd.h>

#include <cstdlib>
#include <vector>

#include "BoardError.h"

namespace SoftwareBoard::Panel
{
namespace
{
bool IsIgnored(int iSignal)
{
    struct sigaction oAction = {};
    return sigaction(iSignal, nullptr, &oAction) == 0 && oAction.sa_handler == SIG_IGN;
}
}

Signals::Signals(std::initializer_list<int> aiOthers)
{
    sigset_t oSet = {};
    sigemptyset(&oSet);
    // Taken even if ignored: shells start background jobs with SIGINT and SIGQUIT ignored, but a person may send one.
    for (const int iSignal : {SIGINT, SIGTERM, SIGQUIT})
        sigaddset(&oSet, iSignal);
    const auto fAddUnlessIgnored = [&oSet](int iSignal) {
        if (!IsIgnored(iSignal))
            sigaddset(&oSet, iSignal);
    };
    for (const int iSignal : {SIGHUP, SIGUSR1, SIGUSR2, SIGALRM, SIGVTALRM, SIGPROF, SIGIO, SIGPWR, SIGSTKFLT, SIGXCPU})
        fAddUnlessIgnored(iSignal);
    for (int iSignal = SIGRTMIN; iSignal <= SIGRTMAX; ++iSignal)
        fAddUnlessIgnored(iSignal);
    for (const int iSignal : aiOthers)
        sigaddset(&oSet, iSignal);

    m_oFile = FileDescriptor(signalfd(-1, &oSet, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!m_oFile)
        ThrowSystemError("signals", "signalfd");
    sigprocmask(SIG_BLOCK, &oSet, &m_oBefore);
    m_oPipeBefore = Defuse(SIGPIPE);
}

Signals::~Signals()
{
    sigaction(SIGPIPE, &m_oPipeBefore, nullptr);
    sigprocmask(SIG_SETMASK, &m_oBefore, nullptr);
}

int Signals::Wait(std::chrono::milliseconds oTimeout, std::span<pollfd> aoOthers) const
{
    std::vector<pollfd> aoFiles{{.fd = m_oFile.Get(), .events = POLLIN}};
    aoFiles.insert(aoFiles.end(), aoOthers.begin(), aoOthers.end());
    if (poll(aoFiles.data(), aoFiles.size(), static_cast<int>(oTimeout.count())) < 0 && errno != EINTR)
        ThrowSystemError("signals", "poll");
    for (size_t uiFile = 0; uiFile < aoOthers.size(); ++uiFile)
        aoOthers[uiFile].revents = aoFiles[uiFile + 1].revents;

    signalfd_siginfo oInfo = {};
    return read(m_oFile.Get(), &oInfo, sizeof(oInfo)) == ssize_t{sizeof(oInfo)} ? static_cast<int>(oInfo.ssi_signo) : 0;
}

struct sigaction Defuse(int iSignal)
{
    struct sigaction oBefore = {}, oNothing = {};
    oNothing.sa_handler = [](int) {};
    oNothing.sa_flags   = SA_RESTART;
    if (sigaction(iSignal, nullptr, &oBefore) == 0 && oBefore.sa_handler == SIG_DFL)
        sigaction(iSignal, &oNothing, nullptr);
    return oBefore;
}

void EndProcessBy(int iSignal)
{
    signal(iSignal, SIG_DFL);
    sigset_t oSet = {};
    sigemptyset(&oSet);
    sigaddset(&oSet, iSignal);
    sigprocmask(SIG_UNBLOCK, &oSet, nullptr);
    raise(iSignal);
    std::_Exit(128 + iSignal);
}
}
