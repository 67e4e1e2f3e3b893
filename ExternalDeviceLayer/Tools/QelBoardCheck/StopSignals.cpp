#include "StopSignals.h"

#include <atomic>

namespace BoardCheck
{
namespace
{
std::atomic<int> s_iStopSignal{0};
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler writes it");

void TakeSignal(int iSignal)
{
    int iNone = 0;
    s_iStopSignal.compare_exchange_strong(iNone, iSignal);
}
}

StopSignals::StopSignals()
{
    sigset_t oTaken = {};
    sigemptyset(&oTaken);
    for (size_t i = 0; i < std::size(STOP_SIGNALS); ++i)
    {
        struct sigaction oAction = {};
        oAction.sa_handler       = TakeSignal;
        sigaction(STOP_SIGNALS[i], &oAction, &m_aoActionsBefore[i]);
        if (STOP_SIGNALS[i] == SIGHUP && m_aoActionsBefore[i].sa_handler == SIG_IGN)
            std::signal(SIGHUP, SIG_IGN);
        sigaddset(&oTaken, STOP_SIGNALS[i]);
    }
    sigprocmask(SIG_BLOCK, &oTaken, &m_oWaitMask);
    for (const int iSignal : STOP_SIGNALS)
        sigdelset(&m_oWaitMask, iSignal);
}

StopSignals::~StopSignals()
{
    sigprocmask(SIG_SETMASK, &m_oWaitMask, nullptr);
    for (size_t i = 0; i < std::size(STOP_SIGNALS); ++i)
        sigaction(STOP_SIGNALS[i], &m_aoActionsBefore[i], nullptr);
}

int GetStopSignal()
{
    return s_iStopSignal;
}
}
